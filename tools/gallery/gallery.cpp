#include "tools/gallery/gallery.h"

#include "tools/builtin.h"
#include "tools/gallery/exhibit.h"
#include "tools/gallery/materials.h"
#include "tools/samples.h"
#include "tools/terminal.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <set>

namespace tools {
namespace {

constexpr const char *kPage = "index.html";

Json Facts(const HostOptions &options, int level, const Image &photo) {
    constexpr const char *kLevels[] = {"unknown", "sse2", "avx2", "avx512"};
    const std::string layout = !options.layout.empty()     ? options.layout
                               : options.host == "console" ? "row-table"
                                                           : "alpha-low";
    return {{"module", sizeof(void *) == 4 ? "32-bit" : "64-bit"},
            {"host", fmt::format("{}, {}", options.host, layout)},
            {"instruction set", kLevels[std::clamp(level, -1, 2) + 1]},
            {"photo", fmt::format("{} × {} pixels", photo.width, photo.height)}};
}

/// The template with its style, its script, the page's data and the reference in the places of the files that it names.
std::string PageWith(const Json &data) {
    // No "<" of the data ends the script element that it stands in.
    const auto script = [](std::string_view name, const Json &value) {
        std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
        for (std::size_t at = 0; (at = text.find('<', at)) != text.npos;)
            text.replace(at, 1, "\\u003c");
        return fmt::format("<script>\nconst {} = {};\n</script>", name, text);
    };
    std::string page(builtin::kPage);
    for (const auto &[mark, part] : {
             std::pair(R"(<link rel="stylesheet" href="page.css">)",
                       fmt::format("<style>\n{}</style>", builtin::kStyle)),
             {R"(<script src="data.js"></script>)",
              script("gallery", data) + "\n" + script("reference", std::string(builtin::kReference))},
             {R"(<script src="page.js"></script>)", fmt::format("<script>\n{}</script>", builtin::kScript)},
         })
        page.replace(page.find(mark), std::string_view(mark).size(), part);
    return page;
}

} // namespace

Outcome RenderGallery(const GalleryRequest &request) {
    if (!kHasCodecs)
        throw UserError("the gallery is made of PNG and JPEG files, which this kvt, built without picture codecs, does "
                        "not write; a kvt with codecs does, as 64-bit ones are");
    const Image photo =
        gallery::PhotoFrom(request.picture ? ReadImage(*request.picture) : SamplePicture(640, 480, false));
    standin::Host host(DescribeHost(request.host));
    gallery::Folder folder((std::filesystem::path(request.folder) / kGalleryFolder).string());
    folder.CheckReplaceable(kPage);
    WriteMaterials(photo, folder);

    Json chapters = MethodData()["chapters"];
    std::size_t count = 0;
    for (const Json &chapter : chapters)
        for (const Json &method : chapter["methods"])
            count += method["calls"].size();
    Progress progress(count);
    std::size_t calls = 0;
    Outcome outcome = Done;
    std::vector<std::string> failures;
    gallery::Pictures pictures;
    for (Json &chapter : chapters)
        for (Json &method : chapter["methods"])
            for (Json &shot : method["calls"]) {
                progress.Show(calls++, method["name"].get_ref<const std::string &>());
                shot.update(Render(host, request.host, method, shot, pictures, folder));
                if (shot.contains("failure")) {
                    outcome = std::max(outcome, shot.contains("violated") ? Violated : Failed);
                    failures.push_back(shot["call"].get<std::string>() + ": " + shot["failure"].get<std::string>());
                }
            }
    progress.Hide();
    const std::set<int> levels = host.TakeLevelsRun();
    const std::size_t bytes = photo.pixels.size();
    const double copy = gallery::TimeOfMemcpy(bytes).count();
    Json data = {{"facts", Facts(request.host, levels.empty() ? -1 : *levels.rbegin(), photo)},
                 {"memcpy", {{"ms", copy}, {"bytes", bytes}}},
                 {"chapters", chapters},
                 {"sounds", {{"voice.wav", Json::array()}}},
                 {"pictures", pictures.List()}};
    const Sound sound = SampleSound();
    for (std::size_t at = 0; at + 1 < sound.samples.size(); at += 2) // 16-bit words
        data["sounds"]["voice.wav"].push_back(
            static_cast<std::int16_t>(sound.samples[at] | sound.samples[at + 1] << 8));
    host.Finish();
    for (const std::string &violation : host.TakeViolations()) {
        failures.push_back("violation: " + violation);
        outcome = Violated;
    }
    const std::string page = PageWith(data);
    folder.Write(kPage, AsBytes(page));
    for (const std::string &failure : failures)
        PrintProblem(failure);
    fmt::print("{} calls, {} failed: {} ({:.1f} MB)\n", calls, failures.size(), folder.PathOf(kPage),
               static_cast<double>(page.size()) / 1e6);
    return outcome;
}

} // namespace tools
