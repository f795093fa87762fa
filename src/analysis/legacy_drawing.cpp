#include "analysis/legacy_drawing.h"

namespace kvt {
namespace {

CFBundleRef ApplicationServicesFramework;

/// Gives a URL back at the end of its scope.
struct OwnedUrl {
    CFURLRef url;
    ~OwnedUrl() {
        if (url)
            CFRelease(url);
    }
};

} // namespace

void *FindInFramework(const char *name) {
    if (!ApplicationServicesFramework)
        ApplicationServicesFramework = LoadFrameworkBundle("ApplicationServices.framework");
    if (!ApplicationServicesFramework)
        return nullptr;
    return CFBundleGetFunctionPointerForName(ApplicationServicesFramework, __CFStringMakeConstantString(name));
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
