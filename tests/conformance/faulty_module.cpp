#include "host/handles.h"
#include "host/records.h"
#include "platform/CoreGraphics.h"
#include "platform/CoreServices.h"
#include "platform/controls.h"

#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <string_view>
#include <unistd.h>

/// A module that breaks the rules of its host. The environment variable KVT_FAULT names what it does wrong, one or more
/// of its methods or of the deeds at its start, separated by spaces; else it does nothing wrong, and little at all. The
/// file is none that a host should get: it exports a variable and needs the C++ run-time.

extern "C" {
int gForcedLevel = -1; ///< these two as a module offers them
int gActiveLevel = -1;
[[gnu::visibility("default")]] int KVTExported = 1;
}

namespace {

void *(*gResolver)(const char *name);

template <class Function> Function *Entry(const char *name) { return reinterpret_cast<Function *>(gResolver(name)); }

using Picture = REALpictureStruct *;
using Block = REALmemoryBlockStruct *;
using String = REALstringStruct *;
using Routine = REALroutine;

/// Whether the faults that are asked for include that one.
bool Has(std::string_view name) {
    const char *asked = std::getenv("KVT_FAULT");
    return asked && (' ' + std::string(asked) + ' ').find(' ' + std::string(name) + ' ') != std::string::npos;
}

void AddReference(void *object) { Entry<void(void *)>("REALLockObject")(object); }
void DropReference(void *object) { Entry<void(void *)>("REALUnlockObject")(object); }
void Unlock(Picture picture) { Entry<void(Picture)>("unlockPictureDescription")(picture); }
void ClearCache(void *picture) { Entry<void(void *)>("REALPictureClearCache")(picture); }
Picture NewPicture(int width = 5) { return Entry<Picture(int, int, int)>("newPicture")(width, 3, 32); }
void LeakPicture(Picture) { NewPicture(); }

bool Lock(Picture picture, REALpictureDescription &description, int type) {
    return picture && Entry<unsigned char(Picture, REALpictureDescription *, int)>("REALLockPictureDescription")(
                          picture, &description, type);
}

/// The first pixel, locked; null when it cannot be.
std::uint32_t *LockedPixels(Picture picture) {
    REALpictureDescription description = {};
    if (Lock(picture, description, 8))
        return static_cast<std::uint32_t *>(CGBitmapContextGetData(static_cast<CGContextRef>(description.data)));
    if (Lock(picture, description, 10))
        return static_cast<std::uint32_t *>(static_cast<REALconsolePicture *>(description.data)->rows[0]);
    return nullptr;
}

std::int32_t WidthOf(Picture picture) {
    std::int32_t width = 0;
    auto *get = Entry<unsigned char(Picture, const char *, std::int32_t *)>("REALGetPropValueInt");
    return picture && get && get(picture, "Width", &width) ? width : 0;
}

void ChangePicture(Picture picture) {
    if (std::uint32_t *pixels = LockedPixels(picture)) {
        pixels[0] ^= 1;
        Unlock(picture);
    }
}

void WritePastRow(Picture picture) {
    REALpictureDescription description = {};
    if (!Lock(picture, description, 10))
        return;
    const auto *console = static_cast<REALconsolePicture *>(description.data);
    static_cast<std::uint32_t *>(console->rows[0])[console->width] ^= 1;
    Unlock(picture);
}

void ChangeRowTable(Picture picture) {
    REALpictureDescription description = {};
    Entry<void(Picture, REALpictureDescription *)>("lockPictureDescription")(picture, &description);
    void **rows = description.type == 10 ? static_cast<REALconsolePicture *>(description.data)->rows : nullptr;
    if (rows)
        rows[0] = nullptr;
    Unlock(picture);
}

int ReadUnlocked(Picture picture) {
    const std::uint32_t *row = LockedPixels(picture);
    if (!row)
        return 0;
    Unlock(picture);
    return static_cast<int>(row[0]);
}

void DropLocked(Picture) {
    const Picture made = NewPicture();
    LockedPixels(made);
    DropReference(made);
}

Picture YieldDead(Picture) {
    const Picture made = NewPicture();
    DropReference(made);
    return made;
}

/// Does something with an object that an entry does once, but asks for the entry twice when it is not there.
void AskTwice(const char *taking, const char *giving, Picture picture) {
    REALpictureDescription description = {};
    if (auto *take = Entry<void(Picture, REALpictureDescription *, int)>(taking))
        take(picture, &description, 10);
    auto *give = Entry<void(Picture)>(giving);
    if (!give)
        give = Entry<void(Picture)>(giving);
    if (give)
        give(picture);
}

void Raise() {
    void *exception = Entry<void *(const char *)>("PluginNewInstance")("NilObjectException");
    Entry<void(void *)>("RuntimeRaiseException")(exception);
    DropReference(exception);
}

REALstringData CopyOf(String string) {
    REALstringData data = {};
    Entry<unsigned char(String, std::uint32_t, REALstringData *)>("PluginGetStringData")(string, 0xFFFF, &data);
    return data;
}

void Dispose(REALstringData &data) { Entry<void(REALstringData *)>("PluginDisposeStringData")(&data); }

int ReadCopyGivenBack(Picture, String string) {
    REALstringData data = CopyOf(string);
    Dispose(data);
    return data.bytes[0];
}

int ReadPastCopy(Picture, String string) {
    const REALstringData data = CopyOf(string);
    return data.bytes[data.length + 1];
}

unsigned char *BytesOf(Block block) { return Entry<unsigned char *(Block)>("memoryBlockGetPtr")(block); }
std::int32_t SizeOf(Block block) { return Entry<std::int32_t(Block)>("memoryBlockGetSize")(block); }

void FreeHeapBlockTwice(Picture) {
    void *volatile block = std::malloc(8);
    std::free(block);
    std::free(block);
}

void TrustHeap(Picture) {
    volatile auto *bytes = static_cast<volatile char *>(std::malloc(8));
    bytes[0] = 1;
    std::free(const_cast<char *>(bytes));
}

CFURLRef Url() {
    FSRef folder;
    const bool found = FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 0, &folder) == 0;
    return found ? CFURLCreateFromFSRef(nullptr, &folder) : nullptr;
}

