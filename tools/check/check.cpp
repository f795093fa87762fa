#include "tools/check/check.h"

#include "standin/elf_file.h"
#include "standin/module_file.h"
#include "tools/check/rules.h"
#include "tools/files.h"
#include "tools/json.h"
#include "tools/nearest.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>

namespace tools::check {
namespace {

constexpr std::size_t kShownFindings = 4; ///< of one rule, for people

std::size_t NameWidth() {
    std::size_t width = 0;
    for (const Rule &rule : Rules())
        width = std::max(width, std::string_view(rule.name).size());
    return width;
}

std::vector<const Rule *> ChosenRules(const std::vector<std::string> &names) {
    std::vector<std::string_view> known;
    for (const Rule &rule : Rules())
        known.emplace_back(rule.name);
    for (const std::string &name : names)
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            const std::string suggestion = Suggestion(name, known);
            throw UserError(fmt::format("--only {}: there is no such rule{}", name,
                                        suggestion.empty() ? "; kvt check --list shows them" : suggestion));
        }
    std::vector<const Rule *> chosen;
    for (const Rule &rule : Rules())
        if (names.empty() || std::find(names.begin(), names.end(), rule.name) != names.end())
            chosen.push_back(&rule);
    return chosen;
}

std::string JsonLine(const Rule &rule, const Account &account) {
    std::string findings;
    for (const std::string &finding : account.findings)
        findings += fmt::format("{}{}", findings.empty() ? "" : ", ", json::Text(finding));
    return fmt::format("    {{\"rule\": {}, \"promise\": {}, \"kept\": {}, \"steps\": {}, \"remark\": {}, "
                       "\"findings\": [{}]}}",
                       json::Text(rule.name), json::Text(rule.promise), account.findings.empty(), account.steps,
                       json::Text(account.remark), findings);
}

std::string PlainLines(const Rule &rule, const Account &account) {
    std::string lines =
        fmt::format("{}  {:{}}  {}{}\n", account.findings.empty() ? "kept  " : "BROKEN", rule.name, NameWidth(),
                    rule.promise, account.remark.empty() ? "" : fmt::format(" ({})", account.remark));
    for (std::size_t i = 0; i < std::min(account.findings.size(), kShownFindings); ++i)
        lines += fmt::format("          {}\n", account.findings[i]);
    if (account.findings.size() > kShownFindings)
        lines += fmt::format("          and {} more; --json shows all\n", account.findings.size() - kShownFindings);
    return lines;
}

} // namespace

std::string ListRules() {
    std::string lines;
    for (const Rule &rule : Rules())
        lines += fmt::format("{:{}}  {}\n", rule.name, NameWidth(), rule.promise);
    return lines;
}

Outcome Check(const Request &request) {
    const std::vector<const Rule *> rules = ChosenRules(request.rules);
    constexpr double kMostPatience = 86400;
    if (!(request.patience > 0 && request.patience <= kMostPatience))
        throw UserError(
            fmt::format("--time-limit {:g}: expected seconds, more than 0 and at most a day", request.patience));
    const std::string name = request.module.empty() ? standin::ModuleBesideProgram() : request.module;
    const std::string module = std::filesystem::absolute(name).string(); // the loader looks elsewhere for mere names
    const std::optional<int> width = standin::ElfFile::WidthOf(ReadBytes(module));
    if (!width)
        throw UserError(fmt::format("{}: is no module, a shared object for this kind of processor", name));

    std::size_t broken = 0;
    std::size_t steps = 0;
    std::string lines;
    const auto start = std::chrono::steady_clock::now();
    if (!request.json)
        fmt::print("{}, a module of {} bits, promises that it\n", name, *width);
    for (const Rule *rule : rules) {
        const Account account = RunIsolated([&](Report &report) { rule->run(module, report); },
                                            std::chrono::milliseconds(std::lround(std::ceil(request.patience * 1000))));
        if (!account.findings.empty())
            ++broken;
        steps += account.steps;
        if (request.json) {
            lines += (lines.empty() ? "" : ",\n") + JsonLine(*rule, account);
        } else {
            fmt::print("{}", PlainLines(*rule, account));
            static_cast<void>(std::fflush(stdout)); // some rules take their time
        }
    }
    const std::size_t kept = rules.size() - broken;
    if (request.json)
        fmt::print("{{\n  \"module\": {},\n  \"bits\": {},\n  \"rules\": [\n{}\n  ],\n"
                   "  \"summary\": {{\"rules\": {}, \"kept\": {}, \"broken\": {}}}\n}}\n",
                   json::Text(name), *width, lines, rules.size(), kept, broken);
    else
        fmt::print("{} rule{}: {} kept, {} broken; {} steps in {:.1f} s\n", rules.size(), rules.size() == 1 ? "" : "s",
                   kept, broken, steps,
                   std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    return broken == 0 ? Done : Failed;
}

} // namespace tools::check
