#include "tools/check/check.h"

#include "standin/module_file.h"
#include "tools/check/rules.h"
#include "tools/files.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <ostream>
#include <unistd.h>

/// The check finds what it is for: each rule is broken by a module with one fault and kept by the module itself.
namespace {

using namespace std::chrono_literals;
using tools::check::Account;
using tools::check::Report;

constexpr auto kPatience = 60s;

std::string Module() { return standin::ModuleBesideProgram(); }
std::string FaultyModule() { return (std::filesystem::path(Module()).parent_path() / "faulty_module.so").string(); }

const tools::check::Rule &RuleCalled(std::string_view name) {
    const auto rules = tools::check::Rules();
    const auto found = std::find_if(rules.begin(), rules.end(), [&](const auto &rule) { return rule.name == name; });
    if (found == rules.end())
        throw std::logic_error("no such rule: " + std::string(name));
    return *found;
}

Account Try(const tools::check::Rule &rule, const std::string &module, std::chrono::milliseconds patience = kPatience) {
    return tools::check::RunIsolated([&](Report &report) { rule.run(module, report); }, patience);
}

#if defined(KVT_SANITIZE) || defined(KVT_COVERAGE)
constexpr bool kIsInstrumented = true; // the file has more in it then than the module
#else
constexpr bool kIsInstrumented = false;
#endif
#ifdef KVT_SANITIZE // which catches signals
constexpr const char *kSegmentFault = "ended the process with status 1";
#else
constexpr const char *kSegmentFault = "crashed with SIGSEGV (Segmentation fault)";
#endif
constexpr const char *kAbort = "crashed with SIGABRT (Aborted)";

struct Fault {
    const char *fault;
    const char *rule;
    const char *finding; ///< a part of the first
};

void PrintTo(const Fault &fault, std::ostream *out) { *out << fault.fault << ", " << fault.rule; }

constexpr Fault kFaults[] = {
    {"starts without looking", "start", "starting with a null resolver"},
    {"asks for coffee", "start", "asks for \"REALMakeCoffee\" at its start, which no host has"},
    {"registers late", "order", "\"extension of Picture\" comes after \"method RenderSamplesKVT"},
    {"keeps its own flags", "records", "has flags 0x40004, of which this host knows 0xc"},
    {"registers twice", "records", "BinaryStringtoPictureKVT(data as String) as Picture: is registered twice"},
    {"has no routine", "records", "InvertKVT as picture: has no routine"},
    {"takes pictures for strings", "entries", "is the wrong kind of object"},
    {"keeps references", "references", "reference(s) too many"},
    {"keeps locks", "locks", "was left locked 1 time(s)"},
    {"writes unlocked", "locks", kSegmentFault},
    {"writes behind pixels", "memory", kSegmentFault},
    {"writes between rows", "memory", "were written past their end"},
    {"changes inputs", "inputs", "was changed"},
#if defined(__i386__)
    {"relies on the stack", "stack", kSegmentFault},
#endif
    {"finds nil white", "failures", "the result is true, not false"},
    {"raises for nil", "failures", "raises NilObjectException \"\", not nothing"},
    {"crashes", "missing-entries", kAbort},
    {"needs masks", "missing-entries", "without REALGetPictureMask"},
    {"counts by layout", "layouts", "a console host: the result is"},
    {"counts by level", "levels", "as at the baseline"},
    {"stays in memory", "reload", "stays in memory when it is unloaded"},
    {"remembers that it ran", "reload", "registers something else when it is loaded again"},
    {"ends the process", "inputs", "ended the process with status 3: HasMaskKVT as boolean; 67 x 3 pixels"},
    {"crashes", "inputs", ": HasMaskKVT as boolean; 67 x 3 pixels; bitmaps, first byte skipped"},
};

/// What a test's name may hold of a text.
std::string NameOf(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char letter) { return !std::isalnum(letter); }, '_');
    return text;
}

class EveryFault : public testing::TestWithParam<Fault> {};

