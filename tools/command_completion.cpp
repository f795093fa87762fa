#include "tools/command_line.h"
#include "tools/commands.h"
#include "tools/completion.h"
#include "tools/files.h"
#include "tools/manual.h"
#include "tools/nearest.h"
#include "tools/version.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>

namespace tools {

void AddCompletionCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("completion", "Print what completes kvt's words in a shell");
    const auto shell = std::make_shared<std::string>();
    command->add_option("shell", *shell, "whose language it is")->type_name("bash|zsh")->required();
    command->footer(R"(Examples:
  source <(kvt completion bash)
  kvt completion zsh >~/.zfunc/_kvt)");
    command->callback([&program, shell, &outcome] {
        if (*shell != "bash" && *shell != "zsh")
            throw UserError(fmt::format("\"{}\": expected bash or zsh{}", *shell, Suggestion(*shell, {"bash", "zsh"})));
        const standin::Host host;
        fmt::print("{}", *shell == "bash" ? BashCompletion(program, host) : ZshCompletion(program, host));
        outcome = Done;
    });
}

void AddManualCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("manual", "Print the manual page, for man");
    command->footer(R"(Examples:
  kvt manual | man -l -)");
    command->callback([&program, &outcome] {
        fmt::print("{}", ManualPage(program, kVersion, kDate));
        outcome = Done;
    });
}

} // namespace tools
