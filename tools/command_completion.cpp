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
    struct Request {
        std::string shell;
        std::vector<std::string> words;
    };
    const auto request = std::make_shared<Request>();
    command->add_option("shell", request->shell, "whose language it is")->type_name("bash|zsh")->required();
    command->add_option("words", request->words)->group(""); // the shell's script asks with these
    command->footer(R"(Examples:
  source <(kvt completion bash)
  kvt completion zsh >~/.zfunc/_kvt)");
    command->callback([&program, request, &outcome] {
        const std::string &shell = request->shell;
        if (shell != "bash" && shell != "zsh")
            throw UserError(fmt::format("\"{}\": expected bash or zsh{}", shell, Suggestion(shell, {"bash", "zsh"})));
        outcome = Done;
        if (request->words.empty()) {
            fmt::print("{}", CompletionScript(shell));
            return;
        }
        const standin::Host host;
        const Completions found = Complete(program, host, request->words);
        fmt::print("{}\n", found.paths);
        for (const auto &[text, meaning] : found.words)
            fmt::print(fmt::runtime(shell == "zsh" && !meaning.empty() ? "{}:{}\n" : "{}\n"), text, meaning);
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