void ReleaseUrlTwice(Picture) {
    if (CFURLRef url = Url())
        CFRelease(url), CFRelease(url);
}

int TrustPlatform(Picture picture) {
    REALpictureDescription description = {};
    if (!Lock(picture, description, 8))
        return 0;
    const int read = *static_cast<int *>(CGBitmapContextGetData(static_cast<CGContextRef>(description.data)));
    Unlock(picture);
    return read;
}

int ReadWideBoolean(Picture picture) {
    std::int32_t width = -7;
    auto *get = Entry<std::uint32_t(Picture, const char *, std::int32_t *)>("REALGetPropValueInt");
    const std::uint32_t answer = picture && get ? get(picture, "Width", &width) : 0;
    return answer != 0 ? width : 0;
}

int LayoutOf(Picture picture) {
    REALpictureDescription description = {};
    Entry<void(Picture, REALpictureDescription *)>("lockPictureDescription")(picture, &description);
    Unlock(picture);
    return static_cast<int>(description.type);
}

/// On i386, where the caller puts the arguments on top of the stack: how far below a multiple of 16 that is. A
/// sanitizer would move them.
[[gnu::no_sanitize_address]] std::int32_t StackOffset(Picture picture) {
    return static_cast<std::int32_t>(-reinterpret_cast<std::uintptr_t>(&picture) & 15);
}

#if defined(__i386__)
/// Answers 0, and stores a vector on the stack as compilers do where they take it to be aligned.
[[gnu::naked]] int StoreOnStack(Picture) {
    asm("subl $28, %esp\n\tmovaps %xmm0, (%esp)\n\taddl $28, %esp\n\txorl %eax, %eax\n\tret");
}
#endif

unsigned char IsWhite(Picture) {
    gActiveLevel = gForcedLevel;
    return 0;
}

