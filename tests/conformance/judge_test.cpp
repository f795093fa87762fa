#include "conformance/rules.h"
#include "standin/module_file.h"
#include "support/faulty_host.h"
#include "support/levels.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

/// The module just built keeps every rule, and each rule is broken by a module with one fault.
namespace {

using namespace conformance;
using namespace std::chrono_literals;

#if defined(KVT_SANITIZE) || defined(KVT_COVERAGE)
constexpr bool kIsInstrumented = true; // the file has more in it then than the module
#else
constexpr bool kIsInstrumented = false;
#endif
#ifdef KVT_SANITIZE // which catches signals
constexpr bool kIsSanitized = true;
constexpr const char *kSegmentFault = "ended the process with status 1";
#else
constexpr bool kIsSanitized = false;
constexpr const char *kSegmentFault = "crashed with SIGSEGV (Segmentation fault)";
#endif

const Rule &RuleOf(std::string_view name) {
    for (const Rule &rule : Rules())
        if (rule.name == name)
            return rule;
    throw std::runtime_error(fmt::format("there is no rule \"{}\"", name));
}

std::string FindingsOf(const Account &account) { return fmt::format("{}", fmt::join(account.findings, "\n")); }

/// KVT_SWEEP asks for another one than the sample. The address sanitizer takes less.
Extent AskedExtent() {
    constexpr std::string_view kNames[] = {"quick", "quarter", "sample", "full"};
    const char *asked = std::getenv("KVT_SWEEP");
    const auto *found = std::find(std::begin(kNames), std::end(kNames), asked ? asked : "sample");
    const auto extent = static_cast<Extent>(found - std::begin(kNames));
    return kIsSanitized && extent == Extent::Sample ? Extent::Quarter : extent;
}

/// That the module keeps one rule.
class TheModule : public testing::Test {
  public:
    explicit TheModule(const Rule &rule) : rule_(rule) {}

  private:
    void TestBody() override {
        if (std::string_view(rule_.name) == "file" && kIsInstrumented)
            GTEST_SKIP() << "the file of an instrumented build exports, needs and runs more";
        const Account account = TryRule(rule_, standin::ModuleBesideProgram(), AskedExtent(), {.patience = 120s});
        EXPECT_GT(account.steps, 0u);
        for (std::size_t i = 0; i < std::min<std::size_t>(account.findings.size(), 20); ++i)
            ADD_FAILURE() << rule_.name << ": " << account.findings[i];
        fmt::print("judge: {}: {} steps; {}\n", rule_.name, account.steps, account.remark);
    }

