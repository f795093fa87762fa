#include "tools/check/rules.h"

#include "standin/elf_file.h"
#include "standin/host.h"
#include "tools/check/routines.h"
#include "tools/files.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <elf.h>
#include <fmt/format.h>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace tools::check {
namespace {

using standin::Concern;
using standin::Fault;
using standin::Host;
using standin::HostDescription;
using standin::RegisteredClass;
using standin::RegisteredMethod;
using standin::RegisteredProperty;
using standin::Type;

constexpr int kWidth = 8 * sizeof(void *);

/// A host whose findings at the module's start and at its end are other rules' affair.
struct RunningHost : Host {
    explicit RunningHost(HostDescription description) : Host(std::move(description)) { TakeBreaches(); }
    ~RunningHost() { // NOLINT(bugprone-exception-escape)
        Finish();
        TakeBreaches();
    }
};

// The file.

bool IsRunTimeSymbol(std::string_view name) {
    constexpr std::string_view kStarts[] = {"_Z", "__cxa_", "__gxx", "_Unwind", "__dynamic_cast"};
    return name != "__cxa_finalize" && std::any_of(std::begin(kStarts), std::end(kStarts),
                                                   [&](std::string_view start) { return name.starts_with(start); });
}

bool IsPlainLibrary(std::string_view name) {
    return name == "libc.so.6" || name == "libm.so.6" || name == "libkvtplatform.so" || name.starts_with("ld-linux");
}

void CheckFile(const std::string &module, Report &report) {
    report.Doing("reading the file");
    Bytes bytes = ReadBytes(module);
    if (const int width = standin::ElfFile::WidthOf(bytes).value_or(0); width != kWidth)
        return report.Found(
            fmt::format("the file is for hosts of {} bits, this program has {}: use the kvt beside it", width, kWidth));
    const standin::ElfFile file(std::move(bytes));
    bool starts = false;
    file.ForEachSymbol(standin::ElfFile::Dynamic, [&](const standin::ElfFile::Symbol &symbol) {
        const std::string_view name = symbol.name;
        if (symbol.defined && name != "REALPluginMain")
            report.Found(fmt::format("exports {}", name));
        else if (symbol.defined)
            starts = true;
        else if (IsRunTimeSymbol(name))
            report.Found(fmt::format("needs {} of the C++ run-time", name));
    });
    if (!starts)
        report.Found("exports no REALPluginMain");
    for (const std::string &library : file.Texts(DT_NEEDED))
        if (!IsPlainLibrary(library))
            report.Found(fmt::format("needs the library {}", library));
    std::vector<std::string> paths = file.Texts(DT_RUNPATH);
    if (paths.empty())
        paths = file.Texts(DT_RPATH);
    if (paths != std::vector<std::string>{"$ORIGIN"})
        report.Found("does not look for the platform's library beside itself: its run path is not $ORIGIN");
    if (file.Number(DT_BIND_NOW) || (file.Number(DT_FLAGS).value_or(0) & DF_BIND_NOW) != 0 ||
        (file.Number(DT_FLAGS_1).value_or(0) & DF_1_NOW) != 0)
        report.Found("has all platform functions bound when it is loaded, not when they are called");
    if (const std::uintptr_t initialisers = file.OwnFunctionsRun(DT_INIT_ARRAYSZ); initialisers > 0)
        report.Found(fmt::format("runs {} initialiser(s) of its own when it is loaded", initialisers));
}

// The start.

std::vector<std::string> gRequested;

void *ResolveNothing(const char *name) {
    gRequested.emplace_back(name);
    return nullptr;
}

constexpr std::array kStartUpEntries = {"RegisterPluginVersion", "REALGetRBVersion", "PluginRegisterClass",
                                        "PluginRegisterClassExtension", "PluginRegisterMethod"};

void StartWith(const std::string &module, void *(*resolver)(const char *)) {
    const standin::ModuleFile file(module);
    void *start = file.Exported("REALPluginMain");
    if (!start)
        throw std::runtime_error("exports no REALPluginMain");
    reinterpret_cast<void (*)(void *(*)(const char *))>(start)(resolver);
}

void FindBreaches(Host &host, Report &report, const std::string &where) {
    for (const standin::Breach &breach : host.TakeBreaches())
        report.Found(fmt::format("{}; {}", breach.sentence, where));
}

void CheckStart(const std::string &module, Report &report) {
    report.Doing("starting with a null resolver");
    StartWith(module, nullptr);
    report.Doing("starting under a host without any entry");
    StartWith(module, ResolveNothing);
    const std::vector<standin::EntryName> names = standin::EntryNames();
    for (const std::string &requested : gRequested)
        if (std::none_of(names.begin(), names.end(), [&](const auto &entry) { return entry.name == requested; }))
            report.Found(fmt::format("asks for \"{}\" at its start, which no host has", requested));
    for (const char *entry : kStartUpEntries)
        for (const Fault::What what : {Fault::Missing, Fault::Late}) {
            const std::string step = fmt::format("starting under a host {} {}",
                                                 what == Fault::Missing ? "without" : "that is late with", entry);
            report.Doing(step);
            HostDescription description = DescribeHost(Places()[0], module);
            description.faults = {{entry, what}};
            Host host(description);
            FindBreaches(host, report, step);
        }
}

// The order.

/// The steps of the start in their order, by how the lines of the host's log begin.
constexpr std::array<std::string_view, 5> kSteps = {"RegisterPluginVersion ", "REALGetRBVersion", "class ",
                                                    "extension of ", "method "};

std::size_t StepOf(const std::string &line) {
    std::size_t step = 0;
    while (step < kSteps.size() && !line.starts_with(kSteps[step]))
        ++step;
    return step;
}

void CheckOrder(const std::string &module, Report &report) {
    report.Doing("starting");
    RunningHost host(DescribeHost(Places()[0], module));
    const std::vector<std::string> &log = host.StartUpLog();
    for (std::size_t i = 1; i < log.size(); ++i)
        if (StepOf(log[i]) < StepOf(log[i - 1]))
            report.Found(fmt::format("\"{}\" comes after \"{}\"", log[i], log[i - 1]));
    const auto count = [&](std::string_view start) {
        return std::count_if(log.begin(), log.end(), [&](const std::string &line) { return line.starts_with(start); });
    };
    if (count("RegisterPluginVersion 9") != 1 || count(kSteps[0]) != 1)
        report.Found("does not announce interface version 9, once");
    if (count(kSteps[1]) != 1)
        report.Found(fmt::format("asks for the host's version {} times, not once", count(kSteps[1])));
    if (count("extension of Picture") != 1 || count(kSteps[3]) != 1)
        report.Found("does not register one extension, of Picture");
    for (const Routine &routine : RoutinesOf(host)) {
        const Case which;
        report.Doing(Describe(routine, which, Places()[0]));
        Call(host, Places()[0], routine, which);
        for (const char *entry : kStartUpEntries)
            if (host.CallsOf(entry) > 0)
                report.FoundOnce(entry, fmt::format("calls {} after the start, in {}", entry, routine.Describe()));
    }
}

// The records.

constexpr std::uint32_t kHostFlags = 4 | 8;

/// Names and parameter types, which tell overloads apart.
std::string Signature(const standin::Declaration &declaration) {
    std::string signature = declaration.name;
    std::transform(signature.begin(), signature.end(), signature.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const standin::Parameter &parameter : declaration.parameters)
        signature += fmt::format(", {}{}", parameter.byref ? "byref " : "", NameOf(parameter.type));
    return signature;
}

/// What is wrong with the records that one host was given.
class RecordCheck {
  public:
    RecordCheck(Report &report, std::uint32_t flags) : report_(report), flags_(flags) {}