// What is nothing wrong, for the host to play its part in.

void Store(Picture, std::int32_t value, std::int32_t *integer, double *number, signed char *boolean) {
    *integer += value;
    *number = value * 0.5;
    *boolean = value > 0;
}
std::uint32_t gStored;
std::uint32_t Stored(Picture, std::uint32_t index) { return gStored + index; }
void Assign(Picture, std::uint32_t index, std::uint32_t value) { gStored = value - index; }

// clang-format off
const REALmethodDefinition kMethods[] = {
    {Routine(IsWhite), nullptr, "isWhiteKVT as boolean"}, // the one that is always there
    // References.
    {Routine(+[](Picture p) { if (p) DropReference(p); }), nullptr, "DropTooOften"},
    {Routine(LeakPicture), nullptr, "LeakPicture"},
    {Routine(+[](Picture p) { if (p) AskTwice("REALLockObject", "REALUnlockObject", p); }), nullptr, "DropTwice"},
    {Routine(+[](Picture p) { if (auto *take = p ? Entry<void(Picture)>("REALLockObject") : nullptr) take(p), DropReference(p); }), nullptr, "ForgetUntaken"},
    {Routine(+[](Picture p) { return p; }), nullptr, "YieldUncounted as picture"},
    {Routine(+[](Picture, Block *b) { if (b) *b = Entry<Block(int)>("newMemoryBlock")(4); }), nullptr, "Overwrite(byref b as memoryblock)"},
    {Routine(+[](Picture, String s) { if (s) CopyOf(s); }), nullptr, "KeepCopy(s as string)"},
    {Routine(+[](Picture) { Url(); }), nullptr, "LeakUrl"},
    {Routine(ReleaseUrlTwice), nullptr, "ReleaseUrlTwice"},
    {Routine(+[](Picture) { kvt::platform::CurrentDrawingPort() = {}; }), nullptr, "KeepPort"},
    // Entries.
    {Routine(+[](Picture) { ClearCache(YieldDead(nullptr)); }), nullptr, "UseAfterDeath"},
    {Routine(+[](Picture, Block b) { ClearCache(b); }), nullptr, "WrongKind(b as memoryblock)"},
    {Routine(+[](Picture, String s) { AddReference(s); }), nullptr, "StringAsObject(s as string)"},
    {Routine(+[](Picture) { AddReference(&gResolver); }), nullptr, "ForeignObject"},
    {Routine(+[](Picture) { Raise(), Raise(); }), nullptr, "RaiseTwice"},
    {Routine(+[](Picture, String s) { REALstringData data = CopyOf(s); Dispose(data), Dispose(data); }), nullptr, "GiveBackTwice(s as string)"},
    {Routine(+[](Picture) { void *volatile kept = std::malloc(8); static_cast<void>(kept); }), nullptr, "KeepHeapBlock"},
    {Routine(FreeHeapBlockTwice), nullptr, "FreeHeapBlockTwice"},
    {Routine(+[](Picture p) { Entry<Picture(Picture, signed char)>("REALGetPictureMask")(p, 1); }), nullptr, "CreateMask"},
    {Routine(+[](Picture) { DropReference(Entry<Picture(int, int, int)>("newPicture")(5, 3, 8)); }), nullptr, "AskForEightBits"},
    {Routine(+[](Picture p) { Entry<void *(void *, const char *)>("REALLoadObjectMethod")(p, "Paint(x as integer)"); }), nullptr, "LoadNonsense"},
    {Routine(YieldDead), nullptr, "YieldDead as picture"},
    {Routine(+[](Picture, Block b) -> void * { return b; }), nullptr, "YieldBlock(b as memoryblock) as picture"},
    {Routine(+[](Picture p) -> int { return *reinterpret_cast<const volatile int *>(p); }), nullptr, "ReadHandle as integer"},
    {Routine(+[](Picture) { _exit(3); }), nullptr, "EndProcess"},
    {Routine(+[](Picture) { while (true) pause(); }), nullptr, "Hang"},
    {Routine(+[](Picture p) { std::raise(SIGKILL); return p; }), nullptr, "Die as picture"},
    // Locks.
    {Routine(+[](Picture p) { if (LockedPixels(p)) Unlock(p), Unlock(p); }), nullptr, "DoubleUnlock"},
    {Routine(+[](Picture p) { LockedPixels(p); }), nullptr, "LeaveLocked"},
    {Routine(DropLocked), nullptr, "DropLocked"},
    {Routine(ReadUnlocked), nullptr, "ReadUnlocked as integer"},
    {Routine(+[](Picture p) { if (p) AskTwice("lockPictureDescription", "unlockPictureDescription", p); }), nullptr, "UnlockTwice"},
    // Memory and inputs.
    {Routine(WritePastRow), nullptr, "WritePastRow"},
    {Routine(ChangeRowTable), nullptr, "ChangeRowTable"},
    {Routine(+[](Picture, Block b) -> int { return BytesOf(b)[SizeOf(b)]; }), nullptr, "ReadPastEnd(b as memoryblock) as integer"},
    {Routine(+[](Picture, Block b) -> int { return BytesOf(b)[-1]; }), nullptr, "ReadBeforeStart(b as memoryblock) as integer"},
    {Routine(ReadPastCopy), nullptr, "ReadPastCopy(s as string) as integer"},
    {Routine(ReadCopyGivenBack), nullptr, "ReadCopyGivenBack(s as string) as integer"},
    {Routine(ChangePicture), nullptr, "ChangePicture"},
    {Routine(+[](Picture, Block b) { if (b) BytesOf(b)[0] ^= 77; }), nullptr, "ChangeBlock(b as memoryblock)"},
    {Routine(+[](Picture, String s) { Entry<void(String, std::uint32_t)>("REALSetStringEncoding")(s, 7); }), nullptr, "ChangeString(s as string)"},
    {Routine(+[](Picture, double a) { if (std::isinf(a)) LeakPicture(nullptr); }), nullptr, "FearInfinity(a as double)"},
    // Failures and faults.
    {Routine(+[](Picture p) { return p ? 0 : 1; }), nullptr, "FindNilWhite as boolean"},
    {Routine(+[](Picture p) { if (!p) Raise(); return 0; }), nullptr, "RaiseForNil as boolean"},
    {Routine(+[](Picture) -> void * { return nullptr; }), nullptr, "YieldNothing as picture"},
    {Routine(+[](Picture p) { return p ? NewPicture(4) : nullptr; }), nullptr, "YieldSmall as picture"},
    {Routine(+[](Picture p) { if (Picture mask = Entry<Picture(Picture, signed char)>("REALGetPictureMask")(p, 0)) DropReference(mask); }), nullptr, "NeedMasks"},
    {Routine(+[](Picture p) { if (!Entry<void()>("REALPictureClearCache") && Entry<void()>("REALPictureClearCache")) LeakPicture(p); }), nullptr, "AskAgain"},
    {Routine(+[](Picture p) { if (WidthOf(p) && WidthOf(p) && !WidthOf(p)) LeakPicture(p); }), nullptr, "TrustThird"},
    {Routine(ReadWideBoolean), nullptr, "ReadWideBoolean as integer"},
    {Routine(TrustHeap), nullptr, "TrustHeap"},
    {Routine(TrustPlatform), nullptr, "TrustPlatform as integer"},
    // Results.
    {Routine(LayoutOf), nullptr, "LayoutOf as integer"},
    {Routine(+[](Picture) { return gForcedLevel > 0 ? gForcedLevel : 0; }), nullptr, "LevelOf as integer"},
    {Routine(+[](Picture) {
         static std::int32_t calls = 0;
         return ++calls;
     }),
     nullptr, "CountCalls as integer"},
    {Routine(StackOffset), nullptr, "StackOffset as integer"},
#if defined(__i386__)
    {Routine(StoreOnStack), nullptr, "StoreOnStack as integer"},
#endif
    // Records.
    {nullptr, nullptr, "HaveNoRoutine as picture"},
    {Routine(LeakPicture), nullptr, "KeepFlags", 0x40000},
    {Routine(LeakPicture), nullptr, "BeTwice(a as integer)"},
    {Routine(LeakPicture), nullptr, "BeTwice(b as integer)"},
    {Routine(LeakPicture), nullptr, "BeNonsense(x as nothing)"},
    // What is nothing wrong.
    {Routine(+[](Picture, std::int32_t) { return 1; }), nullptr, "Which(a as integer) as integer"},
    {Routine(+[](Picture, double, signed char) { return 2; }), nullptr, "Which(a as double, b as boolean = true) as integer"},
    {Routine(Store), nullptr, "Store(value as integer, byref i as integer, byref d as double, byref b as boolean)"},
    {Routine(Stored), Routine(Assign), "Stored(index as UInt32 = 0) as color"},
};
// clang-format on

