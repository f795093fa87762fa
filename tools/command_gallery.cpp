#include "tools/builtin.h"
#include "tools/commands.h"
#include "tools/gallery/gallery.h"
#include "tools/samples.h"
#include "tools/wav_file.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>

namespace tools {
namespace {

struct Request {
    std::optional<std::string> picture; ///< none: the sample picture
    std::string folder;                 ///< made when missing
    HostOptions host;
};

constexpr const char *kPage = "index.html";

Json Facts(const HostOptions &options, const std::set<int> &levels, const Image &photo) {
    constexpr const char *kLevels[] = {"unknown", "sse2", "avx2", "avx512"};
    const int level = levels.empty() ? -1 : std::clamp(*levels.rbegin(), -1, 2);
    const std::string layout = !options.layout.empty()     ? options.layout
                               : options.host == "console" ? "row-table"
                                                           : "alpha-low";
    return {{"module", sizeof(void *) == 4 ? "32-bit" : "64-bit"},
            {"host", fmt::format("{}, {}", options.host, layout)},
            {"instruction set", kLevels[level + 1]},
            {"photo", fmt::format("{} × {} pixels", photo.width, photo.height)}};
}

/// What a command line has for that host, each behind a space.
std::string OptionsFor(const HostOptions &options) {
    const HostOptions usual;
    std::string words;
    for (const auto &[option, value, usually] : {std::tuple("--host", options.host, usual.host),
                                                 {"--layout", options.layout, usual.layout},
                                                 {"--host-version", options.version, usual.version}})
        if (value != usually)
            words += fmt::format(" {} {}", option, value);
    return words;
}

/// The page with its data and the reference in the place of the file that would hold them.
std::string PageWith(const Json &data) {
    // No "<" of the data ends the script element that it stands in.
    const auto script = [](std::string_view name, const Json &value) {
        std::string text = TextOf(value);
        for (std::size_t at = 0; (at = text.find('<', at)) != text.npos;)
            text.replace(at, 1, "\\u003c");
        return fmt::format("<script>\nconst {} = {};\n</script>", name, text);
    };
    constexpr std::string_view kMark = R"(<script src="data.js"></script>)";
    std::string page(builtin::kPage);
    return page.replace(page.find(kMark), kMark.size(),
                        script("gallery", data) + "\n" + script("reference", std::string(builtin::kReference)));
}

/// Renders every method and class into index.html, a page that needs nothing beside it, and writes what the page's
/// lines name next to it: all in `folder`/kvt-gallery, which becomes the current folder. What fails is reported, on the
/// page and on standard error, and the others go on. Throws UserError for what is wrong with the request; nothing is
/// written then but materials.
Outcome RenderGallery(const Request &request) {
    RefuseIf(!kHasCodecs, "the gallery is made of PNG and JPEG files, which this kvt, built without picture codecs, "
                          "does not write; a kvt with codecs does, as 64-bit ones are");
    const Image photo =
        gallery::PhotoFrom(request.picture ? ReadImage(*request.picture) : SamplePicture(640, 480, false));
    standin::Host host(DescribeHost(request.host));
    const std::filesystem::path folder = std::filesystem::path(request.folder) / "kvt-gallery";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!error)
        std::filesystem::current_path(folder, error); // calls name files as they lie there
    RefuseIf(bool(error), "{}: cannot be made or entered: {}", folder.string(), error.message());
    gallery::WriteMaterials(photo);

    Json chapters = MethodData()["chapters"];
    std::vector<std::pair<const Json *, Json *>> shots; // with their methods
    for (Json &chapter : chapters)
        for (Json &method : chapter["methods"])
            for (Json &shot : method["calls"])
                shots.emplace_back(&method, &shot);
    Outcome outcome = Done;
    int failures = 0;
    const auto fail = [&](Outcome how, const std::string &what) {
        PrintProblem(what);
        outcome = std::max(outcome, how);
        ++failures;
    };
    Json pictures = Json::array();
    for (std::size_t i = 0; i < shots.size(); ++i) {
        const auto &[method, shot] = shots[i];
        ShowProgress(i, shots.size(), (*method)["name"].get_ref<const std::string &>());
        gallery::Render(host, *method, *shot, pictures);
        if (shot->contains("failure"))
            fail(shot->contains("violated") ? Violated : Failed,
                 (*shot)["call"].get<std::string>() + ": " + (*shot)["failure"].get<std::string>());
    }
    HideProgress();
    const std::size_t bytes = photo.pixels.size();
    Json data = {{"facts", Facts(request.host, host.TakeLevelsRun(), photo)},
                 {"options", OptionsFor(request.host)},
                 {"memcpy", {{"ms", gallery::TimeOfMemcpy(bytes)}, {"bytes", bytes}}},
                 {"chapters", std::move(chapters)},
                 {"sounds", {{"voice.wav", Json::array()}}},
                 {"pictures", std::move(pictures)}};
    const Bytes samples = ReadWav(SampleSound(), "voice.wav").samples;
    for (std::size_t at = 0; at + 1 < samples.size(); at += 2) // 16-bit words
        data["sounds"]["voice.wav"].push_back(static_cast<std::int16_t>(LittleEndian(samples, at, 2)));
    host.Finish();
    for (const std::string &violation : host.TakeViolations())
        fail(Violated, "violation: " + violation);
    const std::string page = PageWith(data);
    WriteBytes(kPage, AsBytes(page));
    fmt::print("{} calls, {} failed: {} ({:.1f} MB)\n", shots.size(), failures, (folder / kPage).string(),
               static_cast<double>(page.size()) / 1e6);
    return outcome;
}

} // namespace

void AddGalleryCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("gallery", "Render every method and class into one page");
    const auto request = std::make_shared<Request>();
    command->add_option("picture", request->picture, "a picture file; a sample when left out")->type_name("PICTURE");
    AddOption(*command, "-o,--output", request->folder, "FOLDER",
              "the folder in which kvt-gallery is made, with the page and its materials")
        ->required();
    AddHostOptions(*command, request->host);
    command->callback([request, &outcome] { outcome = RenderGallery(*request); });
}

} // namespace tools
