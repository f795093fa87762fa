#include "tools/batch.h"
#include "tools/call_parser.h"
#include "tools/commands.h"
#include "tools/host_options.h"
#include "tools/picture_files.h"
#include "tools/processes.h"
#include "tools/progress.h"
#include "tools/report.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <thread>

namespace tools {
namespace {

constexpr const char *kApplyHelp = R"(Examples:
  kvt apply in.png InvertKVT -o out.png
  kvt apply in.png 'InvertKVT(10, 10, 200, 100)' 'ChangeContrastKVT(1.2)' -o out.jpg
  kvt apply in.png 'TintPictureKVT(me, &c555555, &cFFF0C0)' -o out.png
  kvt apply in.png 'PictureSepiaKVT(SepiaRed=40, SepiaGreen=20, SepiaBlue=-20).Run' -o out.png
  kvt apply in.png 'PictureLut3DKVT("film.cube").Run' -o out.png
  kvt apply in.png 'CountColorsKVT(nil, nil, nil, 0)' --save-block red=red.bin
  kvt apply in.png 'EmbeddedMaskKVT(false) = mask.png' --alpha -o out.png
  kvt apply in.png 'PicturetoBinaryStringKVT(me)' -o out.ppic
  kvt apply *.jpg 'ChangeSaturationKVT(60)' -o 'out/{name}.png'
  kvt apply *.jpg isGrayKVT --json
  kvt apply - InvertKVT -o - <in.png >out.png

Pictures and calls:
  The first words are pictures as long as each is "-" (standard input), a file that exists, or has a picture's ending.
  From the first that is none of these on, all are calls. A method that is called like a file is written Name().
  {name}, {dir} and {ext} in a path of results stand for the parts of the picture's path, {{ for a brace. Several
  pictures run side by side, each in a process of its own; one that fails is reported, and the others go on. Answers
  come in the order of the pictures. Folders that results need are made.

)";

constexpr const char *kMakeHelp = R"(Examples:
  kvt make 'BinaryStringtoPictureKVT(@in.ppic)' -o out.png
  kvt make 'BinaryStringtoPictureKVT(@-)' -o - <in.ppic >out.png
  kvt make 'RenderSamplesKVT(voice.wav, 0, 1, 800, 200, 1, &c88B5C4, &c274C5A, &c203F4E, 15)' -o out.png

)";

constexpr const char *kCallsHelp = R"(Calls:
  Calls are written as scripts write them, each in quotes of the shell. Each runs on the picture that the one before
  returned. Left-out arguments take their declared defaults. Byref results are printed by name.
  numbers         10  -2.5  &hFF      colors    &cRRGGBB
  booleans        true  false         strings   "text", or @FILE for a file's bytes
  pictures        me (the picture that the chain has come to), FILE, "FILE", nil
  memory blocks   FILE, "FILE", nil; a WAV file stands for the samples of its first channel

Exit status:
  0  done
  1  a method returned nil or raised an exception
  2  a call, an option or a file cannot be used
  3  the module broke the host's rules; each breach is printed
  Nothing is saved of a picture unless its status is 0. The status of several pictures is the greatest.)";

struct ApplyOptions {
    HostOptions host;
    ApplyRequest request;
    std::vector<std::string> words; ///< inputs and calls
    std::string format = kHasCodecs ? "png" : "bmp";
    std::size_t jobs = std::max(1U, std::thread::hardware_concurrency());
    bool json = false;
};

/// Whether standard output is for results alone.
bool WritesToStream(const ApplyRequest &request) {
    return request.output == kStandardStream ||
           std::any_of(request.savedBlocks.begin(), request.savedBlocks.end(),
                       [](const std::string &option) { return ParseSavedBlock(option).path == kStandardStream; });
}

/// Reads standard input now if something is to be made of it, before processes would take it from each other. What is
/// wrong with a call shows when it is bound.
void ReadSharedInput(const std::vector<std::string> &inputs, const std::vector<std::string> &calls) {
    bool isWanted = std::find(inputs.begin(), inputs.end(), kStandardStream) != inputs.end();
    for (const std::string &text : calls) {
        Call call;
        try {
            call = ParseCall(text);
        } catch (const CallError &) {
            continue;
        }
        isWanted = isWanted || (call.assigned && call.assigned->text == kStandardStream) ||
                   std::any_of(call.arguments.begin(), call.arguments.end(),
                               [](const Argument &argument) { return argument.text == kStandardStream; });
    }
    if (isWanted)
        ReadBytes(std::string(kStandardStream));
}

/// What is told of one request, on the standard streams.
void Tell(const ApplyOptions &options, const ApplyRequest &request, const ApplyReport &report, bool isOneOfMany) {
    const std::string prefix = isOneOfMany ? *request.input + ": " : "";
    if (options.json)
        fmt::print("{}", JsonOf(request, report));
    else
        fmt::print(WritesToStream(request) ? stderr : stdout, "{}", AnswersOf(report, prefix));
    fmt::print(stderr, "{}", MessagesOf(report, prefix));
}

Outcome RunOne(const ApplyOptions &options, const ApplyRequest &request, bool isOneOfMany) {
    const ApplyReport report = Apply(DescribeHost(options.host), request);
    Tell(options, request, report, isOneOfMany);
    if (!isOneOfMany && !options.json && report.outcome == Done && !report.unsaved.empty())
        fmt::print(stderr, "kvt: the last call made a {}, which is not saved; -o FILE saves it\n", report.unsaved);
    return report.outcome;
}

