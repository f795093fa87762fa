#include "tools/commands.h"
#include "tools/samples.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>

namespace tools {
namespace {

constexpr const char *kStreamName = kHasCodecs ? "standard output.png" : "standard output.bmp";

struct SampleOptions {
    std::string output;
    std::string size = "640x480";
    bool opaque = false;
};

void WriteSample(const SampleOptions &options) {
    const std::string ending = EndingOf(options.output);
    if (ending == ".wav") {
        WriteBytes(options.output, SampleSound());
    } else if (ending == ".cube") {
        WriteBytes(options.output, AsBytes(SampleTable()));
    } else if (const bool toStream = options.output == kStandardStream; toStream || IsPicturePath(options.output)) {
        const auto [width, height] = ParseSize(options.size);
        const Image image = SamplePicture(width, height, !options.opaque);
        WriteBytes(options.output, FileOf(toStream ? kStreamName : options.output, image));
    } else {
        throw UserError(
            fmt::format("{}: samples are .png, .jpg, .jpeg, .webp, .bmp, .wav or .cube files", options.output));
    }
}

} // namespace

void AddSampleCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command =
        program.add_subcommand("sample", "Write a sample picture, sound or color table to try things on");
    const auto options = std::make_shared<SampleOptions>();
    command
        ->add_option("output", options->output,
                     "a picture, .wav or .cube file; - is standard output, for a PNG picture")
        ->type_name("FILE")
        ->required();
    command->add_option("--size", options->size, "of the picture in pixels")->type_name("WxH")->capture_default_str();
    command->add_flag("--opaque", options->opaque, "a picture without alpha");
    command->footer(R"(Examples:
  kvt sample photo.png --opaque
  kvt sample large.jpg --size 6000x4000
  kvt sample voice.wav
  kvt sample film.cube)");
    command->callback([options, &outcome] {
        WriteSample(*options);
        outcome = Done;
    });
}

} // namespace tools
