#include "tools/apply.h"
#include "tools/bound_call.h"
#include "tools/commands.h"
#include "tools/picture_files.h"
#include "tools/processes.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <thread>

namespace tools {
namespace {

struct ApplyOptions {
    HostOptions host;
    ApplyRequest request;
    std::vector<std::string> savedBlocks; ///< NAME=FILE
    std::string format = kHasCodecs ? "png" : "bmp";
    std::size_t jobs = std::max(1U, std::thread::hardware_concurrency());
    bool json = false;
    bool value = false; ///< answers without names
    bool quiet = false;
};

/// Whether standard output is for results alone.
bool WritesToStream(const ApplyRequest &request) {
    const auto isStream = [](const SavedBlock &block) { return block.path == kStandardStream; };
    return request.output == kStandardStream || std::ranges::any_of(request.savedBlocks, isStream);
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
void Tell(const ApplyOptions &options, const ApplyRequest &request, const Json &report, const std::string &prefix) {
    std::FILE *stream = WritesToStream(request) ? stderr : stdout;
    if (options.json)
        fmt::print("{}", TextOf(report));
    for (const Json &call : report["calls"]) {
        Json results = call["byref"];
        results.insert(results.begin(), call["result"]);
        for (const Json &result : results) {
            if (options.json || result.is_null() || result["type"] == "Picture")
                continue;
            const std::string name = fmt::format("{}{} = ", prefix, result["name"].get<std::string>());
            fmt::print(stream, "{}{}\n", options.value ? "" : name, Shown(result));
        }
    }
    Json problems = options.quiet ? Json::array() : report["notes"];
    for (const Json &violation : report["violations"])
        problems.push_back("violation: " + violation.get<std::string>());
    if (!report["error"].is_null())
        problems.push_back(report["error"]);
    for (const Json &problem : problems) {
        const auto text = problem.get<std::string>(); // which may name the input itself
        PrintProblem(text.starts_with(prefix) ? text : prefix + text);
    }
}

Outcome RunAll(const ApplyOptions &options, const std::vector<ApplyRequest> &requests) {
    const standin::HostDescription host = DescribeHost(options.host);
    const bool isOne = requests.size() == 1;
    if (!isOne)
        CheckCalls(host, requests[0]);
    Outcome worst = Done;
    std::size_t failures = 0;
    std::string unsaved;
    const auto work = [&](std::size_t index) { return Json::to_cbor(Apply(host, requests[index])); };
    const auto done = [&](std::size_t index, const Bytes &returned, const std::string &end) {
        Json report = end.empty() ? Json::from_cbor(returned) : ReportOf(requests[index], Violated, end);
        const auto outcome = report["status"].get<Outcome>();
        if (outcome != Violated && report["unsaved"].is_string())
            unsaved = report["unsaved"];
        report.erase("unsaved");
        if (options.json)
            fmt::print("{}", index == 0 ? "[\n" : ",\n");
        Tell(options, requests[index], report, isOne ? "" : *requests[index].input + ": ");
        static_cast<void>(std::fflush(stdout));
        failures += outcome == Done ? 0U : 1U;
        worst = std::max(worst, outcome);
    };
    RunInProcesses(requests.size(), options.jobs, work, done);
    if (options.json)
        fmt::print("\n]\n");
    if (!unsaved.empty() && !options.json && !options.quiet)
        PrintProblem(isOne ? fmt::format("the last call made a {}, which is not saved; -o FILE saves it", unsaved)
                           : "the last call made pictures, which are not saved; -o FOLDER/ saves them");
    if (!isOne && failures > 0 && !options.request.falseFails)
        PrintProblem(fmt::format("{} of {} pictures failed", failures, requests.size()));
    return worst;
}

/// What can be said of the options without looking at a picture.
void CheckRequest(const ApplyOptions &options, bool hasOutput) {
    const ApplyRequest &request = options.request;
    if (options.json && WritesToStream(request))
        Refuse("--json: standard output cannot take the document and a result");
    if (hasOutput && request.output.empty())
        Refuse("-o: expected a file, a folder or -, and found an empty word");
    if (request.output.find_first_of("*?") != std::string::npos)
        Refuse("-o {}: a pattern is no file's name; {{name}} stands for that of the input, as in "
               "-o 'out/{{name}}{}'",
               request.output, request.streamEnding);
    if (!request.input && hasOutput && IsFolder(request.output))
        Refuse("-o {}: is a folder, and there is no input whose name the result could have", request.output);
    if (request.calls.empty() && request.output.empty())
        Refuse("{0}: nothing is to be done; write a call behind it (kvt list shows them) or -o FILE, as in\n"
               "  kvt apply {0} InvertKVT -o out{1}",
               *request.input, request.streamEnding);
}

Outcome Run(ApplyOptions &options, const CLI::App &command, const std::vector<std::string> &inputs) {
    options.request.streamEnding = "." + options.format;
    for (const std::string &option : options.savedBlocks) {
        const std::size_t sign = option.find('=');
        if (sign == option.npos || sign == 0 || sign + 1 == option.size())
            Refuse("--save-block {}: expected NAME=FILE", option);
        options.request.savedBlocks.push_back({option.substr(0, sign), option.substr(sign + 1)});
    }
    CheckRequest(options, command.count("--output") > 0);
    const std::vector<ApplyRequest> requests = PlanBatch(options.request, inputs);
    if (requests.size() > 1)
        ReadStreams(inputs);
    return RunAll(options, requests);
}

/// What both commands have: where results go, and the host.
void AddCommonOptions(CLI::App &command, ApplyOptions &options) {
    ApplyRequest &request = options.request;
    AddOption(
        command, "-o,--output", request.output, "FILE",
        "where the last picture goes, .png, .jpg, .jpeg, .webp or .bmp; with any other ending, where the string "
        "that the last call returned goes; a folder takes results under their inputs' names; - is standard output");
    AddOption(command, "--format", options.format, "png|jpg|webp|bmp",
              "how a picture goes to standard output or into a folder");
    AddOption(command, "--quality", request.quality, "N", "of JPEG and WebP files that are written, 1 to 100")
        ->check(CLI::Range(1, 100).description(""));
    AddOption(command, "--save-block", options.savedBlocks, "NAME=FILE",
              "save the memory block that a call left in its byref parameter NAME")
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
    AddOption(*command, "words", options->request.calls, "PICTURE... [CALL...]",
              "PNG, JPEG, WebP, TIFF or BMP files, then the calls; each call runs on the picture that the one before "
              "returned")
        ->required();
    command->add_flag("--alpha", options->request.addAlpha,
                      "give pictures an alpha channel even when their files have none");
    AddOption(*command, "-j,--jobs", options->jobs, "N", "how many pictures run at the same time; else one a processor")
        ->default_str("")
        ->check(CLI::Range(1, 1024).description(""));
    AddCommonOptions(*command, *options);
    command->callback([options, command, &outcome] {
        const std::vector<std::string> inputs = TakeInputs(options->request.calls);
        options->request.input = inputs[0];
        outcome = Run(*options, *command, inputs);
    });
}

void AddMakeCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("make", "Run calls that make a picture from nothing");
    const auto options = std::make_shared<ApplyOptions>();
    AddOption(*command, "calls", options->request.calls, "CALL...", "the first makes the picture that the next run on")
        ->required();
    AddCommonOptions(*command, *options);
    command->callback([options, command, &outcome] {
        for (const std::string &word : options->request.calls)
            if (LooksLikeInput(word))
                Refuse("\"{0}\" is no call; make takes calls alone, apply takes pictures: kvt apply {0} CALL...", word);
        outcome = Run(*options, *command, {});
    });
}

} // namespace tools