TEST_P(EveryFault, IsFound) {
    const Fault &row = GetParam();
    setenv("KVT_FAULT", row.fault, 1);
    const Account account = Try(RuleCalled(row.rule), FaultyModule());
    unsetenv("KVT_FAULT");
    ASSERT_FALSE(account.findings.empty());
    EXPECT_NE(account.findings.front().find(row.finding), std::string::npos) << account.findings.front();
}

INSTANTIATE_TEST_SUITE_P(, EveryFault, testing::ValuesIn(kFaults), [](const auto &fault) {
    return NameOf(std::string(fault.param.fault) + "_by_" + fault.param.rule);
});

class EveryRule : public testing::TestWithParam<const tools::check::Rule *> {};

TEST_P(EveryRule, IsKeptByAModuleWithoutFault) {
    const tools::check::Rule &rule = *GetParam();
    for (const std::string &module : {Module(), FaultyModule()}) {
        if (module == FaultyModule() && (kIsInstrumented || sizeof(void *) == 4))
            continue; // takes longer than the module itself, so one build will do
        SCOPED_TRACE(module);
        const Account account = Try(rule, module);
        EXPECT_GT(account.steps, 0u);
        if (std::string_view(rule.name) == "file") {
            EXPECT_EQ(account.findings.empty(), module == Module() && !kIsInstrumented);
        } else {
            EXPECT_EQ(account.findings, std::vector<std::string>());
        }
    }
}

std::vector<const tools::check::Rule *> AllRules() {
    std::vector<const tools::check::Rule *> rules;
    for (const tools::check::Rule &rule : tools::check::Rules())
        rules.push_back(&rule);
    return rules;
}

INSTANTIATE_TEST_SUITE_P(, EveryRule, testing::ValuesIn(AllRules()),
                         [](const auto &rule) { return NameOf(std::string(rule.param->name)); });

TEST(Check, TellsWhatIsWrongWithAFile) {
    const Account account = Try(RuleCalled("file"), FaultyModule());
    std::vector<std::string> expected = {"exports KVTExported", "needs the library libstdc++.so.6"};
    if (!kIsInstrumented) // which adds initialisers
        expected.emplace_back("runs 1 initialiser(s) of its own when it is loaded");
    for (const std::string &finding : expected)
        EXPECT_EQ(std::count(account.findings.begin(), account.findings.end(), finding), 1)
            << finding << testing::PrintToString(account.findings);
}

TEST(Check, EveryRuleIsShownToFail) {
    for (const tools::check::Rule &rule : tools::check::Rules())
        EXPECT_TRUE(std::string_view(rule.name) == "file" || std::string_view(rule.name) == "stack" ||
                    std::any_of(std::begin(kFaults), std::end(kFaults),
                                [&](const auto &row) { return std::string_view(row.rule) == rule.name; }))
            << rule.name;
}

TEST(Check, EndsWhatHangs) {
    setenv("KVT_FAULT", "hangs", 1);
    const Account account = Try(RuleCalled("references"), FaultyModule(), 500ms);
    unsetenv("KVT_FAULT");
    ASSERT_EQ(account.findings.size(), 1u);
    EXPECT_TRUE(account.findings[0].starts_with("hung, and was ended after 0.5 s: HasMaskKVT as boolean; 67 x 3"))
        << account.findings[0];
}

TEST(Isolated, WorkThatGoesOnIsNotEndedAndAllOfItArrives) {
    const Account account = tools::check::RunIsolated(
        [](Report &report) {
            for (int step = 0; step < 12; ++step) {
                report.Doing("step");
                usleep(50000);
                report.FoundOnce(step % 2 == 0 ? "even" : "odd", std::string(5000, static_cast<char>('a' + step)));
            }
            report.Remark("all done");
        },
        400ms);
    EXPECT_EQ(account.findings, (std::vector<std::string>{std::string(5000, 'a'), std::string(5000, 'b')}));
    EXPECT_EQ(account.steps, 12u);
    EXPECT_EQ(account.remark, "all done");
}

TEST(Isolated, AnExceptionIsAFinding) {
    const Account account = tools::check::RunIsolated([](Report &) { throw std::runtime_error("no luck"); }, kPatience);
    EXPECT_EQ(account.findings, std::vector<std::string>{"no luck"});
}

} // namespace