Outcome RunMany(const ApplyOptions &options, const std::vector<ApplyRequest> &requests, bool leavesUnsaved) {
    Outcome worst = Done;
    std::size_t failures = 0;
    Progress progress(requests.size());
    const auto work = [&](std::size_t index) { return static_cast<int>(RunOne(options, requests[index], true)); };
    const auto done = [&](std::size_t index, const Finished &finished) {
        progress.Hide();
        if (options.json && index > 0)
            fmt::print(",\n");
        fmt::print("{}", finished.output);
        fmt::print(stderr, "{}", finished.messages);
        Outcome outcome = static_cast<Outcome>(finished.status);
        if (finished.status < Done || finished.status > Violated) {
            ApplyReport report;
            report.outcome = outcome = Violated;
            report.error = finished.status < 0
                               ? fmt::format("ended by signal {} ({})", -finished.status, strsignal(-finished.status))
                               : fmt::format("ended with status {}", finished.status);
            Tell(options, requests[index], report, true);
        }
        static_cast<void>(std::fflush(stdout));
        failures += outcome == Done ? 0 : 1;
        worst = std::max(worst, outcome);
    };
    RunInProcesses(requests.size(), options.jobs, work, done, [&](std::size_t through) { progress.Show(through); });
    progress.Hide();
    if (leavesUnsaved && !options.json && failures < requests.size())
        fmt::print(stderr,
                   "kvt: the last call made pictures, which are not saved; -o 'FOLDER/{{name}}.png' saves them\n");
    if (failures > 0)
        fmt::print(stderr, "kvt: {} of {} pictures failed\n", failures, requests.size());
    return worst;
}

Outcome Run(ApplyOptions &options, const std::vector<std::string> &inputs) {
    options.request.streamEnding = "." + options.format;
    if (!IsPicturePath("picture" + options.request.streamEnding))
        throw UserError(fmt::format("--format {}: expected png, jpg, webp or bmp", options.format));
    if (options.json && WritesToStream(options.request))
        throw UserError("--json: standard output cannot take the document and a result");
    ReadSharedInput(inputs, options.request.calls);
    std::vector<ApplyRequest> requests = {options.request};
    if (!inputs.empty())
        requests = PlanBatch(options.request, inputs);
    const bool isOne = requests.size() == 1;
    const bool leavesUnsaved = !isOne && CheckCalls(DescribeHost(options.host), requests[0]);
    if (options.json)
        fmt::print("[\n");
    const Outcome outcome = isOne ? RunOne(options, requests[0], false) : RunMany(options, requests, leavesUnsaved);
    if (options.json)
        fmt::print("\n]\n");
    return outcome;
}

/// What both commands have: where results go, and the host.
void AddCommonOptions(CLI::App &command, ApplyOptions &options) {
    ApplyRequest &request = options.request;
    command
        .add_option(
            "-o,--output", request.output,
            "where the last picture goes, .png, .jpg, .jpeg, .webp or .bmp; with any other ending, where the string "
            "that the last call returned goes; - is standard output")
        ->type_name("FILE");
    command.add_option("--format", options.format, "how a picture goes to standard output")
        ->type_name("png|jpg|webp|bmp")
        ->capture_default_str();
    command.add_option("--quality", request.quality, "of JPEG and WebP files that are written, 1 to 100")
        ->type_name("N")
        ->check(CLI::Range(1, 100).description(""))
        ->capture_default_str();
    command
        .add_option("--save-block", request.savedBlocks,
                    "save the memory block that a call left in its byref parameter NAME")
        ->type_name("NAME=FILE")
        ->allow_extra_args(false);
    command.add_flag("--json", options.json,
                     "print one JSON array instead, an object for each picture with its answers, times and errors");
    AddHostOptions(command, options.host);
}

} // namespace

void AddApplyCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("apply", "Run calls on pictures");
    const auto options = std::make_shared<ApplyOptions>();
    command
        ->add_option("words", options->words,
                     "PNG, JPEG, WebP, TIFF or BMP files, then the calls; each call runs on the picture that the one "
                     "before returned")
        ->type_name("PICTURE... [CALL...]")
        ->required();
    command->add_flag("--alpha", options->request.addAlpha,
                      "give pictures an alpha channel even when their files have none");
    command->add_option("-j,--jobs", options->jobs, "how many pictures run at the same time; else one a processor")
        ->type_name("N")
        ->check(CLI::Range(1, 1024).description(""));
    AddCommonOptions(*command, *options);
    command->footer(std::string(kApplyHelp) + kCallsHelp);
    command->callback([options, &outcome] {
        Words words = SplitWords(options->words);
        options->request.calls = std::move(words.calls);
        options->request.input = words.inputs[0];
        outcome = Run(*options, words.inputs);
    });
}

void AddMakeCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("make", "Run calls that make a picture from nothing");
    const auto options = std::make_shared<ApplyOptions>();
    command->add_option("calls", options->request.calls, "the first makes the picture that the next run on")
        ->type_name("CALL...")
        ->required();
    AddCommonOptions(*command, *options);
    command->footer(std::string(kMakeHelp) + kCallsHelp);
    command->callback([options, &outcome] { outcome = Run(*options, {}); });
}

} // namespace tools
