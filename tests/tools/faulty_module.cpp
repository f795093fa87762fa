#include "host/handles.h"
#include "host/records.h"
#include "platform/CoreGraphics.h"
#include "standin/module_file.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>

/// The real module with one fault, which the environment variable KVT_FAULT names: what passes between it and its host
/// goes through here. Whatever the fault, the file itself is none that a host should get: it exports a variable, runs
/// an initialiser and needs the C++ run-time.

extern "C" {
int gForcedLevel = -1; ///< as the real module has them; that one's are never touched
int gActiveLevel = -1;
[[gnu::visibility("default")]] int KVTExported = 1;
}

namespace {

using Resolver = void *(*)(const char *);
using Picture = REALpictureStruct *;

Resolver gHost;
std::optional<standin::ModuleFile> gReal;
std::string gFault = std::getenv("KVT_FAULT") ? std::getenv("KVT_FAULT") : "";
REALclassDefinition *gDeferred;
unsigned char *gLockedBytes; ///< of the bitmap that was locked last
std::size_t gLockedSize;
std::size_t gLockedRow; ///< bytes of its pixels in a row
std::uint32_t gLockedType;

bool Has(std::string_view fault) { return gFault == fault; }

template <class Function> Function *Entry(const char *name) { return reinterpret_cast<Function *>(gHost(name)); }

// Entries as the real module sees them.

void RegisterExtension(REALclassDefinition *extension);

void KeepReference(void *) {}
void KeepLock(Picture) {}

unsigned char Lock(Picture picture, REALpictureDescription *description, std::int32_t type) {
    const auto locked = Entry<unsigned char(Picture, REALpictureDescription *, std::int32_t)>(
        "REALLockPictureDescription")(picture, description, type);
    gLockedBytes = nullptr;
    if (!locked)
        return locked;
    gLockedType = description->type;
    if (description->type == 8 && description->data) {
        auto *context = static_cast<CGContextRef>(description->data);
        gLockedBytes = static_cast<unsigned char *>(CGBitmapContextGetData(context));
        gLockedSize = CGBitmapContextGetBytesPerRow(context) * CGBitmapContextGetHeight(context);
        gLockedRow = CGBitmapContextGetWidth(context) * 4;
    }
    if (Has("changes inputs") && gLockedBytes && gLockedSize > 0)
        gLockedBytes[0] ^= 1;
    return locked;
}

void Unlock(Picture picture) {
    if (Has("writes behind pixels") && gLockedBytes)
        gLockedBytes[gLockedSize] = 1;
    if (Has("writes between rows") && gLockedBytes && gLockedSize > gLockedRow)
        gLockedBytes[gLockedRow] ^= 1;
    Entry<void(Picture)>("unlockPictureDescription")(picture);
    if (Has("writes unlocked") && gLockedBytes && gLockedSize > 0)
        gLockedBytes[0] ^= 1;
    gLockedBytes = nullptr; // the picture can go from now on
}

void ClearCache(Picture picture) {
    Entry<void(Picture)>("REALPictureClearCache")(picture);
    Entry<void(Picture)>("REALLockString")(picture);
}

void RegisterMethod(REALmethodDefinition *method) {
    auto *original = Entry<void(REALmethodDefinition *)>("PluginRegisterMethod");
    if (Has("keeps its own flags"))
        method->flags |= 0x40000;
    original(method);
    if (Has("registers twice"))
        original(method);
}

void DeferExtension(REALclassDefinition *extension) { gDeferred = extension; }

struct Replacement {
    std::string_view fault; ///< empty: always
    std::string_view entry;
    void *function;
};
template <class Function> void *Address(Function *function) { return reinterpret_cast<void *>(function); }
const Replacement kReplacements[] = {
    {"keeps references", "REALUnlockObject", Address(KeepReference)},
    {"keeps locks", "unlockPictureDescription", Address(KeepLock)},
    {"takes pictures for strings", "REALPictureClearCache", Address(ClearCache)},
    {"registers late", "PluginRegisterClassExtension", Address(DeferExtension)},
    {"", "PluginRegisterClassExtension", Address(RegisterExtension)},
    {"", "PluginRegisterMethod", Address(RegisterMethod)},
    {"", "REALLockPictureDescription", Address(Lock)},
    {"", "unlockPictureDescription", Address(Unlock)},
};

void *Resolve(const char *name) {
    void *found = gHost(name);
    for (const Replacement &replacement : kReplacements)
        if (found && replacement.entry == name && (replacement.fault.empty() || Has(replacement.fault)))
            return replacement.function;
    return found;
}

// Methods in the place of real ones.

std::int32_t (*gCountColor)(Picture, std::uint32_t);
unsigned char (*gIsWhite)(Picture);

std::int32_t CountColor(Picture picture, std::uint32_t color) {
    const std::int32_t count = gCountColor(picture, color);
    if (Has("counts by layout") && count > 0)
        return count + static_cast<std::int32_t>(gLockedType);
    if (Has("counts by level") && count > 0 && gForcedLevel > 0)
        return count + gForcedLevel;
    return count;
}

#if defined(__i386__)
/// Answers false, and stores a vector on the stack as compilers do where they take it to be aligned.
[[gnu::naked]] unsigned char StoreOnStack(Picture) {
    asm("subl $28, %esp\n\tmovaps %xmm0, (%esp)\n\taddl $28, %esp\n\txorl %eax, %eax\n\tret");
}
#else
unsigned char StoreOnStack(Picture) { return 0; }
#endif

unsigned char IsWhite(Picture picture) {
    gActiveLevel = gForcedLevel;
    return Has("finds nil white") && !picture ? 1 : gIsWhite(picture);
}

void Drop(void *object) {
    if (auto *drop = Entry<void(void *)>("REALUnlockObject"))
        drop(object);
}

unsigned char HasMask(Picture picture) {
    if (Has("crashes"))
        std::abort();
    while (Has("hangs"))
        pause();
    if (Has("ends the process"))
        _exit(3);
    if (Has("raises for nil") && !picture) {
        void *exception = Entry<void *(const char *)>("PluginNewInstance")("NilObjectException");
        Entry<void(void *)>("RuntimeRaiseException")(exception);
        Drop(exception);
    }
    if (!picture)
        return 0;
    // Without "REALGetPictureMask" this is the fault.
    void *mask = Entry<void *(Picture, signed char)>("REALGetPictureMask")(picture, 0);
    if (mask)
        Drop(mask);
    return mask ? 1 : 0;
}

template <class Routine> void Replace(REALmethodDefinition &method, Routine *routine, Routine **original = nullptr) {
    if (original)
        *original = reinterpret_cast<Routine *>(method.function);
    method.function = reinterpret_cast<REALroutine>(routine);
}

void RegisterExtension(REALclassDefinition *extension) {
    for (std::int32_t i = 0; i < extension->methodCount; ++i) {
        REALmethodDefinition &method = extension->methods[i];
        const std::string_view declaration = method.declaration;
        if (declaration.starts_with("CountColorKVT("))
            Replace(method, CountColor, &gCountColor);
        else if (declaration == "isWhiteKVT as boolean")
            Replace(method, IsWhite, &gIsWhite);
        else if (declaration == "HasMaskKVT as boolean" && !gFault.empty())
            Replace(method, HasMask);
        else if (declaration == "isBlackKVT as boolean" && Has("relies on the stack"))
            Replace(method, StoreOnStack);
        else if (declaration == "InvertKVT as picture" && Has("has no routine"))
            method.function = nullptr;
    }
    Entry<void(REALclassDefinition *)>("PluginRegisterClassExtension")(extension);
}

} // namespace

