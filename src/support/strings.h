#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstdint>

namespace kvt {

/// Text encodings by the platform's numbers.
inline constexpr std::uint32_t kEncodingUtf16 = 0x0100; ///< machine byte order
inline constexpr std::uint32_t kEncodingAscii = 0x0600;
inline constexpr std::uint32_t kEncodingUtf8 = 0x08000100;
inline constexpr std::uint32_t kEncodingUtf32 = 0x0c000100; ///< machine byte order
inline constexpr std::uint32_t kEncodingNone = 0xFFFF;      ///< the bytes as stored; binary strings

/// Fills `out` with a copy of the string's bytes in that encoding (kEncodingNone: as stored), to be given back with
/// REALDisposeStringData. A host without "PluginGetStringData" is served by a copy of the module's own, which ends in
/// four zero bytes; when even that cannot be made, the result is false and `out` is untouched.
bool REALGetStringData(REALstringStruct *string, std::uint32_t encoding, REALstringData *out);

/// Gives back what REALGetStringData filled in, whoever made the copy: to the host, or to the process heap where the
/// host does not take copies back.
void REALDisposeStringData(REALstringData *data);

/// A new string from bytes in that encoding, with one reference for the caller. UTF-16 and UTF-32 text comes out as
/// UTF-8; of a UTF-32 unit only the low 16 bits are kept. Null when `bytes` is null, `length` (in bytes) is below 1, or
/// the host or the heap refuses.
REALstringStruct *REALBuildUnicodeString(const void *bytes, std::int32_t length, std::uint32_t encoding);

} // namespace kvt
