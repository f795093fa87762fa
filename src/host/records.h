#pragma once

#include <cstddef>
#include <cstdint>

/// The records that the module and the host share memory in. The host is a 32-bit process, and the layouts are pinned
/// for it below. In a 64-bit build pointer words are pointer-wide with their natural alignment, all others stay 32
/// bits.

/// A routine of any signature; the host calls it as its declaration says.
using REALroutine = void (*)();

/// The version of this interface, which the module announces at its start and in its class records.
inline constexpr std::uint32_t kInterfaceVersion = 9;

/// The module's own flag of a method, property or class that the host may also offer to console applications. It is
/// translated before registration, on hosts that know of it, into the host's own, which classes carry from the start.
inline constexpr std::uint32_t kConsoleSafe = 0x40000;
inline constexpr std::uint32_t kHostConsole = 4;

/// One script method: its routine, the routine that an assignment to it calls (or null), its declaration, its flags.
struct REALmethodDefinition {
    REALroutine function = nullptr;
    REALroutine setter = nullptr;
    const char *declaration = nullptr;
    std::uint32_t flags = 0;
};

/// One property of a class. Getter and setter are routines, or both have all bits set: then the host reads and writes
/// the field itself, at byte offset `param` of the class's instance data. An own accessor receives `param` as its
/// second argument.
struct REALpropertyDefinition {
    std::uint32_t unused0 = 0;
    const char *name = nullptr;
    const char *type = nullptr;
    std::uint32_t flags = 0;
    REALroutine getter = nullptr;
    REALroutine setter = nullptr;
    std::uint32_t param = 0;
    std::uint32_t unused7to9[3] = {};
};

/// A class, or (through PluginRegisterClassExtension) methods added to the host's class of that name.
struct REALclassDefinition {
    std::uint32_t version = 0;
    const char *name = nullptr;
    std::uint32_t unused2 = 0;
    std::uint32_t instanceSize = 0;
    std::uint32_t dataOffset =
        0; ///< written by the host at registration: where instance data begins inside an instance
    REALroutine constructor = nullptr;
    REALroutine destructor = nullptr;
    REALpropertyDefinition *properties = nullptr;
    std::int32_t propertyCount = 0;
    REALmethodDefinition *methods = nullptr;
    std::int32_t methodCount = 0;
    std::uint32_t unused11to19[9] = {};
    std::uint32_t flags = 0;
    REALpropertyDefinition *moreProperties = nullptr;
    std::int32_t morePropertyCount = 0;
    REALmethodDefinition *moreMethods = nullptr;
    std::int32_t moreMethodCount = 0;
};

/// What a locked picture's pixels are: `type` 8 a bitmap context, 10 a console picture record, 4 a graphics world.
struct REALpictureDescription {
    std::uint32_t type;
    void *data;
    std::int32_t width;  ///< pixels; filled for types 4 and 10
    std::int32_t height; ///< pixels; filled for types 4 and 10
    void *unread[2];
};

/// The host's record of a console picture, behind a description of type 10: true-color words reached through a table of
/// row addresses. Only the named fields are read.
struct REALconsolePicture {
    std::uint32_t paletteRows; ///< 0: no palette image
    std::int32_t width;
    std::int32_t height;
    unsigned char unread[7212];
    std::uint32_t trueColor; ///< nonzero for a true-color picture
    void **rows;             ///< `height` addresses, each the first pixel of a row
};

/// A copy of a string's bytes. The last two words are the host's own, neither read nor written.
struct REALstringData {
    const char *bytes;
    std::int32_t length; ///< bytes, not counting the terminator
    std::uint32_t encoding;
    void *unread[2];
};

/// The string record of hosts before 2013.0, which the module reads directly: the text begins one byte after `storage`.
struct REALolderString {
    std::uint32_t unread0;
    const char *storage;
    std::uint32_t unread2;
    std::int32_t length; ///< bytes
};

static_assert(offsetof(REALconsolePicture, trueColor) == 7224);
#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(REALmethodDefinition) == 4 * 4);
static_assert(sizeof(REALpropertyDefinition) == 10 * 4 && offsetof(REALpropertyDefinition, param) == 6 * 4);
static_assert(sizeof(REALclassDefinition) == 25 * 4);
static_assert(offsetof(REALclassDefinition, dataOffset) == 4 * 4 && offsetof(REALclassDefinition, methods) == 9 * 4);
static_assert(offsetof(REALclassDefinition, flags) == 20 * 4 && offsetof(REALclassDefinition, moreMethods) == 23 * 4);
static_assert(sizeof(REALpictureDescription) == 6 * 4 && sizeof(REALstringData) == 5 * 4);
static_assert(offsetof(REALconsolePicture, rows) == 7228);
static_assert(offsetof(REALolderString, storage) == 1 * 4 && offsetof(REALolderString, length) == 3 * 4);
#else
static_assert(offsetof(REALconsolePicture, rows) == 7232);
static_assert(offsetof(REALolderString, storage) == 8 && offsetof(REALolderString, length) == 20);
#endif
