#include "sweep/trial.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

/// Every registered routine against everything that can go wrong around it: entries of the host, the heap, functions of
/// the platform. The cases come from what the module registers, so a new routine is swept as soon as it stands in its
/// table. A fault that a routine does not reach leaves the run as it is without faults; those are left out, and of the
/// others the less telling hosts take a part, unless KVT_SWEEP=full asks for all. KVT_SWEEP=quarter, and the address
/// sanitizer, take one case of four.
namespace {

using namespace standin;
using namespace sweep;

const std::vector<Situation> kSituations = {
    {.what = "valid arguments"},
    {.what = "pictures with an alpha channel", .pictures = {.hasAlphaChannel = true}},
    {.what = "pictures that cannot be locked", .pictures = {.lockable = false}},
    {.what = "pictures that are refused", .pictures = {.bitsPerPixel = 24}},
    {.what = "graphics worlds", .pictures = {.form = Form::GraphicsWorld}},
    {.what = "copies of console pictures",
     .pictures = {.form = Form::Console},
     .faults = {{"pluginObjectType"}, {"Graphics.DrawPicture"}}},
    {.what = "a nil receiver", .nilReceiver = true},
    {.what = "nil arguments", .nilArguments = true},
    {.what = "omitted defaults", .omitsDefaults = true, .needs = "="},
    {.what = "no copies of strings", .faults = {{"PluginGetStringData"}}, .needs = "as String"},
};

/// To routines, a host without version is one before 2011.04, and only bitmaps tell these from newer ones.
struct HostKind {
    const char *name;
    Application application;
    std::optional<double> version;
    bool telling;
};
constexpr HostKind kHosts[] = {
    {"NewDesktop", Application::Desktop, 2019.03, true},  {"OldDesktop", Application::Desktop, 2011.0, true},
    {"NamelessDesktop", Application::Desktop, {}, false}, {"NewConsole", Application::Console, 2019.03, true},
    {"OldConsole", Application::Console, 2011.0, false},  {"NamelessConsole", Application::Console, {}, false},
};

bool IsAsked(std::string_view extent) {
    const char *asked = std::getenv("KVT_SWEEP");
    return asked && asked == extent;
}

constexpr int kMostHeapRequests = 6; ///< of a routine

/// All faults that can be, of one source.
std::vector<Fault> FaultsOf(const Source &source) {
    std::vector<Fault> faults;
    if (source.of != Source::Heap)
        faults.push_back({source.name, Fault::Missing});
    if (source.of == Source::Entry)
        faults.push_back({source.name, Fault::Late});
    for (int call = 1; call <= (source.of == Source::Heap ? kMostHeapRequests : 4); ++call)
        faults.push_back({source.name, Fault::Fails, call});
    if (source.yieldsBoolean)
        faults.push_back({source.name, Fault::WideFalse});
    return faults;
}

std::string Describe(const Fault &fault) {
    switch (fault.what) {
    case Fault::Missing:
        return fault.entry + " is missing";
    case Fault::Late:
        return fault.entry + " is late";
    case Fault::Fails:
        return fmt::format("{} fails on call {}", fault.entry, fault.call);
    case Fault::WideFalse:
        break;
    }
    return fault.entry + " yields a wide false";
}

bool Reaches(const Outcome &withoutFault, std::size_t source, const Fault &fault) {
    if (fault.what == Fault::Fails)
        return withoutFault.calls[source] >= fault.call;
    return std::max(withoutFault.calls[source], withoutFault.requests[source]) > 0;
}

/// Faults that change what a routine does without letting it fail, so that its result is neither the ordinary one nor
/// that of a failure. An empty situation or routine stands for any.
constexpr struct {
    std::string_view source;
    std::string_view situation;
    std::string_view routine; ///< begins with this
    const char *why;
} kOtherResults[] = {
    {"CGBitmapContextGetWidth", "", "", "a bitmap without pixels opens, and nothing of it is read or written"},
    {"CGBitmapContextGetHeight", "", "", "the same"},
    {"REALGetPropValueBool", "", "", "an alpha channel that nobody tells of is taken for none"},
    {"pluginPictureGraphicsGetter", "", "", "a copy that could not be drawn is read as it is"},
    {"REALLoadObjectMethod", "", "", "the same"},
    {"Graphics.DrawPicture", "", "", "the same"},
    {"REALLockPictureDescription", "pictures that are refused", "", "one that cannot be locked is read from a copy"},
    {"REALLockPictureDescription", "copies of console pictures", "", "without a copy, the picture itself is read"},
    {"REALGetPropValueInt", "copies of console pictures", "", "the same"},
    {"newPicture", "copies of console pictures", "", "the same"},
    {"pluginObjectType", "", "", "an unknown kind of application has both kinds of pictures tried"},
    {"REALSetPropValueInt", "", "RenderSamplesKVT", "the host draws the outline with the pen that it has"},
    {"REALSetPropValueUInt32", "", "RenderSamplesKVT", "the same"},
    {"RuntimeGraphicsDrawLine", "", "RenderSamplesKVT", "the host draws no outline"},
};

bool MayDiffer(const Routine &routine, const Situation &situation, std::string_view source) {
    return std::any_of(std::begin(kOtherResults), std::end(kOtherResults), [&](const auto &other) {
        return source == other.source && (other.situation.empty() || other.situation == situation.what) &&
               routine.text.starts_with(other.routine);
    });
}

/// The exception that the fault leaves of one that is raised without it.
bool MayRaise(const Outcome &plain, const Outcome &outcome, std::string_view source) {
    const auto message = [](const std::string &raised) { return raised.substr(raised.find(' ')); };
    if (outcome.raised.empty() || outcome.raised == plain.raised)
        return true;
    if (plain.raised.empty())
        return false;
    if (source == "PluginNewInstance")
        return outcome.raised == "RuntimeException" + message(plain.raised);
    return (source == "REALBuildString" || source == "REALSetPropValueString") && message(outcome.raised) == " \"\"";
}

/// Whether the outcome with a fault is the ordinary one or the documented failure; if not, what is wrong with it. Of a
/// routine that does two others' work and tells of the second one alone, `halves` are those two without a fault.
std::string Judge(const Routine &routine, const Outcome &plain, const Outcome &outcome,
                  const std::vector<Outcome> &halves) {
    const bool succeeds = outcome.result == plain.result;
    const bool fails = !outcome.failure.empty() && outcome.result == outcome.failure;
    if (!succeeds && !fails)
        return fmt::format("gives \"{}\", neither \"{}\" as without faults nor \"{}\"", outcome.result, plain.result,
                           outcome.failure);
    if (outcome.changed.size() != plain.changed.size())
        return "changes other objects";
    // Masks, and pictures that are not scrolled with them, fail for themselves; a result that does not fit into `dest`
    // becomes a new picture; and a routine that gives nothing back tells of no failure.
    const bool changesApart = routine.text.starts_with("Scroll");
    const bool mayLeave = changesApart || routine.text.starts_with("TransformColorsKVT") || outcome.result.empty();
    for (std::size_t i = 0; i < outcome.changed.size(); ++i) {
        const auto &[before, after] = outcome.changed[i];
        const std::string &ordinary = plain.changed[i].after;
        const bool isOrdinary = after == ordinary && (succeeds || changesApart);
        const bool isLeft = after == before && (!succeeds || fails || mayLeave);
        bool isHalf = false;
        for (std::size_t half = 0; half < halves.size(); ++half)
            isHalf = isHalf || (after == halves[half].changed[i].after && (half == 0 || succeeds || i > 0));
        if (!isOrdinary && !isLeft && !isHalf)
            return fmt::format("leaves \"{}\" of \"{}\", not \"{}\"", after, before, ordinary);
    }
    return "";
}

std::string gCase; ///< which one runs, for a crash

void TellOfCrashes() {
#ifndef KVT_SANITIZE
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT})
        std::signal(signal, [](int caught) {
            constexpr std::string_view kCrash = "the sweep crashed at ";
            for (const std::string_view part : {kCrash, std::string_view(gCase), std::string_view("\n")})
                if (write(STDERR_FILENO, part.data(), part.size()) < 0)
                    break;
            std::signal(caught, SIG_DFL);
            std::raise(caught);
        });
