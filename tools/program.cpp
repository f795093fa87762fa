#include "tools/program.h"

#include "tools/command_line.h"
#include "tools/commands.h"
#include "tools/version.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

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

} // namespace

namespace tools {

Outcome RunProgram(int argc, char **argv) {
    CLI::App program("Calls the picture-processing module's methods from the command line.", "kvt");
    program.set_version_flag("--version", std::string(kVersion));
    program.require_subcommand(0, 1);
    program.formatter(HelpFormatter());
    program.footer(kExamples);
    program.failure_message([](const CLI::App *app, const CLI::Error &error) {
        return Explain(*app, dynamic_cast<const CLI::ParseError &>(error));
    });
    Outcome outcome = Wrong;
    for (const auto add : kCommands)
        add(program, outcome);
    for (CLI::App *command : program.get_subcommands({}))
        command->group("Commands");
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return program.exit(error) == 0 ? Done : Wrong;
    }
    if (program.get_subcommands().empty())
        fmt::print(stderr, "{}", program.help());
    return outcome;
}

} // namespace tools
