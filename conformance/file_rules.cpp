#include "conformance/rules.h"
#include "standin/elf_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <elf.h>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <set>

/// Rules that are about the file and what it registers; what its routines do is another matter.
namespace conformance {
namespace {

using standin::Fault;
using standin::Host;
using standin::HostDescription;
using standin::Type;

constexpr int kWidth = 8 * sizeof(void *);

bool IsRunTimeSymbol(std::string_view name) {
    constexpr std::string_view kStarts[] = {"_Z", "__cxa_", "__gxx", "_Unwind", "__dynamic_cast"};
    return name != "__cxa_finalize" && std::any_of(std::begin(kStarts), std::end(kStarts),
                                                   [&](std::string_view start) { return name.starts_with(start); });
}

bool IsPlainLibrary(std::string_view name) {
    return name == "libc.so.6" || name == "libm.so.6" || name == "libkvtplatform.so" || name.starts_with("ld-linux");
}

std::vector<std::string> gRequested;

void *ResolveNothing(const char *name) {
    gRequested.emplace_back(name);
    return nullptr;
}

constexpr std::array kStartUpEntries = {"RegisterPluginVersion", "REALGetRBVersion", "PluginRegisterClass",
                                        "PluginRegisterClassExtension", "PluginRegisterMethod"};

void StartWith(Judge &judge, void *(*resolver)(const char *), const std::string &what) {
    judge.report().Doing("starting with " + what);
    const standin::ModuleFile file(judge.module());
    void *start = file.Exported("REALPluginMain");
    if (!start)
        throw std::runtime_error("exports no REALPluginMain");
    reinterpret_cast<void (*)(void *(*)(const char *))>(start)(resolver);
}

/// Starts the module under that host, tells what the host finds, and has a look.
void StartUnder(
    Judge &judge, const HostDescription &description, const std::string &what,
    const std::function<void(const Host &)> &look = [](const Host &) {}) {
    judge.report().Doing("starting under " + what);
    Host host(description);
    for (const standin::Breach &breach : host.TakeBreaches())
        judge.report().Found(fmt::format("{}; under {}", breach.sentence, what));
    look(host);
}

/// How the lines of the host's log begin, in the order of the start.
constexpr std::array<std::string_view, 5> kSteps = {"RegisterPluginVersion ", "REALGetRBVersion", "class ",
                                                    "extension of ", "method "};

std::size_t StepOf(const std::string &line) {
    return static_cast<std::size_t>(
        std::find_if(kSteps.begin(), kSteps.end(), [&](std::string_view start) { return line.starts_with(start); }) -
        kSteps.begin());
}

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

/// `flags` are those that methods and properties may have on this host.
void CheckMethods(Report &report, std::uint32_t flags, const std::string &owner,
                  const std::vector<standin::RegisteredMethod> &methods) {
    std::set<std::string> known;
    for (const standin::RegisteredMethod &method : methods) {
        if (method.declaration.name.empty())
            continue; // the host told already
        const std::string name = owner + method.declaration.text;
        report.Expect(method.record.function, "{}: has no routine", name);
        report.Expect((method.record.flags & ~flags) == 0, "{}: has flags {:#x}, of which this host knows {:#x}", name,
                      method.record.flags, flags);
        report.Expect(known.insert(Signature(method.declaration)).second, "{}: is registered twice", name);
    }
}

void CheckProperty(Report &report, const std::string &name, const standin::RegisteredProperty &property,
                   std::uint32_t instanceSize, std::map<std::uint32_t, std::string> &fields) {
    const REALpropertyDefinition &record = property.record;
    const bool isStandard = property.UsesStandardAccess();
    report.Expect(record.getter && record.setter &&
                      isStandard == (reinterpret_cast<std::intptr_t>(record.setter) == -1),
                  "{}: has not two accessors of one kind", name);
    if (!isStandard)
        return report.Expect(property.type == Type::Double, "{}: accessors of its own have Doubles alone", name);
    const std::uint32_t size = property.type == Type::Picture ? sizeof(void *) : sizeof(std::int32_t);
    report.Expect(property.type == Type::Picture || property.type == Type::Integer,
                  "{}: no host reads a {} field itself", name, NameOf(property.type));
    report.Expect(record.param % size == 0 && record.param <= instanceSize && instanceSize - record.param >= size,
                  "{}: no field can lie at byte {} of {}", name, record.param, instanceSize);
    const auto [other, isNew] = fields.emplace(record.param, name);
    report.Expect(isNew, "{}: lies at byte {}, as {} does", name, record.param, other->second);
}

void CheckClass(Report &report, std::uint32_t flags, const standin::RegisteredClass &definition) {
    const REALclassDefinition &record = definition.record;
    const std::string &name = definition.name;
    const auto table = [&](const auto *records, std::int32_t count) {
        report.Expect(count >= 0 && (records == nullptr) == (count == 0), "{}: a table of {} records has {} address",
                      name, count, records ? "an" : "no");
    };
    report.Expect(!name.empty(), "a class has no name");
    report.Expect(record.instanceSize % 16 == 0, "{}: its instance size, {}, is no multiple of 16", name,
                  record.instanceSize);
    report.Expect((record.flags & ~kHostFlags) == 0, "{}: has flags {:#x}, of which hosts know {:#x}", name,
                  record.flags, kHostFlags);
    table(record.properties, record.propertyCount);
    table(record.moreProperties, record.morePropertyCount);
    table(record.methods, record.methodCount);
    table(record.moreMethods, record.moreMethodCount);
    CheckMethods(report, flags, name + ".", definition.methods);
    std::set<std::string> names;
    std::map<std::uint32_t, std::string> fields;
    for (const standin::RegisteredProperty &property : definition.properties) {
        const std::string whole = name + "." + property.name;
        report.Expect(names.insert(property.name).second, "{}: is registered twice", whole);
        report.Expect((property.record.flags & ~flags) == 0, "{}: has flags {:#x}, of which this host knows {:#x}",
                      whole, property.record.flags, flags);
        CheckProperty(report, whole, property, record.instanceSize, fields);
    }
}

} // namespace

void CheckFile(Judge &judge) {
    Report &report = judge.report();
    report.Doing("reading the file");
    std::vector<unsigned char> bytes = standin::ReadFile(judge.module());
    if (const int width = standin::ElfFile::WidthOf(bytes).value_or(0); width != kWidth)
        return report.Found(
            fmt::format("the file is for hosts of {} bits, this program has {}: use the kvt beside it", width, kWidth));
    const standin::ElfFile file(std::move(bytes));
    bool starts = false;
    file.ForEachSymbol(standin::ElfFile::Dynamic, [&](const standin::ElfFile::Symbol &symbol) {
        const std::string_view name = symbol.name;
        starts = starts || (symbol.defined && name == "REALPluginMain");
        report.Expect(!symbol.defined || name == "REALPluginMain", "exports {}", name);
        report.Expect(symbol.defined || !IsRunTimeSymbol(name), "needs {} of the C++ run-time", name);
    });
    report.Expect(starts, "exports no REALPluginMain");
    for (const std::string &library : file.Texts(DT_NEEDED))
        report.Expect(IsPlainLibrary(library), "needs the library {}", library);
    const std::vector<std::string> paths = file.Texts(DT_RUNPATH);
    report.Expect((paths.empty() ? file.Texts(DT_RPATH) : paths) == std::vector<std::string>{"$ORIGIN"},
                  "does not look for the platform's library beside itself: its run path is not $ORIGIN");
    report.Expect(!file.Number(DT_BIND_NOW) && (file.Number(DT_FLAGS).value_or(0) & DF_BIND_NOW) == 0 &&
                      (file.Number(DT_FLAGS_1).value_or(0) & DF_1_NOW) == 0,
                  "has all platform functions bound when it is loaded, not when they are called");
    const std::uintptr_t initialisers = file.Number(DT_INIT_ARRAYSZ).value_or(0) / sizeof(void *);
    report.Expect(initialisers <= 1, "runs {} initialiser(s) of its own when it is loaded", // one is the C run-time's
                  initialisers - 1);
}

void CheckStart(Judge &judge) {
    StartWith(judge, nullptr, "a null resolver");
    StartWith(judge, ResolveNothing, "a resolver that has no entry");
    const std::vector<standin::EntryName> names = standin::EntryNames();
    for (const std::string &requested : gRequested)
        judge.report().Expect(
            std::any_of(names.begin(), names.end(), [&](const auto &entry) { return entry.name == requested; }),
            "asks for \"{}\" at its start, which no host has", requested);
    for (const char *entry : kStartUpEntries)
        for (const Fault::What what : {Fault::Missing, Fault::Late, Fault::Fails}) {
            constexpr const char *kFaults[] = {"without", "that is late with", "that fails in"};
            HostDescription description = DescribeHost(Places()[0], judge.module());
            description.faults = {{entry, what, 1}};
            StartUnder(judge, description, fmt::format("a host {} {}", kFaults[what], entry));
        }
}

void CheckOrder(Judge &judge) {
    Report &report = judge.report();
    std::vector<std::string> log;
    StartUnder(judge, DescribeHost(Places()[0], judge.module()), "the ordinary host",
               [&](const Host &host) { log = host.StartUpLog(); });
    for (std::size_t i = 1; i < log.size(); ++i)
        report.Expect(StepOf(log[i]) >= StepOf(log[i - 1]), "\"{}\" comes after \"{}\"", log[i], log[i - 1]);
    const auto count = [&](std::string_view start) {
        return std::count_if(log.begin(), log.end(), [&](const std::string &line) { return line.starts_with(start); });
    };
    report.Expect(count("RegisterPluginVersion 9") == 1 && count(kSteps[0]) == 1,
                  "does not announce interface version 9, once");
    report.Expect(count(kSteps[1]) == 1, "asks for the host's version {} times, not once", count(kSteps[1]));
    report.Expect(count("extension of Picture") == 1 && count(kSteps[3]) == 1,
                  "does not register one extension, of Picture");
    for (const Routine &routine : judge.routines()) {
        const Case which{.routine = &routine, .place = &Places()[0]};
        const Outcome outcome = judge.Try(which);
        for (std::size_t i = 0; i < kStartUpEntries.size(); ++i) // which stand first among all sources
            if (outcome.calls[i] > 0)
                judge.Found(which, fmt::format("calls {} after the start", kStartUpEntries[i]));
    }
}

void CheckRecords(Judge &judge) {
    constexpr struct {
        const char *what;
        double version;
        std::uint32_t flags;
    } kVersions[] = {{"a host of today", 2019.03, kHostFlags}, {"a host before 2010.029", 2010.0, 0}};
    for (const auto &row : kVersions) {
        HostDescription description = DescribeHost(Places()[0], judge.module());
        description.version = row.version;
        StartUnder(judge, description, row.what, [&](const Host &host) {
            Report &report = judge.report();
            CheckMethods(report, row.flags, "", host.GlobalMethods());
            CheckClass(report, row.flags, host.PictureExtension());
            for (const auto &definition : host.Classes())
                CheckClass(report, row.flags, *definition);
            report.Expect(!host.GlobalMethods().empty() || !host.PictureMethods().empty(), "registers no method");
        });
    }
}

} // namespace conformance
