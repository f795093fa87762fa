#include "tools/check/check.h"
#include "tools/commands.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>

namespace tools {
namespace {

struct CheckOptions {
    check::Request request;
    bool lists = false;
};

} // namespace

void AddCheckCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("check", "Try whether a module keeps its promises to hosts");
    const auto options = std::make_shared<CheckOptions>();
    check::Request &request = options->request;
    command->add_option("module", request.module, "the module's file; the one beside the program when left out");
    command->add_option("--only", request.rules, "one rule, by its name; may be repeated")->allow_extra_args(false);
    command->add_flag("--list", options->lists, "print the rules and what they say");
    command->add_flag("--json", request.json, "print the result for programs, with all findings");
    command->add_option("--time-limit", request.patience, "seconds after which a call hangs")->capture_default_str();
    command->footer(check::kExamples);
    command->callback([options, &outcome] {
        if (options->lists) {
            fmt::print("{}", check::ListRules());
            outcome = Done;
        } else {
            outcome = check::Check(options->request);
        }
    });
}

} // namespace tools