    void Methods(const std::string &owner, const std::vector<RegisteredMethod> &methods) {
        std::set<std::string> known;
        for (const RegisteredMethod &method : methods) {
            if (method.declaration.name.empty())
                continue; // the host told already
            const std::string name = owner + method.declaration.text;
            if (!method.record.function)
                report_.Found(fmt::format("{}: has no routine", name));
            Flags(name, method.record.flags, flags_);
            if (!known.insert(Signature(method.declaration)).second)
                report_.Found(fmt::format("{}: is registered twice", name));
        }
    }

    void Class(const RegisteredClass &definition) {
        const REALclassDefinition &record = definition.record;
        const std::string owner = definition.name + ".";
        if (definition.name.empty())
            report_.Found("a class has no name");
        if (record.instanceSize % 16 != 0)
            report_.Found(
                fmt::format("{}: its instance size, {}, is no multiple of 16", definition.name, record.instanceSize));
        Flags(definition.name, record.flags, kHostFlags);
        Table(definition.name, record.properties, record.propertyCount);
        Table(definition.name, record.moreProperties, record.morePropertyCount);
        Table(definition.name, record.methods, record.methodCount);
        Table(definition.name, record.moreMethods, record.moreMethodCount);
        Methods(owner, definition.methods);
        std::set<std::string> names;
        std::map<std::uint32_t, std::string> fields;
        for (const RegisteredProperty &property : definition.properties) {
            const std::string name = owner + property.name;
            if (!names.insert(property.name).second)
                report_.Found(fmt::format("{}: is registered twice", name));
            Flags(name, property.record.flags, flags_);
            Property(name, property, record.instanceSize, fields);
        }
    }

