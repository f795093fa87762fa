#include "tools/command_line.h"
#include "tools/commands.h"
#include "tools/processes.h"
#include "tools/version.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <new>

namespace {

constexpr const char *kExamples = R"(Examples:
  kvt sample photo.png
  kvt list Invert
  kvt apply photo.png 'InvertKVT(10, 10, 200, 100)' 'ChangeContrastKVT(1.2)' -o out.png
  kvt apply *.jpg 'ChangeSaturationKVT(60)' -o 'out/{name}.png'
  kvt apply --help)";

/// In the order in which help shows them.
constexpr void (*kCommands[])(CLI::App &program, tools::Outcome &outcome) = {
    tools::AddListCommand,    tools::AddApplyCommand, tools::AddMakeCommand,       tools::AddSampleCommand,
    tools::AddGalleryCommand, tools::AddCheckCommand, tools::AddCompletionCommand, tools::AddManualCommand,
};

/// Throws nothing itself.
void Report(const char *problem) { static_cast<void>(std::fprintf(stderr, "kvt: %s\n", problem)); }

int Run(int argc, char **argv) {
    CLI::App program("Calls the picture-processing module's methods from the command line.", "kvt");
    program.set_version_flag("--version", std::string(tools::kVersion));
    program.require_subcommand(0, 1);
    program.formatter(tools::HelpFormatter());
    program.footer(kExamples);
    program.failure_message([](const CLI::App *app, const CLI::Error &error) {
        return tools::Explain(*app, dynamic_cast<const CLI::ParseError &>(error));
    });
    tools::Outcome outcome = tools::Wrong;
    for (const auto add : kCommands)
        add(program, outcome);
    for (CLI::App *command : program.get_subcommands({}))
        command->group("Commands");
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return program.exit(error) == 0 ? tools::Done : tools::Wrong;
    }
    if (program.get_subcommands().empty())
        fmt::print(stderr, "{}", program.help());
    return outcome;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return Run(argc, argv);
    } catch (const tools::Interrupted &interrupted) {
        static_cast<void>(std::signal(interrupted.signal, SIG_DFL));
        return std::raise(interrupted.signal);
    } catch (const std::bad_alloc &) {
        Report("there is not enough memory");
    } catch (const std::exception &error) {
        Report(error.what());
    }
    return tools::Wrong;
}
