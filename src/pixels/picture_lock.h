#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstdint>

namespace kvt {

/// Description types that a picture's pixels can be locked in.
inline constexpr std::uint32_t kGraphicsWorldDescription = 4;
inline constexpr std::uint32_t kBitmapDescription = 8;
inline constexpr std::uint32_t kConsoleDescription = 10;

/// Locks the picture's pixels and describes them in that form, to be given back with REALUnlockPictureDescription.
/// False, with nothing held, when it cannot be done: hosts before 2012.0 leave a lock behind, which is taken back here.
bool REALLockPictureDescriptionX(REALpictureStruct *picture, REALpictureDescription *description, std::uint32_t type);

} // namespace kvt
