#include "tools/commands.h"
#include "tools/samples.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>

namespace tools {
namespace {

struct SampleOptions {
    std::string output;
    std::string size = "640x480";
    bool opaque = false;
};

void WriteSample(const SampleOptions &options) {
    const std::string ending = EndingOf(options.output);
    if (ending == ".wav") {
        WriteBytes(options.output, WavOf(SampleSound()));
    } else if (ending == ".cube") {
        WriteBytes(options.output, AsBytes(CubeText(SampleTable())));
    } else if (IsPicturePath(options.output)) {
        const auto [width, height] = ParseSize(options.size);
        WriteImage(options.output, SamplePicture(width, height, !options.opaque));
    } else {
        throw UserError(fmt::format("{}: samples are .png, .jpg, .jpeg, .bmp, .wav or .cube files", options.output));
    }
}

} // namespace

void AddSampleCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command =
        program.add_subcommand("sample", "Write a sample picture, sound or color table to try things on");
    const auto options = std::make_shared<SampleOptions>();
    command->add_option("output", options->output, "a picture, .wav or .cube file")->required();
    command->add_option("--size", options->size, "of the picture: WxH in pixels")->capture_default_str();
    command->add_flag("--opaque", options->opaque, "a picture without alpha");
    command->callback([options, &outcome] {
        WriteSample(*options);
        outcome = Done;
    });
}

} // namespace tools