  private:
    void Flags(const std::string &name, std::uint32_t flags, std::uint32_t allowed) {
        if ((flags & ~allowed) != 0)
            report_.Found(fmt::format("{}: has flags {:#x}, of which this host knows {:#x}", name, flags, allowed));
    }

    template <class Record> void Table(const std::string &name, const Record *records, std::int32_t count) {
        if (count < 0 || (records == nullptr) != (count == 0))
            report_.Found(fmt::format("{}: a table of {} records has {} address", name, count, records ? "an" : "no"));
    }

    void Property(const std::string &name, const RegisteredProperty &property, std::uint32_t instanceSize,
                  std::map<std::uint32_t, std::string> &fields) {
        const REALpropertyDefinition &record = property.record;
        const auto isStandard = [](REALroutine accessor) { return reinterpret_cast<std::intptr_t>(accessor) == -1; };
        if (!record.getter || !record.setter || isStandard(record.getter) != isStandard(record.setter))
            return report_.Found(fmt::format("{}: has not two accessors of one kind", name));
        if (!isStandard(record.getter)) {
            if (property.type != Type::Double)
                report_.Found(fmt::format("{}: accessors of its own have Doubles alone", name));
            return;
        }
        const std::uint32_t size = property.type == Type::Picture ? sizeof(void *) : sizeof(std::int32_t);
        if (property.type != Type::Picture && property.type != Type::Integer)
            report_.Found(fmt::format("{}: no host reads a {} field itself", name, NameOf(property.type)));
        if (record.param % size != 0 || record.param > instanceSize || instanceSize - record.param < size)
            report_.Found(fmt::format("{}: no field can lie at byte {} of {}", name, record.param, instanceSize));
        if (const auto [other, isNew] = fields.emplace(record.param, name); !isNew)
            report_.Found(fmt::format("{}: lies at byte {}, as {} does", name, record.param, other->second));
    }

