#include "support/strings.h"

#include "host/entries.h"
#include "host/resolver.h"
#include "support/memory.h"

#include <cstdlib>
#include <cstring>

namespace kvt {
namespace {

/// Converts a UTF-16 string that this module built to UTF-8 and drops the original.
REALstringStruct *Utf8FromUtf16(const void *units, std::int32_t bytes) {
    REALstringStruct *utf16 = originalREALBuildString(static_cast<const char *>(units), bytes);
    if (!utf16)
        return nullptr;
    REALSetStringEncoding(utf16, kEncodingUtf16);
    REALstringStruct *utf8 = REALConvertString(utf16, kEncodingUtf8);
    REALUnlockString(utf16);
    return utf8;
}

REALstringStruct *Utf8FromUtf32(const void *bytes, std::int32_t length) {
    constexpr std::int32_t kStackBytes = 400;
    const std::int32_t units = length / 4;
    char stack[kStackBytes];
    char *utf16 = stack;
    if (length >= 2 * kStackBytes) {
        utf16 = static_cast<char *>(AllocateClearMemory(units * 2LL + 4));
        if (!utf16)
            return nullptr;
    }
    for (std::ptrdiff_t unit = 0; unit < units; ++unit) {
        std::uint32_t wide;
        std::memcpy(&wide, static_cast<const char *>(bytes) + unit * 4, 4);
        const auto narrow = static_cast<std::uint16_t>(wide & 0xFFFF);
        std::memcpy(utf16 + unit * 2, &narrow, 2);
    }
    REALstringStruct *result = Utf8FromUtf16(utf16, units * 2);
    if (utf16 != stack)
        FreeMemoryNow(utf16);
    return result;
}

using BytesOfString = const char *(REALstringStruct *);
using LengthOfString = std::int32_t(REALstringStruct *);

/// Copies the string's bytes as they are stored into a buffer with four zero bytes behind them. An empty string needs
/// no address.
bool CopyBytes(REALstringStruct *string, std::uint32_t encoding, BytesOfString *bytesOf, LengthOfString *lengthOf,
               REALstringData *out) {
    const std::int32_t length = lengthOf(string);
    const char *bytes = bytesOf(string);
    if (length < 0 || (length > 0 && !bytes))
        return false;
    const auto size = static_cast<std::size_t>(length);
    char *copy = static_cast<char *>(std::malloc(size + 4));
    if (!copy)
        return false;
    if (size > 0)
        std::memcpy(copy, bytes, size);
    std::memset(copy + size, 0, 4);
    out->bytes = copy;
    out->length = length;
    out->encoding = encoding;
    return true;
}

/// For hosts without "PluginGetStringData": the bytes by "StringGetCString", their number by the script function LenB.
bool GetStringDataFallback(REALstringStruct *string, std::uint32_t encoding, REALstringData *out) {
    static BytesOfString *pStringGetCString;
    static void *(*pLoadGlobalMethod)(REALobjectStruct *, const char *);
    static LengthOfString *pLenB;
    // Both are looked for before either is missed.
    const bool hasBytes = Found(pStringGetCString, "StringGetCString");
    if (!pLenB && Found(pLoadGlobalMethod, "REALLoadGlobalMethod"))
        pLenB = reinterpret_cast<LengthOfString *>(pLoadGlobalMethod(nullptr, "LenB( s as string ) as integer"));
    if (!hasBytes || !pLenB || !string)
        return false;

    if (encoding == kEncodingNone || encoding == REALGetStringEncoding(string))
        return CopyBytes(string, encoding, pStringGetCString, pLenB, out);
    REALstringStruct *converted = REALConvertString(string, encoding);
    if (!converted)
        return false;
    const bool copied = CopyBytes(converted, encoding, pStringGetCString, pLenB, out);
    REALUnlockString(converted);
    return copied;
}

} // namespace

bool REALGetStringData(REALstringStruct *string, std::uint32_t encoding, REALstringData *out) {
    static unsigned char (*pGetStringData)(REALstringStruct *, std::uint32_t, REALstringData *);
    return Found(pGetStringData, "PluginGetStringData") ? pGetStringData(string, encoding, out) != 0
                                                        : GetStringDataFallback(string, encoding, out);
}

void REALDisposeStringData(REALstringData *data) {
    static void (*pDisposeStringData)(REALstringData *);
    if (Found(pDisposeStringData, "PluginDisposeStringData"))
        pDisposeStringData(data);
    else
        FreeMemoryNow(data->bytes);
}

REALstringStruct *REALBuildUnicodeString(const void *bytes, std::int32_t length, std::uint32_t encoding) {
    if (!bytes || length < 1)
        return nullptr;
    if (encoding == kEncodingUtf32)
        return Utf8FromUtf32(bytes, length);
    if (encoding == kEncodingUtf16)
        return Utf8FromUtf16(bytes, length);
    REALstringStruct *string = originalREALBuildString(static_cast<const char *>(bytes), length);
    if (string)
        REALSetStringEncoding(string, encoding);
    return string;
}

} // namespace kvt