REALmethodDefinition gMethods[std::size(kMethods)];
REALclassDefinition gExtension = {.version = 9, .name = "Picture", .methods = gMethods};

REALpropertyDefinition gProperties[] = {
    {.unused0 = 1,
     .name = "Wrong",
     .type = "Integer",
     .getter = Routine(~std::uintptr_t{0}),
     .setter = Routine(~std::uintptr_t{0})},
    {.name = "Odd", .type = "Oddity", .getter = Routine(~std::uintptr_t{0}), .setter = Routine(~std::uintptr_t{0})},
};
extern REALclassDefinition gPlainClass;
REALmethodDefinition gClassMethods[] = {
    {Routine(+[](void *) { return static_cast<int>(gPlainClass.dataOffset); }), nullptr, "DataOffset as integer"}};
REALclassDefinition gClass = {.version = 9,
                              .name = "BadClass",
                              .instanceSize = 16,
                              .dataOffset = 4,
                              .constructor = Routine(LeakPicture),
                              .properties = gProperties,
                              .propertyCount = 2,
                              .methods = gClassMethods,
                              .methodCount = 1,
                              .unused11to19 = {0, 0, 5}};
REALclassDefinition gPlainClass = {
    .version = 9, .name = "PlainClass", .instanceSize = 16, .methods = gClassMethods, .methodCount = 1};