extern "C" [[gnu::visibility("default")]] void REALPluginMain(Resolver resolver) {
    if (Has("starts without looking"))
        reinterpret_cast<void (*)(int)>(resolver("RegisterPluginVersion"))(9);
    if (!resolver)
        return;
    gHost = resolver;
    if (Has("asks for coffee"))
        resolver("REALMakeCoffee");
    Dl_info self;
    if (dladdr(&KVTExported, &self) == 0)
        std::abort();
    const std::string path = self.dli_fname;
    const std::string real = path.substr(0, path.rfind('/') + 1) + "kvtpicture.so";
    gReal.emplace(real);
    // The host watches the heap of the file that it loaded, so the real module's requests go through here as well.
    gReal->Redirect("malloc", reinterpret_cast<void *>(+[](std::size_t size) { return std::malloc(size); }));
    gReal->Redirect("calloc", reinterpret_cast<void *>(
                                  +[](std::size_t count, std::size_t size) { return std::calloc(count, size); }));
    gReal->Redirect("free", reinterpret_cast<void *>(+[](void *memory) { std::free(memory); }));
    if (Has("stays in memory"))
        dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    const bool ranBefore = std::getenv("KVT_FAULT_RAN") != nullptr;
    setenv("KVT_FAULT_RAN", "1", 1);
    if (!ranBefore || !Has("remembers that it ran"))
        reinterpret_cast<void (*)(Resolver)>(gReal->Exported("REALPluginMain"))(Resolve);
    if (gDeferred)
        RegisterExtension(gDeferred);
}
