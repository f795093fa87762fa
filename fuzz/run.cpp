#include "fuzz/run.h"

#include "color/methods.h"
#include "inside/heap.h"
#include "kernels/level.h"
#include "plugin/interface.h"
#include "tone/methods.h"

#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <utility>

namespace fuzz {
namespace {

using standin::Application;
using standin::Fault;
using standin::HostDescription;

/// Dead objects stay known to their host, so it is replaced after so many runs.
constexpr int kRunsOfHost = 64;

bool gPoor;

HostDescription Describe(std::string_view name) {
    HostDescription description;
    if (name == "console" || name == "old-console")
        description.application = Application::Console;
    else if (name == "poor")
        description.faults = {{"newPicture"}, {"Picture.Constructor"}};
    else if (name != "desktop" && name != "old-desktop")
        Finding(fmt::format("no host is called \"{}\"", name));
    if (name.starts_with("old-"))
        description.version = 2011.0;
    if (name == "poor")
        description.guard = standin::Guard::Before;
    description.sealsPictures = true;
    description.newPicturePadding = 4;
    description.module =
        (std::filesystem::path(standin::ModuleBesideProgram()).parent_path() / "fuzz_entry.so").string();
    return description;
}

HostDescription gDescription;
std::unique_ptr<standin::Host> gLiving;

standin::Host &HostOfRun() {
    static int runs = 0;
    if (runs++ % kRunsOfHost == 0)
        gLiving.reset();
    if (!gLiving) {
        // Where the last host's instances kept their data; the records of a module loaded afresh do not say.
        kvt::gPictureSepiaClass.dataOffset = kvt::gPictureLut3DClass.dataOffset = 0;
        gLiving = std::make_unique<standin::Host>(gDescription);
    }
    return *gLiving;
}

} // namespace

void Finding(std::string_view what) {
    fmt::print(stderr, "finding: {}\n", what);
    std::abort();
}

Run::Run() : host(HostOfRun()), poor(gPoor) {}

Run::~Run() {
    host.Finish(); // whatever lives now was leaked by this run
    const std::vector<std::string> violations = host.TakeViolations();
    if (!violations.empty())
        Finding(fmt::format("{}", fmt::join(violations, "\n")));
}

void Run::AtLevel(int level) { kvt::gForcedLevel = level; }

standin::Result Run::CallGlobal(std::string_view method, std::vector<standin::Value> arguments) {
    const heap::Grants grants(poor ? 0 : -1);
    return host.CallGlobalWith(method, std::move(arguments));
}

} // namespace fuzz

/// Called once by the fuzzer.
extern "C" int LLVMFuzzerInitialize(int *count, char ***arguments) {
    constexpr std::string_view kOption = "--host=";
    std::string_view name = "desktop";
    for (int i = 1; i < *count; ++i)
        if (const std::string_view argument = (*arguments)[i]; argument.starts_with(kOption))
            name = argument.substr(kOption.size());
    fuzz::gPoor = name == "poor";
    fuzz::gDescription = fuzz::Describe(name);
    return 0;
}
