#include "tools/commands.h"
#include "tools/samples.h"

#include <memory>

namespace tools {
namespace {

struct SampleOptions {
    std::string path;
    std::pair<int, int> size = {640, 480};
    bool isOpaque = false;
};

void WriteSample(const SampleOptions &options) {
    const std::string &path = options.path;
    const std::string ending = EndingOf(path);
    if (ending == ".wav")
        return WriteBytes(path, SampleSound());
    if (ending == ".cube")
        return WriteBytes(path, AsBytes(SampleTable()));
    RefuseIf(path != kStandardStream && !IsPicturePath(path),
             "{}: samples are .png, .jpg, .jpeg, .webp, .bmp, .wav or .cube files", path);
    const std::string name = path != kStandardStream ? path
                             : kHasCodecs            ? "standard output.png"
                                                     : "standard output.bmp";
    WriteBytes(path, FileOf(name, SamplePicture(options.size.first, options.size.second, !options.isOpaque)));
}

} // namespace

void AddSampleCommand(CLI::App &program, Outcome &) {
    CLI::App *command =
        program.add_subcommand("sample", "Write a sample picture, sound or color table to try things on");
    const auto options = std::make_shared<SampleOptions>();
    AddOption(*command, "output", options->path, "FILE",
              "a picture, .wav or .cube file; - is standard output, for a PNG picture")
        ->required();
    AddOption(*command, "--size", options->size, "WxH", "of the picture in pixels")
        ->delimiter('x')
        ->default_str("640x480")
        ->check(CLI::Range(1, formats::kMostSide).description(""));
    command->add_flag("--opaque", options->isOpaque, "a picture without alpha");
    command->callback([options] { WriteSample(*options); });
}

} // namespace tools
