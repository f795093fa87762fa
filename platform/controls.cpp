#include "platform/controls.h"

#include "platform/internal.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <iterator>

namespace kvt::platform {
namespace {

constexpr const char *kNames[] = {
    "CGBitmapContextGetData",
    "CGBitmapContextGetBitsPerPixel",
    "CGBitmapContextGetWidth",
    "CGBitmapContextGetHeight",
    "CGBitmapContextGetBytesPerRow",
    "CGBitmapContextGetAlphaInfo",
    "FSFindFolder",
    "CFURLCreateFromFSRef",
    "CFURLCreateCopyAppendingPathComponent",
    "CFBundleCreate",
    "CFBundleLoadExecutable",
    "CFBundleGetFunctionPointerForName",
    "CFRelease",
    "__CFStringMakeConstantString",
    "GetGWorld",
    "SetGWorld",
    "NewRgn",
    "DisposeRgn",
    "ScrollRect",
};

FunctionState gStates[std::size(kNames)];
DrawingPort gDrawingPort;

FunctionState *Find(const char *function) {
    const auto same = [function](const char *name) { return std::strcmp(name, function) == 0; };
    const auto *found = std::find_if(std::begin(kNames), std::end(kNames), same);
    return found == std::end(kNames) ? nullptr : &gStates[found - kNames];
}

bool TakeFailure(FunctionState &state) {
    if (state.before > 0) {
        --state.before;
        return false;
    }
    if (state.failures > 0)
        return state.failures-- != 0;
    return state.failures == kAlways;
}

/// The library's file is asked for, not the place where it was built, so that a build can be moved.
std::string FolderBesideLibrary() {
    Dl_info library = {};
    char path[PATH_MAX];
    if (!dladdr(&gDrawingPort, &library) || !realpath(library.dli_fname, path))
        return "Frameworks";
    return std::string(path, std::strrchr(path, '/')) + "/Frameworks";
}

// Found out when the library is loaded: its file may be known by a path from the directory that was current then.
const std::string gFolderBesideLibrary = FolderBesideLibrary();
std::string gFolder = gFolderBesideLibrary;
std::string gFirstMisuse;

} // namespace

std::span<const char *const> FunctionNames() { return kNames; }

FunctionState &StateOf(const char *function) {
    FunctionState *state = Find(function);
    if (!state) {
        static_cast<void>(std::fprintf(stderr, "the platform has no function %s\n", function));
        std::abort();
    }
    return *state;
}

void Fail(const char *function, int times, int before) {
    StateOf(function).failures = times;
    StateOf(function).before = before;
}

int Calls(const char *function) { return StateOf(function).calls; }
void SetFrameworksFolder(const char *path) { gFolder = path ? path : gFolderBesideLibrary; }
DrawingPort &CurrentDrawingPort() { return gDrawingPort; }
const char *FirstMisuse() { return gFirstMisuse.empty() ? nullptr : gFirstMisuse.c_str(); }

LivingObjects CountLivingObjects() {
    return {LivingUrls(), LivingBundles(), static_cast<int>(LivingRegions().size()), ConstantStrings()};
}

void Reset() {
    std::fill(std::begin(gStates), std::end(gStates), FunctionState{});
    gFolder = gFolderBesideLibrary;
    gDrawingPort = {};
    gFirstMisuse.clear();
}

void CountCall(const char *function) { ++StateOf(function).calls; }

bool Works(FunctionState &function) {
    ++function.calls;
    return !TakeFailure(function);
}

bool CanBeFound(const char *function) {
    FunctionState *state = Find(function);
    return !state || !TakeFailure(*state);
}

void ReportMisuse(const std::string &sentence) {
    if (gFirstMisuse.empty())
        gFirstMisuse = sentence;
}

std::string FrameworksFolder() { return gFolder; }

std::set<RgnHandle> &LivingRegions() {
    static auto &regions = *new std::set<RgnHandle>;
    return regions;
}

} // namespace kvt::platform