    Report &report_;
    std::uint32_t flags_; ///< that methods and properties may have on this host
};

void CheckRecords(const std::string &module, Report &report) {
    constexpr struct {
        const char *what;
        double version;
        std::uint32_t flags;
    } kHosts[] = {{"a host of today", 2019.03, kHostFlags}, {"a host before 2010.029", 2010.0, 0}};
    for (const auto &row : kHosts) {
        report.Doing(fmt::format("starting under {}", row.what));
        HostDescription description = DescribeHost(Places()[0], module);
        description.version = row.version;
        Host host(description);
        FindBreaches(host, report, row.what);
        RecordCheck check(report, row.flags);
        check.Methods("", host.GlobalMethods());
        check.Class(host.PictureExtension());
        for (const auto &definition : host.Classes())
            check.Class(*definition);
        if (RoutinesOf(host).empty())
            report.Found("registers no method");
    }
}

// What calls do.

enum Extent {
    Typical,   ///< ordinary arguments in the typical places
    Ordinary,  ///< ordinary arguments in all places
    WithFlaws, ///< and those with a flaw
};

/// Calls every routine to that extent.
void ForEveryCall(const std::string &module, Report &report, Extent extent,
                  const std::function<void(HostDescription &)> &change,
                  const std::function<void(Host &, const Place &, const Routine &, const Case &, Called &)> &visit) {
    for (const Place &place : Places()) {
        if (extent == Typical && !place.isTypical)
            continue;
        report.Doing(fmt::format("starting; {}", place.name));
        HostDescription description = DescribeHost(place, module);
        change(description);
        RunningHost host(description);
        const std::vector<Routine> routines = RoutinesOf(host);
        if (routines.empty())
            return report.Found("registers nothing that could be called");
        for (const Routine &routine : routines) {
            std::vector<Case> cases;
            for (std::size_t round = 0; round < kRounds; ++round)
                cases.push_back({round});
            for (const Flaw &flaw : extent == WithFlaws ? FlawsOf(*Find(host, routine), routine) : std::vector<Flaw>{})
                cases.push_back({1, flaw});
            for (const Case &which : cases) {
                report.Doing(Describe(routine, which, place));
                std::optional<Called> called = Call(host, place, routine, which);
                visit(host, place, routine, which, *called);
            }
        }
    }
}

/// What the host found, without the routine's name, which is said already.
std::string Sentence(const standin::Breach &breach, const Routine &routine) {
    const std::string ending = "; in " + routine.text;
    const std::string &sentence = breach.sentence;
    return sentence.ends_with(ending) ? sentence.substr(0, sentence.size() - ending.size()) : sentence;
}

/// The findings of the host that are about one concern.
void CheckConcern(const std::string &module, Report &report, Concern concern,
                  const std::function<void(HostDescription &)> &change) {
    ForEveryCall(module, report, WithFlaws, change,
                 [&](Host &host, const Place &place, const Routine &routine, const Case &which, Called &called) {
                     called = {}; // what it holds may die with a last word
                     for (const standin::Breach &breach : host.TakeBreaches())
                         if (breach.concern == concern)
                             report.FoundOnce(routine.Describe(), fmt::format("{}: {}", Describe(routine, which, place),
                                                                              Sentence(breach, routine)));
                 });
}

void CheckEntries(const std::string &module, Report &report) {
    CheckConcern(module, report, Concern::Calls, [](HostDescription &) {});
}
void CheckReferences(const std::string &module, Report &report) {
    CheckConcern(module, report, Concern::References, [](HostDescription &) {});
}
void CheckLocks(const std::string &module, Report &report) {
    CheckConcern(module, report, Concern::Locks, [](HostDescription &host) { host.sealsPictures = true; });
}
void CheckMemory(const std::string &module, Report &report) {
    for (const standin::Guard guard : {standin::Guard::After, standin::Guard::Before})
        CheckConcern(module, report, Concern::Memory, [&](HostDescription &host) { host.guard = guard; });
}
void CheckInputs(const std::string &module, Report &report) {
    CheckConcern(module, report, Concern::Inputs, [](HostDescription &) {});
}

void CheckStack(const std::string &module, Report &report) {
    if (kWidth != 32) {
        report.Doing("looking at the width");
        return report.Remark("not tried: hosts of 64 bits align it");
    }
    for (const int shift : {4, 8, 12})
        ForEveryCall(
            module, report, Typical, [&](HostDescription &host) { host.stackShift = shift; }, [](auto &&...) {});
}

// Failures.

/// Which nil raises an exception. All others are answered quietly.
constexpr struct {
    std::string_view method;
    std::string_view nil;
    const char *message;
} kRaised[] = {
    {"TransformColorsKVT", kReceiver, "picture is nil"},
    {"TransformColorsKVT", "red", "red memoryblock is nil"},
    {"TransformColorsKVT", "green", "green memoryblock is nil"},
    {"TransformColorsKVT", "blue", "blue memoryblock is nil"},
    {"ReplaceRedChannelKVT", "RedChannel", "The channel picture is nil."},
    {"ReplaceGreenChannelKVT", "GreenChannel", "The channel picture is nil."},
    {"ReplaceBlueChannelKVT", "BlueChannel", "The channel picture is nil."},
    {"RenderSamplesKVT", "Samples", "memoryblock is nil"},
};

/// Methods with another answer to what cannot be done than nil, false or 0.
constexpr struct {
    std::string_view method;
    std::string_view what; ///< the result, or a variable
    const char *answer;
} kAnswers[] = {
    {"ScrollHorizontalKVT", "the result", "true"},
    {"CountColorsKVT", "count", "-1"},
    {"FindPicture", "x", "0"},
    {"FindPicture", "y", "0"},
};

/// As Seen shows it; null when anything may be there.
const char *AnswerTo(const standin::Declaration &declaration, const Seen &seen, bool assigns) {
    for (const auto &row : kAnswers)
        if (row.method == declaration.name && row.what == seen.what)
            return row.answer;
    if (seen.what != "the result" || assigns)
        return nullptr;
    switch (declaration.result) {
    case Type::Boolean:
        return "false";
    case Type::Double:
        return "0 (bits 0)";
    case Type::Integer:
    case Type::UInt32:
    case Type::Color:
        return "0";
    default:
        return "nil";
    }
}

std::string Name(const std::optional<standin::RaisedException> &raised) {
    return raised ? fmt::format("{} \"{}\"", raised->className, raised->message) : "nothing";
}

void CheckFailures(const std::string &module, Report &report) {
    ForEveryCall(
        module, report, WithFlaws, [](HostDescription &) {},
        [&](Host &host, const Place &place, const Routine &routine, const Case &which, const Called &called) {
            if (place.form == standin::Form::GraphicsWorld)
                return; // some of these can be scrolled in spite of a flaw
            const auto found = [&](const std::string &sentence) {
                report.FoundOnce(routine.Describe() + which.flaw.of,
                                 fmt::format("{}: {}", Describe(routine, which, place), sentence));
            };
            const standin::Declaration &declaration = Find(host, routine)->declaration;
            std::optional<standin::RaisedException> raised;
            for (const auto &row : kRaised)
                if (which.flaw.what == Flaw::Nil && row.method == declaration.name && row.nil == which.flaw.of)
                    raised = {"NilObjectException", row.message};
            if (called.result.raised != raised)
                found(fmt::format("raises {}, not {}", Name(called.result.raised), Name(raised)));
            for (const Seen &seen : called.seen)
                if (const char *answer = AnswerTo(declaration, seen, routine.assigns);
                    answer && which.flaw.what != Flaw::None && seen.value != answer)
                    found(fmt::format("{} is {}, not {}", seen.what, seen.value, answer));
        });
}

// Hosts that lack something.

struct Attempt {
    std::vector<std::string_view> reached; ///< the entries that were asked for
    std::optional<standin::RaisedException> raised;
    std::vector<standin::Breach> breaches;
};

/// One call under a host of its own, which may lack an entry.
Attempt TryOnce(const std::string &module, const Place &place, const Routine &routine, const Case &which,
                std::vector<Fault> faults = {}) {
    HostDescription description = DescribeHost(place, module);
    description.faults = std::move(faults);
    RunningHost host(description);
    Attempt attempt;
    if (const std::optional<Called> called = Call(host, place, routine, which))
        attempt.raised = called->result.raised;
    host.Finish();
    attempt.breaches = host.TakeBreaches();
    for (const standin::EntryName &entry : standin::EntryNames())
        if (host.RequestsFor(entry.name) > 0)
            attempt.reached.push_back(entry.name);
    return attempt;
}

/// Every routine with ordinary arguments and with each nil.
std::vector<std::pair<Routine, Case>> CallsWithNils(const std::string &module, const Place &place) {
    constexpr std::size_t kRound = 1;
    const RunningHost host(DescribeHost(place, module));
    std::vector<std::pair<Routine, Case>> calls;
    for (const Routine &routine : RoutinesOf(host)) {
        calls.push_back({routine, {kRound, {}}});
        for (const Flaw &flaw : FlawsOf(*Find(host, routine), routine))
            if (flaw.what == Flaw::Nil)
                calls.push_back({routine, {kRound, flaw}});
    }
    return calls;
}

void CheckMissingEntries(const std::string &module, Report &report) {
    for (const Place &place : Places()) {
        if (!place.isTypical)
            continue;
        report.Doing(fmt::format("starting; {}", place.name));
        for (const auto &[routine, which] : CallsWithNils(module, place)) {
            const std::string call = Describe(routine, which, place);
            report.Doing(call);
            const Attempt whole = TryOnce(module, place, routine, which);
            for (const std::string_view entry : whole.reached) {
                const std::string step = fmt::format("{}; without {}", call, entry);
                report.Doing(step);
                const Attempt lacking = TryOnce(module, place, routine, which, {{std::string(entry)}});
                for (const standin::Breach &breach : lacking.breaches)
                    report.FoundOnce(routine.Describe(), fmt::format("{}: {}", step, Sentence(breach, routine)));
                if (lacking.raised && !whole.raised)
                    report.FoundOnce(routine.Describe(), fmt::format("{}: raises {}", step, Name(lacking.raised)));
            }
        }
    }
}

// Equal results.

/// What calls gave when they were first made.
class FirstResults {
  public:
    /// How a later call differs, in a sentence; empty when it does not, or is the first.
    std::string DifferenceFrom(const Routine &routine, const Case &which, const std::vector<Seen> &seen) {
        const std::string call = fmt::format("{}; round {}", routine.Describe(), which.round);
        const auto [first, isNew] = results_.emplace(call, seen);
        return isNew ? "" : Difference(first->second, seen);
    }

