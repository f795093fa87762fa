#include "conformance/cases.h"

#include "platform/controls.h"

#include <elf.h>
#include <fmt/format.h>

namespace conformance {
namespace {

using standin::Application;
using standin::Concern;
using standin::Form;

constexpr HostKind kHosts[] = {
    {"a desktop host", Application::Desktop, 2019.03, true},
    {"a desktop host before 2012.0", Application::Desktop, 2011.0, true},
    {"a console host", Application::Console, 2019.03, true},
    {"a console host before 2012.0", Application::Console, 2011.0, false},
    {"a desktop host of unknown version", Application::Desktop, {}, false},
    {"a console host of unknown version", Application::Console, {}, false},
};

const Storage kStorages[] = {
    {.name = "pictures", .isSwept = true},
    {.name = "pictures with an alpha channel",
     .alphaChannel = true,
     .alphaInfo = 2,
     .newAlphaInfo = 2,
     .padding = 8,
     .isSwept = true},
    {.name = "graphics worlds", .form = Form::GraphicsWorld, .isSwept = true},
    {.name = "copies of console pictures",
     .form = Form::Console,
     .missing = {"pluginObjectType", "Graphics.DrawPicture"},
     .isSwept = true},
    {.name = "no copies of strings", .missing = {"PluginGetStringData"}, .needs = "as String", .isSwept = true},
    {.name = "premultiplied alpha last", .alphaInfo = 1, .newAlphaInfo = 2, .isBitmaps = true},
    {.name = "premultiplied alpha first", .alphaInfo = 2, .newAlphaInfo = 3, .padding = 4, .isBitmaps = true},
    {.name = "alpha last", .alphaInfo = 3, .newAlphaInfo = 4, .isBitmaps = true},
    {.name = "alpha first", .alphaInfo = 4, .newAlphaInfo = 5, .padding = 12, .isBitmaps = true},
    {.name = "last byte skipped", .alphaInfo = 5, .newAlphaInfo = 1, .isBitmaps = true},
    {.name = "an alpha channel, last", .alphaChannel = true, .alphaInfo = 1, .newAlphaInfo = 1, .isBitmaps = true},
};

void Disturb(const Case &which, standin::HostDescription &description) {
    namespace platform = kvt::platform;
    if (!which.source)
        return;
    const std::string &name = which.source->name;
    if (which.source->of == Source::Entry)
        description.faults.push_back({name, which.fault, which.faultyCall});
    else if (which.source->of == Source::Heap)
        description.refusedHeapRequest = which.faultyCall;
    else if (which.fault == standin::Fault::Missing)
        platform::Fail(name.c_str());
    else
        platform::Fail(name.c_str(), 1, which.faultyCall - 1);
}

/// One call, and the end of its host.
Outcome CallOnce(const Case &which, standin::HostDescription description) {
    Outcome outcome;
    standin::Host host(std::move(description));
    host.TakeBreaches();
    if (which.level >= 0 && !host.ForceLevel(which.level))
        outcome.breaches.push_back({Concern::Calls, fmt::format("level {} cannot be had", which.level)});
    try {
        Choices choices(static_cast<std::uint64_t>(which.round));
        if (std::optional<Called> called =
                Caller(host, choices, *which.place->storage, which.round).Call(*which.routine, which.flaw)) {
            static_cast<Called &>(outcome) = std::move(*called);
            outcome.isThere = true;
        }
    } catch (const std::exception &problem) {
        outcome.problem = problem.what();
    }
    host.Finish();
    for (standin::Breach &breach : host.TakeBreaches())
        outcome.breaches.push_back(std::move(breach));
    for (const Source &source : Sources()) {
        const bool isEntry = source.of == Source::Entry;
        outcome.requests.push_back(isEntry ? host.RequestsFor(source.name) : 0);
        outcome.calls.push_back(isEntry                         ? host.CallsOf(source.name)
                                : source.of == Source::Platform ? kvt::platform::Calls(source.name.c_str())
                                                                : host.HeapRequests());
    }
    return outcome;
}

std::string Describe(const Flaw &flaw) {
    constexpr const char *kFlaws[] = {"",
                                      "is nil",
                                      "cannot be locked",
                                      "is no picture that can be read",
                                      "is nowhere",
                                      "all defaults are left out",
                                      "is 0"};
    return flaw.what == Flaw::None ? ""
                                   : fmt::format("; {}{}{}", flaw.of, flaw.of.empty() ? "" : " ", kFlaws[flaw.what]);
}

std::string DescribeFault(const Case &which) {
    if (!which.source)
        return "";
    switch (which.fault) {
    case standin::Fault::Missing:
        return fmt::format("; without {}", which.source->name);
    case standin::Fault::Late:
        return fmt::format("; {} is late", which.source->name);
    case standin::Fault::WideFalse:
        return fmt::format("; {} yields a wide false", which.source->name);
    default:
        return fmt::format("; {} fails on call {}", which.source->name, which.faultyCall);
    }
}

} // namespace

std::span<const Place> Places() {
    static const std::vector<Place> places = [] {
        std::vector<Place> all;
        for (const HostKind &host : kHosts)
            for (const Storage &storage : kStorages)
                if (!storage.isBitmaps || host.application == Application::Desktop)
                    all.push_back({&host, &storage, host.isTelling && (&storage - kStorages) < 2,
                                   storage.form == Form::OfHost && storage.missing.empty() &&
                                       (!storage.alphaChannel || host.version.value_or(0) >= 2012.0)});
        return all;
    }();
    return places;
}

const std::vector<Source> &Sources() {
    static const std::vector<Source> sources = [] {
        std::vector<Source> all;
        for (const standin::EntryName &entry : standin::EntryNames())
            all.push_back({Source::Entry, std::string(entry.name), entry.yieldsBoolean});
        for (const char *function : kvt::platform::FunctionNames())
            all.push_back({Source::Platform, function});
        all.push_back({Source::Heap, "the heap"});
        return all;
    }();
    return sources;
}

std::string Case::Describe() const {
    const bool isAligned = stackShift == 0 && dataOffset == Case().dataOffset;
    return fmt::format("{}; {}{}; {}; {}{}{}{}", routine->Describe(), DescribeRound(round), conformance::Describe(flaw),
                       place->storage->name, place->host->name, DescribeFault(*this),
                       level < 0 ? "" : fmt::format("; level {}", level),
                       isAligned ? "" : fmt::format("; the stack {} bytes off, data at {}", stackShift, dataOffset));
}

standin::HostDescription DescribeHost(const Place &place, const std::string &module) {
    const Storage &storage = *place.storage;
    standin::HostDescription description{.application = place.host->application,
                                         .version = place.host->version,
                                         .newPictureAlphaInfo = storage.newAlphaInfo,
                                         .newAlphaPictureAlphaInfo = storage.newAlphaInfo % 2 == 1 ? 1u : 2u,
                                         .newPicturePadding = storage.padding,
                                         .freshWord = 0x5A5A5A5A,
                                         .module = module,
                                         .keepsModule = true};
    for (const char *entry : storage.missing)
        description.faults.push_back({entry});
    return description;
}

Outcome Try(const Case &which, const std::string &module) {
    namespace platform = kvt::platform;
    platform::Reset();
    standin::HostDescription description = DescribeHost(*which.place, module);
    description.guard = which.guard;
    description.sealsPictures = which.sealsPictures;
    description.stackShift = which.stackShift;
    description.dataOffset = which.dataOffset;
    Disturb(which, description);
    GraphicsWorld world = {};
    platform::CurrentDrawingPort().port = &world;
    const platform::LivingObjects before = platform::CountLivingObjects();
    Outcome outcome = CallOnce(which, std::move(description));
    const platform::LivingObjects after = platform::CountLivingObjects();
    const auto find = [&](bool isBreach, std::string sentence) {
        if (isBreach)
            outcome.breaches.push_back({Concern::References, std::move(sentence)});
    };
    const char *misuse = platform::FirstMisuse();
    find(misuse, misuse ? misuse : "");
    find(after.urls != before.urls, fmt::format("{} URL(s) of the platform were left", after.urls - before.urls));
    find(after.bundles > before.bundles + 1, "more than one bundle of the platform was left");
    // What a function gives back that cannot be had stays, and a port that could not be asked for comes back as none.
    const bool isPlatforms = which.source && which.source->of == Source::Platform;
    find(after.regions != before.regions && !isPlatforms, "a region of the platform was left");
    find(platform::CurrentDrawingPort().port != &world && !isPlatforms,
         "the platform's drawing port did not come back");
    return outcome;
}

} // namespace conformance
