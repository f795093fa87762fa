#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

// Each yields a new picture of the same size with one reference for the caller; null when the picture cannot be read or
// no new one can be made.

/// Every channel's level x becomes x * a + b, truncated toward zero and limited to 0..255.
REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b);

/// Moves every channel away from the pixel's gray, (red + blue + 2 green) / 4, by (amount + 255) / 255 of its distance:
/// 0 changes nothing, -255 leaves the gray, 255 doubles the distance.
REALpictureStruct *SaturationPicture(REALpictureStruct *picture, std::int32_t amount);

} // namespace kvt
