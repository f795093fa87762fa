#include "support/strings.h"

#include "host/entries.h"
#include "host/resolver.h"
#include "support/memory.h"

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
    char stack[kStackBytes] = {};
    const bool fitsStack = length < 2 * kStackBytes;
    ClearBuffer<char> heap(fitsStack ? 0 : units * 2LL + 4);
    char *utf16 = fitsStack ? stack : heap.data();
    if (!utf16)
        return nullptr;
    for (std::ptrdiff_t unit = 0; unit < units; ++unit) {
        std::uint32_t wide;
        std::memcpy(&wide, static_cast<const char *>(bytes) + unit * 4, 4);
        const auto narrow = static_cast<std::uint16_t>(wide & 0xFFFF);
        std::memcpy(utf16 + unit * 2, &narrow, 2);
    }
    return Utf8FromUtf16(utf16, units * 2);
}

LateBound<bool(REALstringStruct *, std::uint32_t encoding, REALstringData *)> PluginGetStringData{
    "PluginGetStringData"};
LateBound<void(REALstringData *)> PluginDisposeStringData{"PluginDisposeStringData"};
LateBound<const char *(REALstringStruct *)> StringGetCString{"StringGetCString"};
LateBound<void *(REALobjectStruct *, const char *declaration)> REALLoadGlobalMethod{"REALLoadGlobalMethod"};

/// The script function of that name, which the host finds by its declaration: a string's length in bytes.
void *FindGlobalMethod(const char *declaration) { return REALLoadGlobalMethod(nullptr, declaration); }
LateBound<std::int32_t(REALstringStruct *), FindGlobalMethod> LenB{"LenB( s as string ) as integer"};

/// Copies the string's bytes as they are stored into a buffer with four zero bytes behind them. An empty string needs
/// no address.
bool CopyBytes(REALstringStruct *string, std::uint32_t encoding, REALstringData *out) {
    const std::int32_t length = LenB(string);
    const char *bytes = StringGetCString(string);
    if (length < 0 || (length > 0 && !bytes))
        return false;
    auto *copy = static_cast<char *>(AllocateClearMemory(length + 4LL));
    if (!copy)
        return false;
    if (length > 0)
        std::memcpy(copy, bytes, static_cast<std::size_t>(length));
    out->bytes = copy;
    out->length = length;
    out->encoding = encoding;
    return true;
}

/// For hosts without "PluginGetStringData": the bytes by "StringGetCString", their number by the script function LenB.
bool GetStringDataFallback(REALstringStruct *string, std::uint32_t encoding, REALstringData *out) {
    // Both are looked for before either is missed.
    const bool hasBytes = StringGetCString.Found();
    const bool hasLength = LenB.Found();
    if (!hasBytes || !hasLength || !string)
        return false;
    const bool asStored = encoding == kEncodingNone || encoding == REALGetStringEncoding(string);
    REALstringStruct *text = asStored ? string : REALConvertString(string, encoding);
    const bool copied = text && CopyBytes(text, encoding, out);
    if (text && !asStored)
        REALUnlockString(text);
    return copied;
}

} // namespace

bool REALGetStringData(REALstringStruct *string, std::uint32_t encoding, REALstringData *out) {
    return PluginGetStringData.Found() ? PluginGetStringData(string, encoding, out)
                                       : GetStringDataFallback(string, encoding, out);
}

void REALDisposeStringData(REALstringData *data) {
    if (PluginDisposeStringData.Found())
        PluginDisposeStringData(data);
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
