#include "analysis/legacy_drawing.h"

namespace kvt {
namespace {

CFBundleRef ApplicationServicesFramework;
decltype(&DisposeRgn) _DisposeRgn;
decltype(&SetGWorld) _SetGWorld;
decltype(&GetGWorld) _GetGWorld;
decltype(&ScrollRect) _ScrollRect;
decltype(&NewRgn) _NewRgn;

/// True once `slot` holds the framework's function of that name.
template <class Function> bool FoundInFramework(Function *&slot, const char *name) {
    if (slot)
        return true;
    if (!ApplicationServicesFramework)
        ApplicationServicesFramework = LoadFrameworkBundle("ApplicationServices.framework");
    if (!ApplicationServicesFramework)
        return false;
    slot = reinterpret_cast<Function *>(
        CFBundleGetFunctionPointerForName(ApplicationServicesFramework, __CFStringMakeConstantString(name)));
    return slot != nullptr;
}

/// Gives a URL back at the end of its scope.
struct OwnedUrl {
    CFURLRef url;
    ~OwnedUrl() {
        if (url)
            CFRelease(url);
    }
};

} // namespace

void GetGWorld(CGrafPtr *port, GDHandle *device) {
    if (FoundInFramework(_GetGWorld, "GetGWorld"))
        _GetGWorld(port, device);
}

void SetGWorld(CGrafPtr port, GDHandle device) {
    if (FoundInFramework(_SetGWorld, "SetGWorld"))
        _SetGWorld(port, device);
}

RgnHandle NewRgn() { return FoundInFramework(_NewRgn, "NewRgn") ? _NewRgn() : nullptr; }

void DisposeRgn(RgnHandle region) {
    if (FoundInFramework(_DisposeRgn, "DisposeRgn"))
        _DisposeRgn(region);
}

void ScrollRect(const Rect *rect, std::int16_t dh, std::int16_t dv, RgnHandle updateRegion) {
    if (FoundInFramework(_ScrollRect, "ScrollRect"))
        _ScrollRect(rect, dh, dv, updateRegion);
}

void SetRect(Rect *rect, std::int16_t left, std::int16_t top, std::int16_t right, std::int16_t bottom) {
    *rect = {.top = top, .left = left, .bottom = bottom, .right = right};
}

CFBundleRef LoadFrameworkBundle(std::int16_t domain, const char *name) {
    FSRef folder = {};
    if (FSFindFolder(domain, kFrameworksFolderType, 1, &folder) != 0)
        return nullptr;
    const OwnedUrl frameworks{CFURLCreateFromFSRef(nullptr, &folder)};
    if (!frameworks.url)
        return nullptr;
    const OwnedUrl location{
        CFURLCreateCopyAppendingPathComponent(nullptr, frameworks.url, __CFStringMakeConstantString(name), 0)};
    if (!location.url)
        return nullptr;
    CFBundleRef bundle = CFBundleCreate(nullptr, location.url);
    if (!bundle || CFBundleLoadExecutable(bundle))
        return bundle;
    CFRelease(bundle);
    return nullptr;
}

CFBundleRef LoadFrameworkBundle(const char *name) { return LoadFrameworkBundle(kOnAppropriateDisk, name); }

} // namespace kvt