#endif
}

#ifdef KVT_SANITIZE
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

class FaultSweep : public testing::TestWithParam<std::tuple<HostKind, std::size_t>> {
  protected:
    Outcome TryCase(const Routine &routine, const Fault *fault) {
        const HostKind &host = std::get<0>(GetParam());
        gCase = fmt::format("{}, {}, {}, {}", routine.Describe(), situation_.what, host.name,
                            fault ? Describe(*fault) : "no fault");
        ++cases_;
        return Try(routine, situation_, {.application = host.application, .version = host.version}, fault);
    }

    void Report(const std::string &problem) {
        if (!problem.empty() && ++problems_ <= 20)
            ADD_FAILURE() << gCase << ": " << problem;
    }

    void Sweep(const Routine &routine) {
        const Outcome plain = TryCase(routine, nullptr);
        ASSERT_TRUE(plain.isThere) << gCase;
        ASSERT_LE(plain.calls.back(), kMostHeapRequests) << gCase;
        for (const std::string &problem : plain.problems)
            Report(problem);
        std::vector<Outcome> halves;
        if (routine.text.starts_with("ScrollKVT"))
            for (const char *half : {"ScrollHorizontalKVT", "ScrollVerticalKVT"})
                for (const Routine &other : Routines())
                    if (other.text.starts_with(half))
                        halves.push_back(TryCase(other, nullptr));
        for (std::size_t source = 0; source < Sources().size(); ++source)
            for (const Fault &fault : FaultsOf(Sources()[source])) {
                const bool reaches = Reaches(plain, source, fault);
                if (!reaches && !all_)
                    continue;
                if (++possible_ % every_ != 0)
                    continue;
                const Outcome outcome = TryCase(routine, &fault);
                for (const std::string &problem : outcome.problems)
                    Report(problem);
                const std::string &name = Sources()[source].name;
                if (!outcome.isThere) { // a routine that could not be registered cannot be called
                    Report(name.starts_with("PluginRegister") ? "" : "is not there");
                    continue;
                }
                if (!MayDiffer(routine, situation_, name))
                    Report(Judge(routine, plain, outcome, halves));
                if (!MayRaise(plain, outcome, name))
                    Report(fmt::format("raises {}, not {}", outcome.raised, plain.raised));
            }
    }

