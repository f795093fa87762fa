#include "conformance/rules.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <utility>

namespace conformance {
namespace {

using standin::Concern;
using standin::Fault;
using standin::Guard;
using standin::Host;
using standin::HostDescription;

/// The instruction-set levels that can be forced; the best alone when none can.
std::vector<int> LevelsOf(Judge &judge) {
    judge.report().Doing("forcing levels");
    Host host(DescribeHost(Places()[0], judge.module()));
    host.TakeBreaches();
    std::vector<int> levels;
    for (const int level : {0, 1, 2})
        if (host.ForceLevel(level))
            levels.push_back(level);
    host.TakeBreaches();
    return levels.empty() ? std::vector<int>{-1} : levels;
}

// What calls do.

/// The findings of the host that are about one concern.
template <Concern kConcern, Guard... kGuards> void CheckConcern(Judge &judge) {
    for (const Guard guard : {kGuards...})
        judge.ForEach({.everyRound = true, .everyFlaw = true}, [&](Case which) {
            which.guard = guard;
            which.sealsPictures = kConcern == Concern::Locks;
            for (const standin::Breach &breach : judge.Try(which).breaches)
                if (breach.concern == kConcern)
                    judge.Found(which, breach.sentence);
        });
}

/// Scripts of a few calls, whose arguments are anything and whose objects meet again.
void CheckArguments(Judge &judge) {
    constexpr int kScripts[] = {400, 1000, 4000, 40000};
    std::vector<const Place *> places; // one a kind of host: scripts store pictures as they like
    for (const Place &place : Places())
        if (place.storage == Places()[0].storage)
            places.push_back(&place);
    const std::vector<Routine> &routines = judge.routines();
    for (int seed = 0; seed < kScripts[static_cast<int>(judge.extent())]; ++seed) {
        Choices choices(static_cast<std::uint64_t>(seed));
        HostDescription description =
            DescribeHost(*places[static_cast<std::size_t>(seed) % places.size()], judge.module());
        description.sealsPictures = true;
        description.guard = seed % 2 == 0 ? Guard::After : Guard::Before;
        description.refusedHeapRequest = choices.OneIn(8) ? choices.Between(1, 4) : 0;
        std::string script = fmt::format("script {}", seed);
        Host host(description);
        host.TakeBreaches();
        {
            Caller caller(host, choices);
            for (int left = caller.choices().Between(1, 4); left > 0; --left) {
                const Routine &routine = caller.choices().Of(routines);
                script += "; " + routine.Describe();
                judge.report().Doing(script);
                const std::optional<Called> called = caller.Call(routine);
                if (called && !called->problem.empty())
                    judge.report().Found(fmt::format("{}; in {}", called->problem, script));
            }
        }
        host.Finish();
        for (const standin::Breach &breach : host.TakeBreaches())
            judge.report().Found(fmt::format("{}; in {}", breach.sentence, script));
    }
}

void CheckAlignment(Judge &judge) {
    struct Misalignment {
        int stackShift;
        std::uint32_t dataOffset;
    };
    // Calls of 64 bits keep the stack aligned to 16 bytes, and pointers in instance data are aligned to 8.
    const std::vector<Misalignment> misalignments = sizeof(void *) == 4
                                                        ? std::vector<Misalignment>{{4, 4}, {8, 12}, {12, 20}, {0, 24}}
                                                        : std::vector<Misalignment>{{0, 8}, {0, 24}, {0, 40}};
    const bool isQuick = judge.extent() == Extent::Quick;
    for (const int level : isQuick ? std::vector<int>{-1} : LevelsOf(judge))
        judge.ForEach({.typical = true, .everyFlaw = !isQuick}, [&](Case which) {
            which.level = level;
            which.round = kRounds - 1;
            const Outcome aligned = judge.Try(which);
            for (const auto &[stackShift, dataOffset] : misalignments) {
                which.stackShift = stackShift;
                which.dataOffset = dataOffset;
                const Outcome outcome = judge.Try(which);
                for (const standin::Breach &breach : outcome.breaches)
                    judge.Found(which, breach.sentence);
                if (const std::string difference = Difference(aligned, outcome); !difference.empty())
                    judge.Found(which, difference + ", as on an aligned host");
            }
        });
}

// Failures.

std::string Name(const std::optional<standin::RaisedException> &raised) {
    return raised ? fmt::format("{} \"{}\"", raised->className, raised->message) : "nothing";
}

void CheckFailures(Judge &judge) {
    judge.ForEach({.everyRound = true, .everyFlaw = true}, [&](const Case &which) {
        if (!which.place->isOrdinary)
            return;
        const Outcome outcome = judge.Try(which);
        std::optional<standin::RaisedException> raised;
        const char *message = Documented(*which.routine, Special::Raises, which.flaw.of);
        if (message && which.flaw.what == Flaw::Nil)
            raised = {"NilObjectException", message};
        if (outcome.raised != raised)
            judge.Found(which, fmt::format("raises {}, not {}", Name(outcome.raised), Name(raised)));
        if (!outcome.problem.empty())
            judge.Found(which, outcome.problem);
        for (const Seen &seen : outcome.seen) {
            const char *answer = AnswerOfFailure(*which.routine, seen.what);
            if (answer && which.flaw.forbids && seen.value != answer)
                judge.Found(which, fmt::format("{} is {}, not {}", seen.what, seen.value, answer));
            if (answer && which.flaw.what == Flaw::None && answer == std::string_view("nil") && seen.value == "nil" &&
                !which.routine->assigns)
                judge.Found(which, fmt::format("{} is nil, and nothing tells why", seen.what));
        }
    });
}

// Faults.

/// Faults that change what a routine does without letting it fail, so that its result is neither the ordinary one nor
/// that of a failure. An empty storage or routine, and no flaw, stand for any.
constexpr struct {
    std::string_view source;
    std::string_view storage;
    std::string_view routine; ///< begins with this
    Flaw::What flaw;
    const char *why;
} kOtherResults[] = {
    {"CGBitmapContextGetWidth", "", "", {}, "a bitmap without pixels opens, and nothing of it is read or written"},
    {"CGBitmapContextGetHeight", "", "", {}, "the same"},
    {"REALGetPropValueBool", "", "", {}, "an alpha channel that nobody tells of is taken for none"},
    {"pluginPictureGraphicsGetter", "", "", {}, "a copy that could not be drawn is read as it is"},
    {"REALLoadObjectMethod", "", "", {}, "the same"},
    {"Graphics.DrawPicture", "", "", {}, "the same"},
    {"REALLockPictureDescription", "", "", Flaw::Refused, "one that cannot be locked is read from a copy"},
    {"REALLockPictureDescription", "copies of console pictures", "", {}, "without a copy, the picture itself is read"},
    {"REALGetPropValueInt", "copies of console pictures", "", {}, "the same"},
    {"newPicture", "copies of console pictures", "", {}, "the same"},
    {"pluginObjectType", "", "", {}, "an unknown kind of application has both kinds of pictures tried"},
    {"REALSetPropValueInt", "", "RenderSamplesKVT", {}, "the host draws the outline with the pen that it has"},
    {"REALSetPropValueUInt32", "", "RenderSamplesKVT", {}, "the same"},
    {"RuntimeGraphicsDrawLine", "", "RenderSamplesKVT", {}, "the host draws no outline"},
    {"memoryBlockGetSize", "", "RenderSamplesKVT", {}, "a block of unknown size holds no samples"},
    {"REALLockPictureDescription", "", "EmbeddedMaskKVT", {}, "the copy that is read then is opaque"},
};

bool MayDiffer(const Case &which) {
    return std::any_of(std::begin(kOtherResults), std::end(kOtherResults), [&](const auto &other) {
        return which.source->name == other.source &&
               (other.storage.empty() || other.storage == which.place->storage->name) &&
               (other.flaw == Flaw::None || other.flaw == which.flaw.what) &&
               which.routine->name.starts_with(other.routine);
    });
}

/// Of the exception that is raised without it, a fault may leave one of another class or without message.
bool MayRaise(const Case &which, const Outcome &plain, const Outcome &outcome) {
    if (!outcome.raised || outcome.raised == plain.raised)
        return true;
    if (!plain.raised)
        return false;
    if (which.source->name == "PluginNewInstance")
        return outcome.raised->className == "RuntimeException" && outcome.raised->message == plain.raised->message;
    return (which.source->name == "REALBuildString" || which.source->name == "REALSetPropValueString") &&
           outcome.raised->message.empty();
}

/// Whether a call with a fault ends as the same call without it, or in the documented failure; if not, what is wrong.
std::string Judgement(const Case &which, const Outcome &plain, const std::vector<Outcome> &steps,
                      const Outcome &outcome) {
    const Routine &routine = *which.routine;
    if (outcome.seen.size() != plain.seen.size() || outcome.changes.size() != plain.changes.size())
        return "other things can be seen";
    bool succeeds = true;
    bool fails = !plain.seen.empty();
    std::string difference;
    for (std::size_t i = 0; i < plain.seen.size(); ++i) {
        const std::string here = Difference(plain.seen[i], outcome.seen[i]);
        const char *answer = AnswerOfFailure(routine, plain.seen[i].what);
        succeeds = succeeds && here.empty();
        fails = fails && (!answer || outcome.seen[i].value == answer);
        difference = difference.empty() ? here : difference;
    }
    if (!succeeds && !fails)
        return difference + " as without the fault, and is not that of a failure";
    const bool isApart = Documented(routine, Special::ChangesApart, kReceiver);
    const bool mayStay = Documented(routine, Special::MayChange, "dest") || isApart || routine.assigns ||
                         routine.declaration.result == standin::Type::Nothing;
    for (std::size_t i = 0; i < plain.changes.size(); ++i) {
        const Seen &before = outcome.changes[i].first;
        const Seen &after = outcome.changes[i].second;
        const std::string here = Difference(plain.changes[i].second, after);
        const char *answer = AnswerOfFailure(routine, after.what);
        // A block that was made in place of nil stays, whatever happens then.
        const bool isBlank = before.value == "nil" && after.value.find_first_not_of('\0') == std::string::npos;
        // The result tells of the last step: when it is that of a failure, this one is not all that was done.
        const bool isStep = std::any_of(steps.begin(), steps.end(), [&, at = i](const Outcome &step) {
            return (succeeds || after.what != kReceiver || &step != &steps.front()) &&
                   Difference(step.changes[at].second, after).empty();
        });
        const bool isLeft = answer ? after.value == answer : isBlank || Difference(before, after).empty();
        if (!(here.empty() && (succeeds || isApart)) && !(isLeft && (fails || mayStay)) && !isStep)
            return fmt::format("{} as without the fault", here.empty() ? after.what + " changes" : here);
    }
    return "";
}

constexpr int kMostHeapRequests = 6; ///< of a routine

bool Reaches(const Case &which, const Outcome &plain) {
    const auto source = static_cast<std::size_t>(which.source - Sources().data());
    if (which.fault == Fault::Fails)
        return plain.calls[source] >= which.faultyCall;
    return std::max(plain.calls[source], plain.requests[source]) > 0;
}

/// The outcomes of a call in steps with one step left out, which is what a fault may leave.
std::vector<Outcome> StepsOf(Judge &judge, const Case &which) {
    std::vector<Outcome> steps;
    for (const standin::Parameter &parameter : which.routine->declaration.parameters)
        if (which.flaw.what == Flaw::None && Documented(*which.routine, Special::Steps, parameter.name)) {
            Case half = which;
            half.flaw = {Flaw::Zero, parameter.name};
            steps.push_back(judge.Try(half));
        }
    return steps;
}

void JudgeFault(Judge &judge, const Case &which, const Outcome &plain, const std::vector<Outcome> &steps) {
    const Outcome outcome = judge.Try(which);
    for (const standin::Breach &breach : outcome.breaches)
        judge.Found(which, breach.sentence);
    if (!outcome.isThere) { // a routine that could not be registered cannot be called
        if (!which.source->name.starts_with("PluginRegister"))
            judge.Found(which, "is not there");
        return;
    }
    const std::string problem = MayDiffer(which) ? "" : Judgement(which, plain, steps, outcome);
    if (!problem.empty())
        judge.Found(which, problem);
    if (!MayRaise(which, plain, outcome))
        judge.Found(which, fmt::format("raises {}, not {}", Name(outcome.raised), Name(plain.raised)));
}

/// Tries all calls with each fault of those kinds and sources.
void CheckEachFault(Judge &judge, Source::Of of, const std::vector<Fault::What> &kinds) {
    const bool isQuick = judge.extent() == Extent::Quick;
    const bool isFull = judge.extent() == Extent::Full;
    const int part = isQuick || judge.extent() == Extent::Quarter ? 4 : 1;
    int possible = 0;
    int tried = 0;
    const bool hasFlaws = !isQuick || kinds.front() == Fault::Missing;
    judge.ForEach({.typical = isQuick, .swept = true, .everyFlaw = hasFlaws}, [&](Case which) {
        const Outcome plain = judge.Try(which);
        if (!plain.isThere || plain.calls.back() > kMostHeapRequests)
            return judge.Found(which, plain.isThere ? "asks the heap too often" : "is not there");
        const std::vector<Outcome> steps = StepsOf(judge, which);
        const int every = (isFull || which.place->host->isTelling ? 1 : 3) * part;
        for (const Source &source : Sources())
            for (const Fault::What what : source.of == of ? kinds : std::vector<Fault::What>{}) {
                const int most = what == Fault::WideFalse ? (source.yieldsBoolean ? 1 : 0)
                                 : what != Fault::Fails   ? 1
                                 : of == Source::Heap     ? kMostHeapRequests
                                                          : 4;
                which.source = &source;
                which.fault = what;
                for (which.faultyCall = 1; which.faultyCall <= most; ++which.faultyCall)
                    if ((isFull || Reaches(which, plain)) && ++possible % every == 0) {
                        JudgeFault(judge, which, plain, steps);
                        ++tried;
                    }
            }
    });
    judge.report().Remark(fmt::format("{} faults", tried));
}

template <Source::Of kOf, Fault::What... kKinds> void CheckFaults(Judge &judge) {
    CheckEachFault(judge, kOf, {kKinds...});
}

// Equal results.

void CheckLayouts(Judge &judge) {
    std::map<std::string, Outcome> first; // the first place's
    judge.ForEach({.everyRound = true}, [&](const Case &which) {
        if (!which.place->isOrdinary || Documented(*which.routine, Special::YieldsAlpha, kResult))
            return;
        Outcome outcome = judge.Try(which);
        const auto [found, isNew] =
            first.emplace(fmt::format("{} {}", which.routine->Describe(), which.round), outcome);
        if (const std::string difference = Difference(found->second, outcome); !difference.empty())
            judge.Found(which, fmt::format("{}, as in {}", difference, Places()[0].storage->name));
    });
}

void CheckLevels(Judge &judge) {
    std::string tried;
    constexpr const char *kLevels[] = {"baseline", "AVX2", "AVX-512"};
    const std::vector<int> levels = LevelsOf(judge);
    for (const int level : levels)
        if (level >= 0)
            tried += fmt::format("{}{}", tried.empty() ? "" : ", ", kLevels[level]);
    judge.report().Remark(tried.empty() ? "not tried: the file's symbols were stripped" : tried);
    if (tried.empty())
        return;
    judge.ForEach({.everyRound = true}, [&](Case which) {
        which.level = 0;
        const Outcome baseline = judge.Try(which);
        for (const int level : levels) {
            if (level == 0)
                continue;
            which.level = level;
            if (const std::string difference = Difference(baseline, judge.Try(which)); !difference.empty())
                judge.Found(which, difference + ", as at the baseline");
        }
    });
}

/// A call on a host that has had others.
std::optional<Called> CallOn(Host &host, Judge &judge, const Case &which) {
    judge.report().Doing(which.Describe());
    return Caller(host, Choices(1), *which.place->storage, which.round).Call(*which.routine);
}

/// Calls all routines on one host, then in the opposite order, so that each comes after others than before.
void CheckRepeats(Judge &judge) {
    const std::vector<Routine> &routines = judge.routines();
    for (const Place &place : Places()) {
        if (!place.isTypical)
            continue;
        Host host(DescribeHost(place, judge.module()));
        std::vector<std::optional<Called>> first;
        first.reserve(routines.size());
        for (const Routine &routine : routines)
            first.push_back(CallOn(host, judge, {.routine = &routine, .place = &place}));
        for (std::size_t i = routines.size(); i-- > 0;) {
            const Case which{.routine = &routines[i], .place = &place};
            if (const auto again = CallOn(host, judge, which); first[i] && again)
                if (const std::string difference = Difference(*first[i], *again); !difference.empty())
                    judge.Found(which, difference + ", as before other calls");
        }
        host.TakeBreaches();
    }
}

// Unloading.

void CheckReload(Judge &judge) {
    std::map<const Routine *, Called> first;
    const std::vector<Routine> &routines = judge.routines();
    if (standin::ModuleFile::IsLoaded(judge.module()))
        return judge.report().Found("stays in memory when it is unloaded");
    std::vector<std::string> log;
    // What it learned of one kind of host must not be left when it is loaded for the other, or for the first again.
    const Place &desktop = Places()[0];
    const Place &console = *std::find_if(Places().begin(), Places().end(), [](const Place &place) {
        return place.host->application == standin::Application::Console;
    });
    for (const Place *place : {&desktop, &console, &desktop}) {
        {
            judge.report().Doing(fmt::format("starting; {}", place->host->name));
            HostDescription description = DescribeHost(*place, judge.module());
            description.keepsModule = false;
            Host host(description);
            host.TakeBreaches();
            if (!log.empty() && log != host.StartUpLog())
                judge.report().Found("registers something else when it is loaded again");
            log = host.StartUpLog();
            for (const Routine &routine : routines) {
                const Case which{.routine = &routine, .place = place};
                const auto called = CallOn(host, judge, which);
                if (!called || Documented(routine, Special::YieldsAlpha, kResult))
                    continue;
                const std::string difference = Difference(first.try_emplace(&routine, *called).first->second, *called);
                if (!difference.empty())
                    judge.Found(which, "loaded again: " + difference);
            }
            judge.report().Doing("unloading");
            host.TakeBreaches();
        }
        if (standin::ModuleFile::IsLoaded(judge.module()))
            return judge.report().Found("stays in memory when it is unloaded");
    }
}

constexpr Rule kRules[] = {
    {"file", "exports REALPluginMain alone, needs no foreign library, runs nothing when it is loaded", CheckFile},
    {"start", "starts under any host: without a resolver, without entries, without any one of them", CheckStart},
    {"order", "announces version 9, asks for the host's, registers classes, extension, methods", CheckOrder},
    {"records", "registers records that are complete, fit together and stand there once", CheckRecords},
    {"entries", "calls the host's entries by their names, with living objects of their kind",
     CheckConcern<Concern::Calls, Guard::After>},
    {"references", "drops every reference that it takes, hands one over with each result",
     CheckConcern<Concern::References, Guard::After>},
    {"locks", "gives back every pixel lock, and touches no pixel without one",
     CheckConcern<Concern::Locks, Guard::After>},
    {"memory", "touches no byte outside of what it is lent",
     CheckConcern<Concern::Memory, Guard::After, Guard::Before>},
    {"inputs", "changes no picture, block or string that it is to read", CheckConcern<Concern::Inputs, Guard::After>},
    {"arguments", "keeps all of that whatever a script passes", CheckArguments},
    {"alignment", "yields the same whatever the stack and instance data are aligned to", CheckAlignment},
    {"failures", "answers what cannot be done with nil, false, 0 or -1, and raises for nil alone", CheckFailures},
    {"missing-entries", "answers likewise, and leaves nothing behind, when the host lacks an entry",
     CheckFaults<Source::Entry, Fault::Missing>},
    {"late-entries", "does so when an entry is there from the second request on",
     CheckFaults<Source::Entry, Fault::Late>},
    {"failing-entries", "does so when an entry fails", CheckFaults<Source::Entry, Fault::Fails>},
    {"wide-booleans", "does so when an entry's false has bits that do not count",
     CheckFaults<Source::Entry, Fault::WideFalse>},
    {"heap", "does so when it is refused memory", CheckFaults<Source::Heap, Fault::Fails>},
    {"platform", "does so when a function of the platform is missing or fails",
     CheckFaults<Source::Platform, Fault::Missing, Fault::Fails>},
    {"layouts", "yields the same colors in every pixel layout", CheckLayouts},
    {"levels", "yields the same bits at every instruction-set level", CheckLevels},
    {"repeats", "yields the same whatever was called before", CheckRepeats},
    {"reload", "goes from memory when it is unloaded, and starts afresh when it is loaded again", CheckReload},
};

} // namespace

Judge::Judge(std::string module, Extent extent, Report &report)
    : module_(std::move(module)), extent_(extent), report_(report) {}

const std::vector<Routine> &Judge::routines() {
    if (routines_.empty()) {
        report_.Doing("starting");
        HostDescription description = DescribeHost(Places()[0], module_);
        description.keepsModule = false;
        Host host(description);
        host.TakeBreaches();
        routines_ = RoutinesOf(host);
        if (routines_.empty())
            report_.Found("registers nothing that could be called");
    }
    return routines_;
}

void Judge::ForEach(const Calls &calls, const std::function<void(const Case &)> &visit) {
    for (const Place &place : Places()) {
        const bool isTelling = place.isTypical || place.host == Places()[0].host;
        if ((calls.typical && !place.isTypical) || (calls.swept && !place.storage->isSwept) ||
            (extent_ != Extent::Full && !calls.swept && !isTelling))
            continue;
        const bool isWhole = extent_ != Extent::Quick || place.isTypical;
        const bool hasFlaws = calls.everyFlaw && isWhole && (!calls.swept || place.storage - Places()[0].storage < 2);
        for (const Routine &routine : routines()) {
            if (routine.declaration.text.find(place.storage->needs) == std::string::npos)
                continue;
            const Case ordinary{.routine = &routine, .place = &place};
            for (int round = 0; round < kRounds; ++round)
                if (Case which = ordinary; round == which.round || (calls.everyRound && isWhole)) {
                    which.round = round;
                    visit(which);
                }
            for (const Flaw &flaw : routine.flaws)
                if (Case which = ordinary; hasFlaws) {
                    which.flaw = flaw;
                    visit(which);
                }
        }
    }
}

Outcome Judge::Try(const Case &which) {
    report_.Doing(which.Describe());
    return conformance::Try(which, module_);
}

void Judge::Found(const Case &which, const std::string &sentence) {
    const std::string &text = which.routine->declaration.text; // which the host's sentences end with, too
    const std::size_t end = sentence.ends_with("; in " + text) ? sentence.size() - text.size() - 5 : sentence.size();
    report_.FoundOnce(which.routine->Describe(), fmt::format("{}: {}", which.Describe(), sentence.substr(0, end)));
}

std::span<const Rule> Rules() { return kRules; }

Account TryRule(const Rule &rule, const std::string &module, Extent extent, const Limits &limits) {
    return RunIsolated(
        [&](Report &report) {
            Judge judge(module, extent, report);
            rule.run(judge);
        },
        limits);
}

} // namespace conformance
