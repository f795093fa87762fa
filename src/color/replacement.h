#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

// Colors are 0x00RRGGBB and match exactly; their top byte does not count. Each yields a new picture of the same size
// with one reference for the caller; null when the picture cannot be read or no new one can be made.

/// Pixels of the search color become `replaceWithColor`, all others are copied.
REALpictureStruct *ReplaceColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor);

/// Pixels of the search color become `replaceWithColor`, all others `backGroundColor`.
REALpictureStruct *ExtractColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor, std::uint32_t backGroundColor);

} // namespace kvt
