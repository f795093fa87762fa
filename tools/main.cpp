#include "tools/command_line.h"
#include "tools/commands.h"
#include "tools/processes.h"
#include "tools/terminal.h"
#include "tools/version.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <iostream>
#include <new>
#include <vector>

namespace {

namespace fs = std::filesystem;
using tools::Outcome;

constexpr const char *kExamples = R"(Examples:
  kvt sample photo.png
  kvt list Invert
  kvt apply photo.png 'InvertKVT(10, 10, 200, 100)' 'ChangeContrastKVT(1.2)' -o out.png
  kvt apply *.jpg 'ChangeSaturationKVT(60)' -o out/
  kvt help apply)";

/// In the order in which help shows them.
constexpr void (*kCommands[])(CLI::App &program, Outcome &outcome) = {
    tools::AddListCommand,    tools::AddApplyCommand, tools::AddMakeCommand,       tools::AddSampleCommand,
    tools::AddGalleryCommand, tools::AddCheckCommand, tools::AddCompletionCommand, tools::AddManualCommand,
};

Outcome Run(int argc, char **argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    // What follows "--" and is a file is no option. CLI11 would give all of it to the program instead of the command.
    const bool hasCalls = !words.empty() && (words[0] == "apply" || words[0] == "make");
    if (const auto mark = std::find(words.begin(), words.end(), "--"); hasCalls && mark != words.end())
        for (auto word = words.erase(mark); word != words.end(); ++word)
            if (std::error_code ignored; word->size() > 1 && word->front() == '-' && fs::exists(*word, ignored))
                *word = "./" + *word;
    CLI::App program("Calls the picture-processing module's methods from the command line.", "kvt");
    program.set_version_flag("--version", std::string(tools::kVersion));
    program.require_subcommand(0, 1);
    program.formatter(tools::HelpFormatter());
    program.footer(kExamples);
    Outcome outcome = tools::Wrong;
    for (const auto add : kCommands)
        add(program, outcome);
    for (CLI::App *command : program.get_subcommands({}))
        command->group("Commands");
    if (!words.empty() && words[0] == "help") { // as --help behind what it is about
        words.erase(words.begin());
        const auto isMeant = [&](const CLI::App *command) { return words.empty() || command->get_name() == words[0]; };
        if (!program.get_subcommands(isMeant).empty())
            words.emplace_back("--help");
    }
    try {
        program.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::Success &asked) {
        program.exit(asked);
        return tools::Done;
    } catch (const CLI::ParseError &error) {
        tools::PrintProblem(tools::Explain(program, error));
        return tools::Wrong;
    }
    if (program.get_subcommands().empty())
        fmt::print(stderr, "{}", program.help());
    return outcome;
}

/// What standard output did not take is no success, whatever was to be told there.
Outcome WithOutput(Outcome outcome) {
    if (std::cout.flush() && std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return outcome;
    tools::PrintProblem(fmt::format("standard output cannot be written: {}", std::strerror(errno)));
    return std::max(outcome, tools::Failed);
}

} // namespace

int main(int argc, char **argv) {
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN)); // writing fails instead, and can be told
    Outcome outcome = tools::Wrong;
    try {
        outcome = Run(argc, argv);
    } catch (const tools::Interrupted &interrupted) {
        static_cast<void>(std::signal(interrupted.signal, SIG_DFL));
        return std::raise(interrupted.signal);
    } catch (const tools::WriteFailed &error) {
        tools::PrintProblem(error.what());
        outcome = tools::Failed;
    } catch (const std::bad_alloc &) {
        tools::PrintProblem("there is not enough memory");
    } catch (const std::exception &error) {
        if (std::ferror(stdout) != 0) // which is why it was thrown, and is told below
            outcome = tools::Done;
        else
            tools::PrintProblem(error.what());
    }
    return WithOutput(outcome);
}
