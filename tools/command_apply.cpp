#include "tools/apply.h"
#include "tools/commands.h"
#include "tools/picture_files.h"
#include "tools/processes.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <thread>

namespace tools {
namespace {

struct ApplyOptions {
    HostOptions host;
    ApplyRequest request;
    std::vector<std::string> words;       ///< inputs and calls
    std::vector<std::string> savedBlocks; ///< NAME=FILE
    std::string format = kHasCodecs ? "png" : "bmp";
    std::size_t jobs = std::max(1U, std::thread::hardware_concurrency());
    bool json = false;
    bool value = false; ///< answers without names
    bool quiet = false;

    bool MentionsUnsaved() const { return !json && !quiet; }
};

/// Whether standard output is for results alone.
bool WritesToStream(const ApplyRequest &request) {
    return request.output == kStandardStream ||
           std::any_of(request.savedBlocks.begin(), request.savedBlocks.end(),
                       [](const SavedBlock &block) { return block.path == kStandardStream; });
}

/// Reads what can be read but once, before processes would take it from each other. What cannot be read is told where
/// it is needed.
void ReadStreams(const std::vector<std::string> &inputs) {
    for (const std::string &input : inputs)
        try {
            if (std::error_code ignored; !std::filesystem::is_regular_file(input, ignored))
                ReadBytes(input);
        } catch (const UserError &) {
            continue;
        }
}

/// What is told of one request, on the standard streams.
void Tell(const ApplyOptions &options, const ApplyRequest &request, const ApplyReport &report, bool isOneOfMany) {
    const std::string prefix = isOneOfMany ? *request.input + ": " : "";
    std::FILE *stream = WritesToStream(request) ? stderr : stdout;
    if (options.json)
        fmt::print("{}", TextOf(report.json));
    else
        for (const auto &[name, value] : report.answers)
            fmt::print(stream, "{}\n", options.value ? value : fmt::format("{}{} = {}", prefix, name, value));
    const auto tell = [&](std::string_view kind, const Json &told) { // which may name the input itself
        const auto text = told.get<std::string>();
        PrintProblem(fmt::format("{}{}{}", text.starts_with(prefix) ? "" : prefix, kind, text));
    };
    for (const Json &note : report.json["notes"])
        if (!options.quiet)
            tell("", note);
    for (const Json &violation : report.json["violations"])
        tell("violation: ", violation);
    if (const Json &error = report.json["error"]; !error.is_null())
        tell("", error);
}

Outcome RunOne(const ApplyOptions &options, const ApplyRequest &request, bool isOneOfMany) {
    const ApplyReport report = Apply(DescribeHost(options.host), request);
    Tell(options, request, report, isOneOfMany);
    if (!isOneOfMany && options.MentionsUnsaved() && report.outcome != Violated && !report.unsaved.empty())
        PrintProblem(fmt::format("the last call made a {}, which is not saved; -o FILE saves it", report.unsaved));
    return report.outcome;
}

Outcome RunMany(const ApplyOptions &options, const std::vector<ApplyRequest> &requests) {
    const bool leavesUnsaved = CheckCalls(DescribeHost(options.host), requests[0]);
    Outcome worst = Done;
    std::size_t failures = 0;
    const auto work = [&](std::size_t index) { return static_cast<int>(RunOne(options, requests[index], true)); };
    const auto done = [&](std::size_t index, const Finished &finished) {
        if (options.json && index > 0)
            fmt::print(",\n");
        fmt::print("{}", finished.output);
        fmt::print(stderr, "{}", finished.messages);
        Outcome outcome = static_cast<Outcome>(finished.status);
        if (finished.status < Done || finished.status > Violated) {
            outcome = Violated;
            ApplyReport report(requests[index]);
            report.json["status"] = static_cast<int>(outcome);
            report.json["error"] = finished.status < 0 ? fmt::format("ended by signal {} ({})", -finished.status,
                                                                     strsignal(-finished.status))
                                                       : fmt::format("ended with status {}", finished.status);
            Tell(options, requests[index], report, true);
        }
        static_cast<void>(std::fflush(stdout));
        failures += outcome == Done ? 0 : 1;
        worst = std::max(worst, outcome);
    };
    RunInProcesses(requests.size(), options.jobs, work, done);
    if (leavesUnsaved && options.MentionsUnsaved() && failures < requests.size())
        PrintProblem("the last call made pictures, which are not saved; -o FOLDER/ saves them");
    if (failures > 0 && !options.request.falseFails)
        PrintProblem(fmt::format("{} of {} pictures failed", failures, requests.size()));
    return worst;
}

/// What can be said of the options without looking at a picture.
void CheckRequest(const ApplyOptions &options, bool hasOutput, bool hasInputs) {
    const ApplyRequest &request = options.request;
    if (!IsPicturePath("picture" + request.streamEnding))
        throw UserError(fmt::format("--format {}: expected png, jpg, webp or bmp", options.format));
    if (options.json && WritesToStream(request))
        throw UserError("--json: standard output cannot take the document and a result");
    if (hasOutput && request.output.empty())
        throw UserError("-o: expected a file, a folder or -, and found an empty word");
    if (request.output.find_first_of("*?") != std::string::npos)
        throw UserError(fmt::format("-o {}: a pattern is no file's name; {{name}} stands for that of the input, as in "
                                    "-o 'out/{{name}}{}'",
                                    request.output, request.streamEnding));
    if (!hasInputs && hasOutput && IsFolder(request.output))
        throw UserError(
            fmt::format("-o {}: is a folder, and there is no input whose name the result could have", request.output));
    if (request.calls.empty() && request.output.empty())
        throw UserError(
            fmt::format("{}: nothing is to be done; write a call behind it (kvt list shows them) or -o FILE, "
                        "as in\n  kvt apply {} InvertKVT -o out{}",
                        *request.input, *request.input, request.streamEnding));
}

Outcome Run(ApplyOptions &options, const CLI::App &command, const std::vector<std::string> &inputs) {
    options.request.streamEnding = "." + options.format;
    for (const std::string &option : options.savedBlocks) {
        const std::size_t sign = option.find('=');
        if (sign == option.npos || sign == 0 || sign + 1 == option.size())
            throw UserError(fmt::format("--save-block {}: expected NAME=FILE", option));
        options.request.savedBlocks.push_back({option.substr(0, sign), option.substr(sign + 1)});
    }
    CheckRequest(options, command.count("--output") > 0, !inputs.empty());
    std::vector<ApplyRequest> requests = {options.request};
    if (!inputs.empty())
        requests = PlanBatch(options.request, inputs);
    const bool isOne = requests.size() == 1;
    if (!isOne)
        ReadStreams(inputs);
    if (options.json)
        fmt::print("[\n");
    const Outcome outcome = isOne ? RunOne(options, requests[0], false) : RunMany(options, requests);
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
            "that the last call returned goes; a folder takes results under their inputs' names; - is standard output")
        ->type_name("FILE");
    command.add_option("--format", options.format, "how a picture goes to standard output or into a folder")
        ->type_name("png|jpg|webp|bmp")
        ->capture_default_str();
    command.add_option("--quality", request.quality, "of JPEG and WebP files that are written, 1 to 100")
        ->type_name("N")
        ->check(CLI::Range(1, 100).description(""))
        ->capture_default_str();
    command
        .add_option("--save-block", options.savedBlocks,
                    "save the memory block that a call left in its byref parameter NAME")
        ->type_name("NAME=FILE")
        ->allow_extra_args(false);
    CLI::Option *json =
        command.add_flag("--json", options.json,
                         "print one JSON array instead, an object for each picture with its answers, times and errors");
    command.add_flag("--value", options.value, "print results alone, one a line, without names")->excludes(json);
    command.add_flag("--exit-status", request.falseFails, "end with status 1 when a call's result is false");
    command.add_flag("-q,--quiet", options.quiet, "no word on what of a picture is lost or not saved");
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
    command->callback([options, command, &outcome] {
        Words words = SplitWords(options->words);
        options->request.calls = std::move(words.calls);
        options->request.input = words.inputs[0];
        outcome = Run(*options, *command, words.inputs);
    });
}

void AddMakeCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("make", "Run calls that make a picture from nothing");
    const auto options = std::make_shared<ApplyOptions>();
    command->add_option("calls", options->request.calls, "the first makes the picture that the next run on")
        ->type_name("CALL...")
        ->required();
    AddCommonOptions(*command, *options);
    command->callback([options, command, &outcome] {
        for (const std::string &word : options->request.calls)
            if (LooksLikeInput(word))
                throw UserError(
                    fmt::format("\"{}\" is no call; make takes calls alone, apply takes pictures: kvt apply {} "
                                "CALL...",
                                word, word));
        outcome = Run(*options, *command, {});
    });
}

} // namespace tools
