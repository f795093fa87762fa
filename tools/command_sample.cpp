#include "tools/commands.h"
#include "tools/samples.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>

namespace tools {
namespace {

void WriteSample(const std::string &path, const std::string &size, bool isOpaque) {
    const std::string ending = EndingOf(path);
    if (ending == ".wav")
        return WriteBytes(path, SampleSound());
    if (ending == ".cube")
        return WriteBytes(path, AsBytes(SampleTable()));
    RefuseIf(path != kStandardStream && !IsPicturePath(path),
             "{}: samples are .png, .jpg, .jpeg, .webp, .bmp, .wav or .cube files", path);
    const auto [width, height] = ParseSize(size);
    const std::string name = path != kStandardStream ? path
                             : kHasCodecs            ? "standard output.png"
                                                     : "standard output.bmp";
    WriteBytes(path, FileOf(name, SamplePicture(width, height, !isOpaque)));
}

} // namespace

void AddSampleCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command =
        program.add_subcommand("sample", "Write a sample picture, sound or color table to try things on");
    struct Options {
        std::string output;
        std::string size = "640x480";
        bool opaque = false;
    };
    const auto options = std::make_shared<Options>();
    command
        ->add_option("output", options->output,
                     "a picture, .wav or .cube file; - is standard output, for a PNG picture")
        ->type_name("FILE")
        ->required();
    command->add_option("--size", options->size, "of the picture in pixels")->type_name("WxH")->capture_default_str();
    command->add_flag("--opaque", options->opaque, "a picture without alpha");
    command->callback([options, &outcome] {
        WriteSample(options->output, options->size, options->opaque);
        outcome = Done;
    });
}

} // namespace tools
