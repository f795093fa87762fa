#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

/// The number of pixels whose red, green and blue are exactly those of `color` (0x00RRGGBB); 0 when the picture cannot
/// be read.
std::int32_t CountColorKVT(REALpictureStruct *picture, std::uint32_t color);

/// Adds the picture's three histograms to memory blocks of 256 unsigned 32-bit counters each (1024 bytes). The first
/// block counts red; the second, declared `blue`, counts green; the third, declared `green`, counts blue. A variable
/// that holds nil receives a new block. `count` receives the number of pixels counted, or -1, with all histograms
/// unchanged, when the picture cannot be read or a block cannot be made, has no address or is too short.
void CountColorsKVT(REALpictureStruct *picture, REALmemoryBlockStruct **red, REALmemoryBlockStruct **blue,
                    REALmemoryBlockStruct **green, std::int32_t *count);

} // namespace kvt
