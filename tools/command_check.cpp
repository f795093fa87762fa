#include "conformance/rules.h"
#include "standin/elf_file.h"
#include "tools/commands.h"
#include "tools/messages.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace tools {
namespace {

using conformance::Account;
using conformance::Rule;
using conformance::Rules;

struct CheckOptions {
    std::string module;             ///< empty: the one beside the program
    std::vector<std::string> rules; ///< by name; empty: all
    bool lists = false;
    bool json = false;
    int patience = 20; ///< seconds that a call may take
};

std::string LineOf(const Rule &rule) { return fmt::format("{:15}  {}", rule.name, rule.promise); } // the longest name

void PrintPlain(const Rule &rule, const Account &account) {
    constexpr std::size_t kShown = 4;
    const std::vector<std::string> &findings = account.findings;
    const auto verdict = findings.empty() ? Styled(STDOUT_FILENO, fg(fmt::terminal_color::green), "kept  ")
                                          : Styled(STDOUT_FILENO, fg(fmt::terminal_color::red), "BROKEN");
    fmt::print("{}  {}{}\n", verdict, LineOf(rule), account.remark.empty() ? "" : fmt::format(" ({})", account.remark));
    for (std::size_t i = 0; i < std::min(findings.size(), kShown); ++i)
        fmt::print("          {}\n", findings[i]);
    if (findings.size() > kShown)
        fmt::print("          and {} more; --json shows all\n", findings.size() - kShown);
    static_cast<void>(std::fflush(stdout)); // some rules take their time
}

/// Tries whether the module keeps its promises to hosts, and prints what came of it.
Outcome Check(const CheckOptions &options) {
    const std::string name = options.module.empty() ? standin::ModuleBesideProgram() : options.module;
    const std::string module = std::filesystem::absolute(name).string(); // the loader looks elsewhere for mere names
    const std::optional<int> width = standin::ElfFile::WidthOf(ReadBytes(module));
    if (!width)
        Refuse("{}: is no module, a shared object for this kind of processor", name);
    const conformance::Limits limits{.patience = std::chrono::seconds(options.patience)};

    std::size_t kept = 0;
    std::size_t steps = 0;
    Json results = Json::array();
    const auto start = std::chrono::steady_clock::now();
    if (!options.json)
        fmt::print("{}, a module of {} bits, promises that it\n", name, *width);
    for (const Rule &rule : Rules()) {
        if (!options.rules.empty() && std::ranges::count(options.rules, rule.name) == 0)
            continue;
        const Account account = conformance::TryRule(rule, module, conformance::Extent::Quick, limits);
        kept += account.findings.empty() ? 1u : 0u;
        steps += account.steps;
        results.push_back({{"rule", rule.name},
                           {"promise", rule.promise},
                           {"kept", account.findings.empty()},
                           {"steps", account.steps},
                           {"remark", account.remark},
                           {"findings", account.findings}});
        if (!options.json)
            PrintPlain(rule, account);
    }
    const std::size_t broken = results.size() - kept;
    if (options.json)
        fmt::print("{}\n", TextOf({{"module", name},
                                   {"bits", *width},
                                   {"rules", results},
                                   {"summary", {{"rules", results.size()}, {"kept", kept}, {"broken", broken}}}},
                                  2));
    else
        fmt::print("{} rule{}: {} kept, {} broken; {} steps in {:.1f} s\n", results.size(),
                   results.size() == 1 ? "" : "s", kept, broken, steps,
                   std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    return broken == 0 ? Done : Failed;
}

} // namespace

void AddCheckCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("check", "Try whether a module keeps its promises to hosts");
    const auto options = std::make_shared<CheckOptions>();
    std::vector<std::string> names;
    std::ranges::transform(Rules(), std::back_inserter(names), &Rule::name);
    AddOption(*command, "module", options->module, "MODULE",
              "the module's file; the one beside the program when left out");
    AddOption(*command, "--only", options->rules, "RULE", "one rule, by its name; may be repeated")
        ->allow_extra_args(false)
        ->check(CLI::IsMember(names).description(""));
    command->add_flag("--list", options->lists, "print the rules and what they say");
    command->add_flag("--json", options->json, "print the result for programs, with all findings");
    AddOption(*command, "--time-limit", options->patience, "N", "seconds after which a call hangs")
        ->check(CLI::Range(1, 86400).description(""));
    command->callback([options, &outcome] {
        if (!options->lists)
            outcome = Check(*options);
        else
            for (const Rule &rule : Rules())
                fmt::print("{}\n", LineOf(rule));
    });
}

} // namespace tools
