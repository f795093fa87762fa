#include "tools/apply.h"
#include "tools/files.h"
#include "tools/gallery/options.h"
#include "tools/host_options.h"
#include "tools/list.h"
#include "tools/samples.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <new>

namespace {

constexpr const char *kExamples = R"(Calls are written as scripts write them, each in quotes of the shell:
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

void AddHostOptions(CLI::App &command, tools::HostOptions &options) {
    command.add_option("--host", options.host, "kind of host: desktop or console")->capture_default_str();
    command.add_option("--layout", options.layout,
                       "how the host stores pixels: " + tools::LayoutNames() + "; row-table on a console host");
    command.add_option("--host-version", options.version, "a number, or none for a host that does not tell")
        ->capture_default_str();
    command.add_option("--module", options.module, "the module's file; the one beside the program when left out");
}

void AddApplyOptions(CLI::App &command, tools::ApplyRequest &request) {
    command.add_option(
        "-o,--output", request.output,
        "where the last picture goes, .png, .jpg, .jpeg or .bmp; with any other ending, where the string "
        "that the last call returned goes");
    command
        .add_option("--save-block", request.savedBlocks,
                    "NAME=FILE: save the memory block that a call left in its byref parameter NAME")
        ->allow_extra_args(false);
}

int RunList(const tools::HostOptions &options, const std::string &filter) {
    const standin::Host host(tools::DescribeHost(options));
    const std::string text = tools::ListInterface(host, filter);
    if (text.empty())
        throw tools::UserError(fmt::format("nothing in the interface has \"{}\" in its name", filter));
    fmt::print("{}", text);
    return tools::Done;
}

int RunApply(const tools::HostOptions &options, const tools::ApplyRequest &request) {
    standin::Host host(tools::DescribeHost(options));
    return tools::Apply(host, request);
}

int RunSample(const std::string &output, const std::string &size, bool opaque) {
    const std::string ending = tools::EndingOf(output);
    if (ending == ".wav") {
        tools::WriteBytes(output, tools::WavOf(tools::SampleSound()));
    } else if (ending == ".cube") {
        tools::WriteBytes(output, tools::AsBytes(tools::CubeText(tools::SampleTable())));
    } else if (tools::IsPicturePath(output)) {
        const auto [width, height] = tools::ParseSize(size);
        tools::WriteImage(output, tools::SamplePicture(width, height, !opaque));
    } else {
        throw tools::UserError(fmt::format("{}: samples are .png, .jpg, .jpeg, .bmp, .wav or .cube files", output));
    }
    return tools::Done;
}

/// Throws nothing itself.
void Report(const char *problem) { static_cast<void>(std::fprintf(stderr, "kvt: %s\n", problem)); }

int Run(int argc, char **argv) {
    CLI::App app("Calls the picture-processing module's methods from the command line.", "kvt");
    app.set_version_flag("--version", "kvt " KVT_VERSION);
    app.require_subcommand(0, 1);
    app.footer(kExamples);
    app.failure_message([](const CLI::App *, const CLI::Error &error) {
        return fmt::format("kvt: {}; kvt --help shows what there is\n", error.what());
    });

    tools::HostOptions host;
    std::string filter;
    CLI::App *list = app.add_subcommand("list", "Print the interface as the host received it");
    list->add_option("name", filter, "only what has this in its name");
    AddHostOptions(*list, host);

    tools::ApplyRequest request;
    std::string input;
    CLI::App *apply = app.add_subcommand("apply", "Run calls on a picture file");
    apply->add_option("input", input, "a PNG, JPEG or BMP file")->required();
    apply->add_option("calls", request.calls, "each runs on the picture that the one before returned");
    apply->add_flag("--alpha", request.addAlpha, "give the picture an alpha channel even when its file has none");
    AddApplyOptions(*apply, request);
    AddHostOptions(*apply, host);
    apply->footer(kExamples);

    CLI::App *make = app.add_subcommand("make", "Run calls that make a picture from nothing");
    make->add_option("calls", request.calls, "the first makes the picture that the next run on")->required();
    AddApplyOptions(*make, request);
    AddHostOptions(*make, host);
    make->footer(kExamples);

    std::string output;
    std::string size = "640x480";
    bool opaque = false;
    CLI::App *sample = app.add_subcommand("sample", "Write a sample picture, sound or color table to try things on");
    sample->add_option("output", output, "a picture, .wav or .cube file")->required();
    sample->add_option("--size", size, "of the picture: WxH in pixels")->capture_default_str();
    sample->add_flag("--opaque", opaque, "a picture without alpha");

    tools::GalleryRequest gallery;
    CLI::App *render = app.add_subcommand("gallery", "Render every method and class into one page");
    tools::AddGalleryOptions(*render, gallery);
    AddHostOptions(*render, gallery.host);

    try {
        app.parse(argc, argv);
        if (*list)
            return RunList(host, filter);
        if (*sample)
            return RunSample(output, size, opaque);
        if (*render)
            return tools::RenderGallery(gallery);
        if (*apply)
            request.input = input;
        if (*apply || *make)
            return RunApply(host, request);
        fmt::print(stderr, "{}", app.help());
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? tools::Done : tools::Wrong;
    }
    return tools::Wrong;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc &) {
        Report("there is not enough memory");
    } catch (const std::exception &error) {
        Report(error.what());
    }
    return tools::Wrong;
}