    const Rule &rule_;
};

/// A test a rule, named after it.
const bool kAreRegistered = [] {
    for (const Rule &rule : Rules()) {
        std::string name = rule.name;
        std::replace(name.begin(), name.end(), '-', '_');
        testing::RegisterTest("TheModule", name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [&rule]() -> testing::Test * { return new TheModule(rule); });
    }
    return true;
}();

TEST(Judge, FindsNoFaultWhereThereIsNone) {
    for (const Rule &rule : Rules()) {
        const Account account = TryRule(rule, FaultyModule(), Extent::Quick, {});
        EXPECT_GT(account.steps, 0u);
        const std::string findings = FindingsOf(account);
        if (std::string_view(rule.name) != "file") {
            EXPECT_EQ(findings, "") << rule.name;
            continue;
        }
        EXPECT_NE(findings.find("exports KVTExported"), std::string::npos) << findings;
        EXPECT_NE(findings.find("needs the library libstdc++.so.6"), std::string::npos) << findings;
    }
}

constexpr struct {
    const char *fault;
    const char *rule;
    const char *finding; ///< a part of one
} kFaults[] = {
    {"StartWithoutLooking", "start", "starting with a null resolver"},
    {"AskForCoffee", "start", "asks for \"REALMakeCoffee\" at its start, which no host has"},
    {"BadClass", "start", "the record of class BadClass has a data offset already; in REALPluginMain"},
    {"RegisterLate", "order", "\"class BadClass\" comes after \"extension of Picture\""},
    {"BadClass", "records", "the record of class BadClass has another version or words that are not zero"},
    {"BadClass", "records", "the record of property Wrong has words that are not zero"},
    {"BadClass", "records", "expected a known type at character 13 of \"property as Oddity\""},
    {"BadClass", "records", "BadClass.Odd: lies at byte 0, as BadClass.Wrong does"},
    {"BadClass", "references", "has 1 reference(s) too many; in the constructor of BadClass"},
    {"BeNonsense", "records", "expected a known type at character 17 of \"BeNonsense(x as nothing)\""},
    {"KeepFlags", "records", "KeepFlags: has flags 0x40000, of which this host knows 0xc"},
    {"BeTwice", "records", "BeTwice(b as integer): is registered twice"},
    {"HaveNoRoutine", "records", "HaveNoRoutine as picture: has no routine"},
    {"DropTooOften", "references", "REALUnlockObject: the last reference to"},
    {"LeakPicture", "references", "has 1 reference(s) too many"},
    {"YieldUncounted", "references", "has 1 reference(s) too few"},
    {"Overwrite", "references", "a byref variable that held an object was given another one"},
    {"KeepCopy", "references", "1 copies of string bytes remain where 0 could not be given back"},
    {"LeakUrl", "references", "1 URL(s) of the platform were left"},
    {"ReleaseUrlTwice", "references", "CFRelease was given an object that is not alive"},
    {"KeepPort", "references", "the platform's drawing port did not come back"},
    {"UseAfterDeath", "entries", "REALPictureClearCache: picture #2"},
    {"WrongKind", "entries", "REALPictureClearCache: memory block #2 (1024 bytes) is the wrong kind of object"},
    {"StringAsObject", "entries", "is a string, not an object"},
    {"ForeignObject", "entries", "REALLockObject: the handle is no object of this host"},
    {"RaiseTwice", "entries", "RuntimeRaiseException: an exception is pending already"},
    {"GiveBackTwice", "entries", "PluginDisposeStringData: no copy of this host's, or given back already"},
    {"KeepHeapBlock", "entries", "1 block(s) of the heap were not freed"},
    {"FreeHeapBlockTwice", "memory", "free: no block of the heap, or freed already"},
    {"CreateMask", "entries", "REALGetPictureMask: asked to create a mask"},
    {"AskForEightBits", "entries", "newPicture: asked for 5 x 3 with 8 bits"},
    {"LoadNonsense", "entries", "has no method \"Paint(x as integer)\""},
    {"YieldDead", "references", "the result is no living object of its type"},
    {"YieldBlock", "references", "the result is no living object of its type"},
    {"ReadHandle", "entries", kSegmentFault},
    {"EndProcess", "entries", "ended the process with status 3: EndProcess; 67 x 3 pixels; pictures; a desktop host"},
    {"DoubleUnlock", "locks", "is not locked"},
    {"LeaveLocked", "locks", "was left locked 1 time(s)"},
    {"DropLocked", "locks", "dies with its pixels locked"},
    {"ReadUnlocked", "locks", kSegmentFault},
    {"WritePastRow", "memory", "were written past their end"},
    {"ChangeRowTable", "memory", "unlockPictureDescription: the row table of"},
    {"ReadPastEnd", "memory", kSegmentFault},
    {"ReadBeforeStart", "memory", kSegmentFault},
    {"ReadPastCopy", "memory", kSegmentFault},
    {"ReadCopyGivenBack", "memory", kSegmentFault},
    {"ChangePicture", "inputs", "was changed"},
    {"ChangeBlock", "inputs", "was changed"},
    {"ChangeString", "inputs", "was changed"},
    {"FearInfinity", "arguments", "has 1 reference(s) too many"},
#if defined(__i386__)
    {"StackOffset", "alignment", "the stack 4 bytes off"},
    {"StoreOnStack", "alignment", kSegmentFault},
#endif
    {"DataOffset", "alignment", ", not 32, as on an aligned host"},
    {"FindNilWhite", "failures", "the result is true, not false"},
    {"RaiseForNil", "failures", "raises NilObjectException \"\", not nothing"},
    {"YieldNothing", "failures", "the result is nil, and nothing tells why"},
    {"YieldSmall", "failures", "the result is picture #2 (4 x 3, first byte skipped) for picture #1 (67 x 3"},
    {"NeedMasks", "missing-entries", kSegmentFault},
    {"ForgetUntaken", "missing-entries", "0 reference(s) remain where 0 could not be dropped and 1 could not be taken"},
    {"DropTwice", "missing-entries", "1 reference(s) remain where 2 could not be dropped and 0 could not be taken"},
    {"UnlockTwice", "missing-entries", "1 pixel lock(s) remain where 2 could not be given back"},
    {"AskAgain", "late-entries", "REALPictureClearCache is late"},
    {"TrustThird", "failing-entries", "REALGetPropValueInt fails on call 3"},
    {"ReadWideBoolean", "wide-booleans", "the result is -7, not 5"},
    {"TrustHeap", "heap", kSegmentFault},
    {"TrustPlatform", "platform", kSegmentFault},
    {"LayoutOf", "layouts", "a console host: the result is 10, not 8, as in pictures"},
    {"LevelOf", "levels", "as at the baseline"},
    {"CountCalls", "repeats", "the result is 2, not 1, as before other calls"},
    {"StayInMemory", "reload", "stays in memory when it is unloaded"},
    {"Alternate", "reload", "registers something else when it is loaded again"},
};

TEST(Judge, FindsEveryFault) {
    for (const auto &row : kFaults) {
        const Faults faults(row.fault);
        const Rule &rule = RuleOf(row.rule);
        // At a start, more than the first finding tells.
        const bool isStart = std::string_view("start order records").find(row.rule) != std::string_view::npos;
        const Account account = TryRule(rule, FaultyModule(), Extent::Sample, {.stopsAtFinding = !isStart});
        EXPECT_NE(FindingsOf(account).find(row.finding), std::string::npos)
            << "of " << row.fault << " (a method in faulty_module.cpp), " << row.rule
            << " finds: " << FindingsOf(account);
    }
}

TEST(Judge, HasAFaultForEveryRule) {
    for (const Rule &rule : Rules())
        EXPECT_TRUE(std::string_view(rule.name) == "file" || (std::string_view(rule.name) == "levels" && !kHasLevels) ||
                    std::any_of(std::begin(kFaults), std::end(kFaults),
                                [&](const auto &row) { return std::string_view(row.rule) == rule.name; }))
            << rule.name << " has no row in kFaults";
}

TEST(Judge, ReachesEverythingThatCanGoWrong) {
    const Account account = RunIsolated(
        [](Report &report) {
            std::vector<bool> reached(Sources().size());
            Judge judge(standin::ModuleBesideProgram(), Extent::Sample, report);
            judge.ForEach({.swept = true, .everyFlaw = true}, [&](const Case &which) {
                const Outcome outcome = judge.Try(which);
                for (std::size_t i = 0; i < reached.size(); ++i)
                    reached[i] = reached[i] || outcome.requests[i] > 0 || outcome.calls[i] > 0;
            });
            for (std::size_t i = 0; i < reached.size(); ++i)
                if (!reached[i])
                    report.Found(Sources()[i].name);
            report.Remark(fmt::format("{}", judge.routines().size()));
        },
        {});
    EXPECT_GE(std::stoi(account.remark), 90);
    // Five belong to the start-up. The last two convert strings, and the routines take bytes as they are stored.
    EXPECT_EQ(account.findings,
              (std::vector<std::string>{"RegisterPluginVersion", "REALGetRBVersion", "PluginRegisterClass",
                                        "PluginRegisterClassExtension", "PluginRegisterMethod", "REALGetStringEncoding",
                                        "REALConvertString"}));
}

TEST(Judge, TellsOfInitialisers) {
    const std::string folder = std::filesystem::path(FaultyModule()).parent_path().string();
    const Account account = TryRule(RuleOf("file"), folder + "/libkvtplatform.so", Extent::Quick, {});
    const std::string findings = FindingsOf(account);
    EXPECT_NE(findings.find("initialiser(s) of its own when it is loaded"), std::string::npos) << findings;
    EXPECT_NE(findings.find("exports no REALPluginMain"), std::string::npos) << findings;
}

TEST(Isolated, EndsWhatHangs) {
    const Faults faults("Hang");
    const Account account = TryRule(RuleOf("references"), FaultyModule(), Extent::Quick, {.patience = 500ms});
    ASSERT_EQ(account.findings.size(), 1u);
    EXPECT_TRUE(account.findings[0].starts_with("hung, and was ended after 0.5 s: Hang; 67 x 3 pixels"))
        << account.findings[0];
}

TEST(Isolated, WorkThatGoesOnIsNotEndedAndAllOfItArrives) {
    const Account account = RunIsolated(
        [](Report &report) {
            for (int step = 0; step < 12; ++step) {
                report.Doing("step");
                usleep(50000);
                report.FoundOnce(step % 2 == 0 ? "even" : "odd", std::string(5000, static_cast<char>('a' + step)));
            }
            report.Remark("all done");
        },
        {.patience = 400ms});
    EXPECT_EQ(account.findings, (std::vector<std::string>{std::string(5000, 'a'), std::string(5000, 'b')}));
    EXPECT_EQ(account.steps, 12u);
    EXPECT_EQ(account.remark, "all done");
}

TEST(Isolated, AnExceptionIsAFinding) {
    const Account account = RunIsolated([](Report &) { throw std::runtime_error("no luck"); }, {});
    EXPECT_EQ(account.findings, std::vector<std::string>{"no luck"});
}

} // namespace
