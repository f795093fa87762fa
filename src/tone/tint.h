#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

/// A tinted monochrome picture: each pixel's channels, weighted by those of `greyBase` / 255 and added up, give its
/// gray; that gray times the channels of `sepiaBase` / 255 gives the result, truncated toward zero and limited to 255.
/// Colors are 0x00RRGGBB. One reference for the caller; null when the source cannot be read or no new picture can be
/// made.
REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase);

} // namespace kvt