  private:
    std::map<std::string, std::vector<Seen>> results_;
};

/// Alpha, which layouts hold in their own ways, is what this one yields.
bool YieldsAlpha(const Routine &routine) { return routine.text.starts_with("EmbeddedMaskKVT") && !routine.assigns; }

void CheckLayouts(const std::string &module, Report &report) {
    FirstResults first;
    ForEveryCall(
        module, report, Ordinary, [](HostDescription &) {},
        [&](Host &, const Place &place, const Routine &routine, const Case &which, Called &called) {
            if (place.form == standin::Form::GraphicsWorld || YieldsAlpha(routine))
                return;
            const std::string difference = first.DifferenceFrom(routine, which, called.seen);
            if (!difference.empty())
                report.FoundOnce(routine.Describe(), fmt::format("{}: {}, as in {}", Describe(routine, which, place),
                                                                 difference, Places()[0].name));
        });
}

/// Calls every routine at one level in one place and compares with what is known already.
void CompareAtLevel(const std::string &module, Report &report, const Place &place, int level, const char *name,
                    FirstResults &first) {
    const std::string at = fmt::format("{}; {}", name, place.name);
    report.Doing(fmt::format("starting; {}", at));
    RunningHost host(DescribeHost(place, module));
    if (!host.ForceLevel(level))
        return;
    for (const Routine &routine : RoutinesOf(host))
        for (std::size_t round = 0; round < kRounds; ++round) {
            const Case which{round};
            const std::string call = fmt::format("{}; {}", Describe(routine, which, place), name);
            report.Doing(call);
            const std::optional<Called> called = Call(host, place, routine, which);
            const std::string difference = first.DifferenceFrom(routine, which, called->seen);
            if (!difference.empty())
                report.FoundOnce(routine.Describe(), fmt::format("{}: {}, as at the baseline", call, difference));
        }
}

void CheckLevels(const std::string &module, Report &report) {
    constexpr const char *kLevels[] = {"baseline", "AVX2", "AVX-512"};
    std::string tried;
    {
        report.Doing("forcing levels");
        RunningHost host(DescribeHost(Places()[0], module));
        for (int level = 0; level < 3; ++level)
            if (host.ForceLevel(level))
                tried += fmt::format("{}{}", tried.empty() ? "" : ", ", kLevels[level]);
    }
    report.Remark(tried.empty() ? "not tried: the file's symbols were stripped" : tried);
    if (tried.empty())
        return;
    for (const Place &place : Places()) {
        FirstResults first;
        for (int level = 0; level < 3; ++level)
            CompareAtLevel(module, report, place, level, kLevels[level], first);
    }
}

// Unloading.

void CheckReload(const std::string &module, Report &report) {
    FirstResults first;
    std::vector<std::string> log;
    // What it learned of one kind of host must not be left when it is loaded for the other, or for the first again.
    const Place &desktop = Places()[0];
    const Place &console = *std::find_if(Places().begin(), Places().end(), [](const Place &place) {
        return place.application == standin::Application::Console;
    });
    for (const Place &place : {desktop, console, desktop}) {
        {
            report.Doing(fmt::format("starting; {}", place.name));
            HostDescription description = DescribeHost(place, module);
            description.keepsModule = false;
            RunningHost host(description);
            if (!log.empty() && log != host.StartUpLog())
                report.Found("registers something else when it is loaded again");
            log = host.StartUpLog();
            for (const Routine &routine : RoutinesOf(host)) {
                const Case which;
                if (YieldsAlpha(routine))
                    continue;
                report.Doing(Describe(routine, which, place));
                const std::optional<Called> called = Call(host, place, routine, which);
                const std::string difference = first.DifferenceFrom(routine, which, called->seen);
                if (!difference.empty())
                    report.FoundOnce(routine.Describe(),
                                     fmt::format("{}, loaded again: {}", Describe(routine, which, place), difference));
            }
            report.Doing("unloading");
        }
        if (standin::ModuleFile::IsLoaded(module))
            return report.Found("stays in memory when it is unloaded");
    }
}

constexpr Rule kRules[] = {
    {"file", "exports REALPluginMain alone, needs no foreign library, runs nothing when it is loaded", CheckFile},
    {"start", "starts under any host: without a resolver, without entries, without any one of them", CheckStart},
    {"order", "announces version 9, asks for the host's, registers classes, extension, methods", CheckOrder},
    {"records", "registers records that are complete, fit together and stand there once", CheckRecords},
    {"entries", "calls the host's entries by their names, with living objects of their kind", CheckEntries},
    {"references", "drops every reference that it takes, hands one over with each result", CheckReferences},
    {"locks", "gives back every pixel lock, and touches no pixel without one", CheckLocks},
    {"memory", "touches no byte outside of what it is lent", CheckMemory},
    {"inputs", "changes no picture, block or string that it is to read", CheckInputs},
    {"stack", "can be called with a stack that is aligned to 4 bytes alone", CheckStack},
    {"failures", "answers what cannot be done with nil, false, 0 or -1, and raises for nil alone", CheckFailures},
    {"missing-entries", "leaves nothing behind and raises nothing when the host lacks an entry", CheckMissingEntries},
    {"layouts", "yields the same colors in every pixel layout", CheckLayouts},
    {"levels", "yields the same bits at every instruction-set level", CheckLevels},
    {"reload", "goes from memory when it is unloaded, and starts afresh when it is loaded again", CheckReload},
};

} // namespace

std::span<const Rule> Rules() { return kRules; }

} // namespace tools::check
