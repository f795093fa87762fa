#include "tools/gallery/gallery.h"

#include "tools/gallery/entries.h"
#include "tools/gallery/exhibit.h"
#include "tools/gallery/materials.h"
#include "tools/gallery/page.h"
#include "tools/samples.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <unistd.h>

namespace tools {
namespace {

using gallery::Chapter;
using gallery::Entry;
using gallery::Exhibit;
using gallery::Shot;

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr const char *kPage = "index.html";

/// One line on standard error that is written over and over; nothing when that is no terminal.
class Progress {
  public:
    explicit Progress(std::size_t steps)
        : steps_(std::max<std::size_t>(steps, 1)), shown_(isatty(STDERR_FILENO) != 0) {}
    ~Progress() { Write(""); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void Step(std::string_view name) {
        constexpr std::size_t kCells = 30;
        const std::size_t done = kCells * step_ / steps_;
        Write(fmt::format("[{:=<{}}{:<{}}] {}/{} {}", "", done, "", kCells - done, ++step_, steps_, name).c_str());
    }

  private:
    void Write(const char *line) const {
        if (shown_) {
            static_cast<void>(std::fprintf(stderr, "\r\x1b[K%s", line));
            static_cast<void>(std::fflush(stderr));
        }
    }
    std::size_t steps_;
    std::size_t step_ = 0;
    bool shown_;
};

std::string Layout(const HostOptions &options) {
    return options.layout.empty() ? options.host == "console" ? "row-table" : "alpha-low" : options.layout;
}

std::vector<std::pair<std::string, std::string>> Facts(const HostOptions &options, const standin::Host &host,
                                                       const Image &photo) {
    const std::size_t bytes = photo.pixels.size();
    const gallery::Milliseconds copy = gallery::TimeOfMemcpy(bytes);
    return {{"module", sizeof(void *) == 4 ? "32-bit" : "64-bit"},
            {"host", fmt::format("{}, {}", options.host, Layout(options))},
            {"instruction set", std::string(gallery::LevelName(host.ActiveLevel()))},
            {"photo", fmt::format("{} × {} pixels", photo.width, photo.height)},
            {"memcpy of the photo",
             fmt::format("{:.3f} ms, {:.1f} GB/s", copy.count(), static_cast<double>(bytes) / copy.count() / 1e6)}};
}

/// What was rendered, and what came of it.
struct Tally {
    std::size_t calls = 0;
    Outcome outcome = Done;
    std::vector<std::string> failures;

    void Add(const Shot &shot, const Exhibit &exhibit) {
        ++calls;
        if (exhibit.failure.empty())
            return;
        failures.push_back(fmt::format("{}: {}", shot.call, exhibit.failure));
        outcome = std::max(outcome, exhibit.violated ? Violated : Failed);
    }
};

Tally RenderAll(standin::Host &host, const HostOptions &options, gallery::Page &page) {
    std::size_t shots = 0;
    for (const Chapter &chapter : gallery::Chapters())
        for (const Entry &entry : chapter.entries)
            shots += entry.shots.size();
    Progress progress(shots);
    Tally tally;
    for (const Chapter &chapter : gallery::Chapters()) {
        page.AddChapter(chapter.heading);
        for (const Entry &entry : chapter.entries) {
            std::vector<Exhibit> exhibits;
            for (const Shot &shot : entry.shots) {
                progress.Step(entry.method);
                exhibits.push_back(Render(host, options, entry, shot));
                tally.Add(shot, exhibits.back());
            }
            page.AddEntry(entry, exhibits);
        }
    }
    return tally;
}

} // namespace

Outcome RenderGallery(const GalleryRequest &request) {
    if (!kHasCodecs)
        throw UserError("the gallery is made of PNG and JPEG files, which this kvt, built without picture codecs, does "
                        "not write; a kvt with codecs does, as 64-bit ones are");
    const Image photo =
        gallery::PhotoFrom(request.picture ? ReadImage(*request.picture) : SamplePicture(kWidth, kHeight, false));
    standin::Host host(DescribeHost(request.host));
    std::error_code error;
    std::filesystem::create_directories(request.folder, error);
    if (!error)
        std::filesystem::current_path(request.folder, error); // calls name files as they lie there
    if (error)
        throw UserError(fmt::format("{}: cannot be made or entered: {}", request.folder, error.message()));
    gallery::WriteMaterials(photo);

    gallery::Page page;
    Tally tally = RenderAll(host, request.host, page);
    const std::string html = page.Html(Facts(request.host, host, photo));
    host.Finish();
    for (const std::string &violation : host.TakeViolations()) {
        tally.failures.push_back("violation: " + violation);
        tally.outcome = Violated;
    }
    WriteBytes(kPage, AsBytes(html));
    for (const std::string &failure : tally.failures)
        fmt::print(stderr, "kvt: {}\n", failure);
    fmt::print("{} calls, {} failed: {} ({:.1f} MB)\n", tally.calls, tally.failures.size(),
               (std::filesystem::path(request.folder) / kPage).string(), static_cast<double>(html.size()) / 1e6);
    return tally.outcome;
}

} // namespace tools