    const Situation &situation_ = kSituations[std::get<1>(GetParam())];
    const bool all_ = IsAsked("full");
    /// Of how many cases one is tried.
    const int every_ = (kSanitized || IsAsked("quarter") ? 4 : 1) * (all_ || std::get<0>(GetParam()).telling ? 1 : 4);
    int possible_ = 0;
    int cases_ = 0;
    int problems_ = 0;
};

TEST_P(FaultSweep, LeavesNothingBehindWhateverIsAtFault) {
    TellOfCrashes();
    for (const Routine &routine : Routines())
        if (routine.Meets(situation_))
            Sweep(routine);
    fmt::print("sweep: {} cases\n", cases_);
}

TEST(SweptRoutines, ReachEverythingThatCanGoWrong) {
    const std::vector<Routine> routines = Routines();
    ASSERT_GE(routines.size(), 45u);
    std::vector<bool> reached(Sources().size());
    for (const HostKind &host : kHosts)
        for (const Situation &situation : kSituations)
            for (const Routine &routine : routines) {
                if (!routine.Meets(situation))
                    continue;
                const Outcome outcome =
                    Try(routine, situation, {.application = host.application, .version = host.version});
                // What the judgements above rest on: the first situation is one of success, and nil one of failure.
                if (&situation == &kSituations[0] && outcome.failure.starts_with("nil")) {
                    EXPECT_NE(outcome.result, outcome.failure) << routine.Describe() << " in " << host.name;
                } else if (situation.nilReceiver && !outcome.failure.empty()) {
                    EXPECT_EQ(outcome.result, outcome.failure) << routine.Describe() << " in " << host.name;
                }
                for (std::size_t source = 0; source < reached.size(); ++source)
                    reached[source] = reached[source] || outcome.requests[source] > 0 || outcome.calls[source] > 0;
            }
    std::vector<std::string> unreached;
    for (std::size_t source = 0; source < reached.size(); ++source)
        if (!reached[source])
            unreached.push_back(Sources()[source].name);
    // Five belong to the start-up. The last two convert strings, and the routines take bytes as they are stored.
    EXPECT_EQ(unreached, (std::vector<std::string>{"RegisterPluginVersion", "REALGetRBVersion", "PluginRegisterClass",
                                                   "PluginRegisterClassExtension", "PluginRegisterMethod",
                                                   "REALGetStringEncoding", "REALConvertString"}));
    fmt::print("sweep: {} routines\n", routines.size());
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultSweep,
                         testing::Combine(testing::ValuesIn(kHosts),
                                          testing::Range(std::size_t{0}, kSituations.size())),
                         [](const auto &parameter) {
                             std::string name = std::get<0>(parameter.param).name;
                             name += '_';
                             for (const char letter : std::string_view(kSituations[std::get<1>(parameter.param)].what))
                                 name += letter == ' ' ? '_' : letter;
                             return name;
                         });

} // namespace
