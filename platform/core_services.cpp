#include "platform/CoreServices.h"

#include "platform/internal.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <map>
#include <set>
#include <string>

using kvt::platform::ReportMisuse;
using kvt::platform::Works;

struct CFString {
    std::string text;
};

struct CFURL {
    std::string path;
};

struct CFBundle {
    std::string path;
    void *code = nullptr;
};

namespace {

constexpr std::int16_t kFileNotFound = -43;

// Never destroyed: a module may keep what it got until the process ends.
std::set<CFURLRef> &Urls() {
    static auto &urls = *new std::set<CFURLRef>;
    return urls;
}

std::set<CFBundleRef> &Bundles() {
    static auto &bundles = *new std::set<CFBundleRef>;
    return bundles;
}

std::map<std::string, CFString> &Strings() {
    static auto &strings = *new std::map<std::string, CFString>;
    return strings;
}

/// Whether the set holds the object; if not, the function was misused.
template <class Object> bool IsAlive(const std::set<Object> &living, Object object, const char *function) {
    if (living.count(object))
        return true;
    ReportMisuse(std::string(function) + " was given an object that is not alive");
    return false;
}

CFURLRef NewUrl(const std::string &path) { return *Urls().insert(new CFURL{path}).first; }

} // namespace

int kvt::platform::LivingUrls() { return static_cast<int>(Urls().size()); }
int kvt::platform::LivingBundles() { return static_cast<int>(Bundles().size()); }
int kvt::platform::ConstantStrings() { return static_cast<int>(Strings().size()); }

std::int16_t FSFindFolder(std::int16_t domain, std::uint32_t folderType, unsigned char, FSRef *found) {
    if (!Works(__func__) || domain != kOnAppropriateDisk || folderType != kFrameworksFolderType)
        return kFileNotFound;
    if (!std::filesystem::is_directory(kvt::platform::FrameworksFolder()))
        return kFileNotFound;
    *found = {};
    std::memcpy(found->opaque, &folderType, sizeof folderType);
    return 0;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef *folder) {
    if (!Works(__func__))
        return nullptr;
    if (std::memcmp(folder->opaque, &kFrameworksFolderType, sizeof kFrameworksFolderType) != 0) {
        ReportMisuse("CFURLCreateFromFSRef was given a folder that was not found");
        return nullptr;
    }
    return NewUrl(kvt::platform::FrameworksFolder());
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component, unsigned char) {
    if (!Works(__func__) || !IsAlive(Urls(), url, __func__) || !component)
        return nullptr;
    return NewUrl(url->path + "/" + component->text);
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
    if (!Works(__func__) || !IsAlive(Urls(), url, __func__) || !std::filesystem::is_directory(url->path))
        return nullptr;
    return *Bundles().insert(new CFBundle{url->path}).first;
}

unsigned char CFBundleLoadExecutable(CFBundleRef bundle) {
    if (!Works(__func__) || !IsAlive(Bundles(), bundle, __func__))
        return 0;
    const std::filesystem::path folder = bundle->path;
    if (!bundle->code)
        bundle->code = dlopen((folder / folder.stem()).c_str(), RTLD_NOW | RTLD_LOCAL);
    return bundle->code != nullptr;
}

void *CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) {
    if (!Works(__func__) || !IsAlive(Bundles(), bundle, __func__))
        return nullptr;
    if (!bundle->code || !name || !kvt::platform::CanBeFound(name->text.c_str()))
        return nullptr;
    return dlsym(bundle->code, name->text.c_str());
}

void CFRelease(CFTypeRef object) {
    kvt::platform::CountCall(__func__);
    const auto isString = [object](const auto &entry) { return &entry.second == object; };
    if (const auto url = Urls().find(static_cast<CFURLRef>(object)); url != Urls().end()) {
        delete *url;
        Urls().erase(url);
    } else if (const auto bundle = Bundles().find(static_cast<CFBundleRef>(const_cast<void *>(object)));
               bundle != Bundles().end()) {
        if ((*bundle)->code)
            dlclose((*bundle)->code);
        delete *bundle;
        Bundles().erase(bundle);
    } else if (std::none_of(Strings().begin(), Strings().end(), isString)) {
        ReportMisuse("CFRelease was given an object that is not alive");
    }
}

CFStringRef __CFStringMakeConstantString(const char *text) {
    return Works(__func__) ? &Strings().try_emplace(text, CFString{text}).first->second : nullptr;
}
