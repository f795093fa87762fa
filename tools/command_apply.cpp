#include "tools/commands.h"
#include "tools/host_options.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace tools {

const char *const kCallsHelp = R"(Calls are written as scripts write them, each in quotes of the shell:
  kvt apply in.png InvertKVT -o out.png
  kvt apply in.png 'InvertKVT(10, 10, 200, 100)' 'ChangeContrastKVT(1.2)' -o out.jpg
  kvt apply in.png 'TintPictureKVT(me, &c555555, &cFFF0C0)' -o out.png
  kvt apply in.png 'PictureSepiaKVT(SepiaRed=40, SepiaGreen=20, SepiaBlue=-20).Run' -o out.png
  kvt apply in.png 'PictureLut3DKVT("film.cube").Run' -o out.png
  kvt apply in.png 'CountColorsKVT(nil, nil, nil, 0)' --save-block red=red.bin
  kvt apply in.png 'EmbeddedMaskKVT(false) = mask.png' --alpha -o out.png
  kvt apply in.png 'PicturetoBinaryStringKVT(me)' -o out.ppic
  kvt make 'BinaryStringtoPictureKVT(@out.ppic)' -o out.png
  kvt make 'RenderSamplesKVT(voice.wav, 0, 1, 800, 200, 1, &c88B5C4, &c274C5A, &c203F4E, 15)' -o out.png

Values:
  numbers         10  -2.5  &hFF      colors    &cRRGGBB
  booleans        true  false         strings   "text", or @FILE for a file's bytes
  pictures        me (the picture that the chain has come to), FILE, "FILE", nil
  memory blocks   FILE, "FILE", nil; a WAV file stands for the samples of its first channel
  Left-out arguments take their declared defaults. Byref results are printed by name.

Exit status:
  0  done
  1  a method returned nil or raised an exception
  2  a call, an option or a file cannot be used
  3  the module broke the host's rules; each breach is printed
  Nothing is saved unless the status is 0.)";

namespace {

struct ApplyOptions {
    HostOptions host;
    ApplyRequest request;
};

/// What both commands have: where results go, the host, and what they do.
void Finish(CLI::App &command, const std::shared_ptr<ApplyOptions> &options, Outcome &outcome) {
    ApplyRequest &request = options->request;
    command.add_option(
        "-o,--output", request.output,
        "where the last picture goes, .png, .jpg, .jpeg or .bmp; with any other ending, where the string "
        "that the last call returned goes");
    command
        .add_option("--save-block", request.savedBlocks,
                    "NAME=FILE: save the memory block that a call left in its byref parameter NAME")
        ->allow_extra_args(false);
    AddHostOptions(command, options->host);
    command.footer(kCallsHelp);
    command.callback([options, &outcome] {
        standin::Host host(DescribeHost(options->host));
        outcome = Apply(host, options->request);
    });
}

} // namespace

void AddApplyCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("apply", "Run calls on a picture file");
    const auto options = std::make_shared<ApplyOptions>();
    command->add_option("input", options->request.input, "a PNG, JPEG or BMP file")->required();
    command->add_option("calls", options->request.calls, "each runs on the picture that the one before returned");
    command->add_flag("--alpha", options->request.addAlpha,
                      "give the picture an alpha channel even when its file has none");
    Finish(*command, options, outcome);
}

void AddMakeCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("make", "Run calls that make a picture from nothing");
    const auto options = std::make_shared<ApplyOptions>();
    command->add_option("calls", options->request.calls, "the first makes the picture that the next run on")
        ->required();
    Finish(*command, options, outcome);
}

} // namespace tools
