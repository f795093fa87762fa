#include "tools/commands.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <new>

namespace {

/// In the order in which help shows them.
constexpr void (*kCommands[])(CLI::App &program, tools::Outcome &outcome) = {
    tools::AddListCommand,
    tools::AddApplyCommand,
    tools::AddMakeCommand,
    tools::AddSampleCommand,
    tools::AddGalleryCommand,
    tools::AddCheckCommand,
};

/// Throws nothing itself.
void Report(const char *problem) { static_cast<void>(std::fprintf(stderr, "kvt: %s\n", problem)); }

int Run(int argc, char **argv) {
    CLI::App program("Calls the picture-processing module's methods from the command line.", "kvt");
    program.set_version_flag("--version", "kvt " KVT_VERSION);
    program.require_subcommand(0, 1);
    program.footer(tools::kCallsHelp);
    program.failure_message([](const CLI::App *, const CLI::Error &error) {
        return fmt::format("kvt: {}; kvt --help shows what there is\n", error.what());
    });
    tools::Outcome outcome = tools::Wrong;
    for (const auto add : kCommands)
        add(program, outcome);
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
    } catch (const std::bad_alloc &) {
        Report("there is not enough memory");
    } catch (const std::exception &error) {
        Report(error.what());
    }
    return tools::Wrong;
}
