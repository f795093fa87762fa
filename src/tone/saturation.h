#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

/// Moves every channel away from the pixel's gray, (red + blue + 2 green) / 4, by (amount + 255) / 255 of its distance:
/// 0 changes nothing, -255 leaves the gray, 255 doubles the distance. A new picture of the same size
/// with one reference for the caller; null when the picture cannot be read or no new one can be made.
REALpictureStruct *SaturationPicture(REALpictureStruct *picture, std::int32_t amount);

} // namespace kvt