void Register(const char *entry, REALclassDefinition *definition) {
    if (auto *call = Entry<void(REALclassDefinition *)>(entry))
        call(definition);
}

} // namespace

extern "C" [[gnu::visibility("default")]] void REALPluginMain(void *(*resolver)(const char *)) {
    if (!resolver && !Has("StartWithoutLooking"))
        return;
    gResolver = resolver;
    if (auto *announce = Entry<void(int)>("RegisterPluginVersion"))
        announce(9);
    if (auto *version = Entry<double()>("REALGetRBVersion"))
        version();
    if (Has("AskForCoffee"))
        gResolver("REALMakeCoffee");
    Dl_info self;
    if (Has("StayInMemory") && dladdr(&KVTExported, &self) != 0)
        dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    for (const REALmethodDefinition &method : kMethods) {
        const std::string_view declaration = method.declaration;
        if (&method == kMethods || Has(declaration.substr(0, declaration.find_first_of("( "))))
            gMethods[gExtension.methodCount++] = method;
    }
    if (!std::getenv("KVT_FAULT_RAN"))
        setenv("KVT_FAULT_RAN", "1", 1);
    else if (Has("Alternate") && unsetenv("KVT_FAULT_RAN") == 0)
        Register("PluginRegisterClass", &gPlainClass);
    if (Has("RegisterLate"))
        Register("PluginRegisterClassExtension", &gExtension);
    if (Has("DataOffset"))
        Register("PluginRegisterClass", &gPlainClass);
    if (Has("BadClass") || Has("RegisterLate"))
        Register("PluginRegisterClass", &gClass);
    if (!Has("RegisterLate"))
        Register("PluginRegisterClassExtension", &gExtension);
}
