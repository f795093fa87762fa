#include "host/handles.h"
#include "host/records.h"

#include <cstdint>
#include <cstdlib>

/// A module that breaks the rules of its host, one rule a method, to show that the stand-in host notices.
namespace {

void *(*gResolver)(const char *name);

template <class Function> Function *Entry(const char *name) { return reinterpret_cast<Function *>(gResolver(name)); }

using Picture = REALpictureStruct *;
using Block = REALmemoryBlockStruct *;
using String = REALstringStruct *;

void AddReference(void *object) { Entry<void(void *)>("REALLockObject")(object); }
void DropReference(void *object) { Entry<void(void *)>("REALUnlockObject")(object); }
void Unlock(Picture picture) { Entry<void(Picture)>("unlockPictureDescription")(picture); }
void ClearCache(void *picture) { Entry<void(void *)>("REALPictureClearCache")(picture); }
Picture NewPicture() { return Entry<Picture(int, int, int)>("newPicture")(5, 3, 32); }

/// The first pixel of the row, locked; the picture is a console picture.
std::uint32_t *LockedRow(Picture picture, int row) {
    REALpictureDescription description = {};
    constexpr int kConsole = 10;
    Entry<unsigned char(Picture, REALpictureDescription *, int)>("REALLockPictureDescription")(picture, &description,
                                                                                               kConsole);
    return static_cast<std::uint32_t *>(static_cast<REALconsolePicture *>(description.data)->rows[row]);
}

unsigned char *BytesOf(Block block) { return Entry<unsigned char *(Block)>("memoryBlockGetPtr")(block); }

REALstringData CopyOf(String string) {
    REALstringData data = {};
    Entry<unsigned char(String, std::uint32_t, REALstringData *)>("PluginGetStringData")(string, 0xFFFF, &data);
    return data;
}

void Dispose(REALstringData &data) { Entry<void(REALstringData *)>("PluginDisposeStringData")(&data); }

void LeakPicture(Picture) { NewPicture(); }

void DropLocked(Picture) {
    const Picture made = NewPicture();
    LockedRow(made, 0);
    DropReference(made);
}

Picture YieldDead(Picture) {
    const Picture made = NewPicture();
    DropReference(made);
    return made;
}

void WriteTo(Picture picture, int row, int column) {
    LockedRow(picture, row)[column] ^= 1;
    Unlock(picture);
}

void ChangeRowTable(Picture picture) {
    REALpictureDescription description = {};
    Entry<void(Picture, REALpictureDescription *)>("lockPictureDescription")(picture, &description);
    void **rows = static_cast<REALconsolePicture *>(description.data)->rows;
    rows[0] = rows[1];
    Unlock(picture);
}

void RaiseTwice(Picture) {
    for (int i = 0; i < 2; ++i) {
        void *exception = Entry<void *(const char *)>("PluginNewInstance")("NilObjectException");
        Entry<void(void *)>("RuntimeRaiseException")(exception);
        DropReference(exception);
    }
}

void GiveBackTwice(Picture, String string) {
    REALstringData data = CopyOf(string);
    Dispose(data);
    Dispose(data);
}

void GiveBackOwnBytes(Picture, String string) {
    REALstringData data = CopyOf(string);
    const char *theirs = data.bytes;
    data.bytes = "mine";
    Dispose(data);
    data.bytes = theirs;
    Dispose(data);
}

int ReadCopyGivenBack(Picture, String string) {
    REALstringData data = CopyOf(string);
    Dispose(data);
    return data.bytes[0];
}

int ReadPastCopy(Picture, String string) {
    const REALstringData data = CopyOf(string);
    return data.bytes[data.length + 1];
}

int ReadUnlocked(Picture picture) {
    const std::uint32_t *row = LockedRow(picture, 0);
    Unlock(picture);
    return static_cast<int>(row[0]);
}

int ReadUnlockedResult(Picture) {
    const Picture made = NewPicture();
    const int read = ReadUnlocked(made);
    DropReference(made);
    return read;
}

void KeepHeapBlock(Picture) {
    void *volatile kept = std::malloc(8);
    static_cast<void>(kept);
}

void FreeHeapBlockTwice(Picture) {
    void *volatile block = std::malloc(8);
    std::free(block);
    std::free(block);
}

// What is no misuse, for the host to play its part in.

/// Locks as a bitmap and then unlocks, whether the lock succeeded or not.
unsigned char LockAndUnlock(Picture picture, signed char unlocks) {
    REALpictureDescription description = {};
    constexpr int kBitmap = 8;
    auto *lock = Entry<unsigned char(Picture, REALpictureDescription *, int)>("REALLockPictureDescription");
    const unsigned char locked = lock ? lock(picture, &description, kBitmap) : 0;
    if (auto *unlock = unlocks ? Entry<void(Picture)>("unlockPictureDescription") : nullptr)
        unlock(picture);
    return locked;
}

/// Takes a reference and, if `balanced`, drops it.
void TakeAndDrop(Picture picture, signed char balanced) {
    if (auto *take = Entry<void(Picture)>("REALLockObject"))
        take(picture);
    if (auto *drop = balanced ? Entry<void(Picture)>("REALUnlockObject") : nullptr)
        drop(picture);
}

unsigned char HasWidth(Picture picture) {
    std::int32_t width = 0;
    auto *get = Entry<unsigned char(Picture, const char *, std::int32_t *)>("REALGetPropValueInt");
    return get ? get(picture, "Width", &width) : 0;
}

/// On i386, where the caller puts the arguments on top of the stack: how far below a multiple of 16 that is. A
/// sanitizer would move them.
[[gnu::no_sanitize_address]] std::int32_t StackOffset(Picture picture) {
    return static_cast<std::int32_t>(-reinterpret_cast<std::uintptr_t>(&picture) & 15);
}

void Store(Picture, std::int32_t value, std::int32_t *integer, double *number, signed char *boolean) {
    *integer += value;
    *number = value * 0.5;
    *boolean = value > 0;
}
std::uint32_t gStored;
std::uint32_t Stored(Picture, std::uint32_t index) { return gStored + index; }
void Assign(Picture, std::uint32_t index, std::uint32_t value) { gStored = value - index; }

using Routine = REALroutine;

REALmethodDefinition gMethods[] = {
    {Routine(+[](Picture p) { LockedRow(p, 0), Unlock(p), Unlock(p); }), nullptr, "DoubleUnlock"},
    {Routine(+[](Picture p) { LockedRow(p, 0); }), nullptr, "LeaveLocked"},
    {Routine(+[](Picture p) { AddReference(p); }), nullptr, "LeakReference"},
    {Routine(+[](Picture p) { DropReference(p); }), nullptr, "DropTooOften"},
    {Routine(LeakPicture), nullptr, "LeakPicture"},
    {Routine(DropLocked), nullptr, "DropLocked"},
    {Routine(+[](Picture p) { ClearCache(YieldDead(p)); }), nullptr, "UseAfterDeath"},
    {Routine(+[](Picture, Block b) { ClearCache(b); }), nullptr, "WrongKind(b as memoryblock)"},
    {Routine(+[](Picture, String s) { AddReference(s); }), nullptr, "StringAsObject(s as string)"},
    {Routine(+[](Picture p) { Entry<void(void *)>("REALLockString")(p); }), nullptr, "PictureAsString"},
    {Routine(+[](Picture) { AddReference(nullptr); }), nullptr, "NullObject"},
    {Routine(+[](Picture) { AddReference(&gResolver); }), nullptr, "ForeignObject"},
    {Routine(+[](Picture p) { WriteTo(p, 1, 5); }), nullptr, "WritePastRow"},
    {Routine(ChangeRowTable), nullptr, "ChangeRowTable"},
    {Routine(+[](Picture p) { WriteTo(p, 0, 0); }), nullptr, "ChangePicture"},
    {Routine(+[](Picture, Block b) { BytesOf(b)[0] = 77; }), nullptr, "ChangeBlock(b as memoryblock)"},
    {Routine(+[](Picture, String s) { Entry<void(String, std::uint32_t)>("REALSetStringEncoding")(s, 7); }), nullptr,
     "ChangeString(s as string)"},
    {Routine(RaiseTwice), nullptr, "RaiseTwice"},
    {Routine(+[](Picture, String s) { CopyOf(s); }), nullptr, "KeepCopy(s as string)"},
    {Routine(GiveBackTwice), nullptr, "GiveBackTwice(s as string)"},
    {Routine(GiveBackOwnBytes), nullptr, "GiveBackOwnBytes(s as string)"},
    {Routine(KeepHeapBlock), nullptr, "KeepHeapBlock"},
    {Routine(FreeHeapBlockTwice), nullptr, "FreeHeapBlockTwice"},
    {Routine(+[](Picture) { gResolver("REALMakeCoffee"); }), nullptr, "AskForNonsense"},
    {Routine(+[](Picture p) { Entry<Picture(Picture, signed char)>("REALGetPictureMask")(p, 1); }), nullptr,
     "CreateMask"},
    {Routine(+[](Picture) { DropReference(Entry<Picture(int, int, int)>("newPicture")(5, 3, 8)); }), nullptr,
     "AskForEightBits"},
    {Routine(+[](Picture p) { Entry<void *(void *, const char *)>("REALLoadObjectMethod")(p, "Paint(x as integer)"); }),
     nullptr, "LoadNonsense"},
    {Routine(YieldDead), nullptr, "YieldDead as picture"},
    {Routine(+[](Picture) -> void * { return &gResolver; }), nullptr, "YieldForeign as picture"},
    {Routine(+[](Picture, Block b) -> void * { return b; }), nullptr, "YieldBlock(b as memoryblock) as picture"},
    {Routine(+[](Picture p) { return p; }), nullptr, "YieldUncounted as picture"},
    {Routine(+[](Picture, Block *b) { *b = Entry<Block(int)>("newMemoryBlock")(4); }), nullptr,
     "Overwrite(byref b as memoryblock)"},
    // What no host survives.
    {Routine(+[](Picture, Block b) -> int { return BytesOf(b)[4]; }), nullptr,
     "ReadPastEnd(b as memoryblock) as integer"},
    {Routine(+[](Picture, Block b) -> int { return BytesOf(b)[-1]; }), nullptr,
     "ReadBeforeStart(b as memoryblock) as integer"},
    {Routine(+[](Picture, Block b) -> int { return BytesOf(b)[4] = 1; }), nullptr,
     "WritePastEnd(b as memoryblock) as integer"},
    {Routine(ReadPastCopy), nullptr, "ReadPastCopy(s as string) as integer"},
    {Routine(ReadCopyGivenBack), nullptr, "ReadCopyGivenBack(s as string) as integer"},
    {Routine(ReadUnlocked), nullptr, "ReadUnlocked as integer"},
    {Routine(ReadUnlockedResult), nullptr, "ReadUnlockedResult as integer"},
    {Routine(+[](Picture p) -> int { return *reinterpret_cast<const volatile int *>(p); }), nullptr,
     "ReadHandle as integer"},
    // What is no misuse.
    {Routine(LockAndUnlock), nullptr, "LockAndUnlock(unlocks as boolean = true) as boolean"},
    {Routine(TakeAndDrop), nullptr, "TakeAndDrop(balanced as boolean = true)"},
    {Routine(HasWidth), nullptr, "HasWidth as boolean"},
    {Routine(StackOffset), nullptr, "StackOffset as integer"},
    {Routine(+[](Picture, std::int32_t) { return 1; }), nullptr, "Which(a as integer) as integer"},
    {Routine(+[](Picture, double, signed char) { return 2; }), nullptr,
     "Which(a as double, b as boolean = true) as integer"},
    {Routine(Store), nullptr, "Store(value as integer, byref i as integer, byref d as double, byref b as boolean)"},
    {Routine(Stored), Routine(Assign), "Stored(index as UInt32 = 0) as color"},
    {Routine(LeakPicture), nullptr, "Broken(x as nothing)"},
};

REALclassDefinition gExtension = {
    .version = 9, .name = "Picture", .methods = gMethods, .methodCount = sizeof gMethods / sizeof *gMethods};

REALpropertyDefinition gProperties[] = {
    {.unused0 = 1,
     .name = "Wrong",
     .type = "Integer",
     .getter = Routine(~std::uintptr_t{0}),
     .setter = Routine(~std::uintptr_t{0})},
    {.name = "Odd", .type = "Oddity", .getter = Routine(~std::uintptr_t{0}), .setter = Routine(~std::uintptr_t{0})},
};
REALclassDefinition gClass = {.version = 9,
                              .name = "Bad",
                              .instanceSize = 16,
                              .dataOffset = 4,
                              .constructor = Routine(LeakPicture),
                              .properties = gProperties,
                              .propertyCount = 2,
                              .unused11to19 = {0, 0, 5}};

} // namespace

extern "C" [[gnu::visibility("default")]] void REALPluginMain(void *(*resolver)(const char *)) {
    gResolver = resolver;
    if (auto *version = Entry<double()>("REALGetRBVersion"))
        version();
    Entry<void(REALclassDefinition *)>("PluginRegisterClass")(&gClass);
    Entry<void(REALclassDefinition *)>("PluginRegisterClassExtension")(&gExtension);
}
