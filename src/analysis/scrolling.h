#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

// In-place scrolling: positive deltas move the content down or right. With `wrap` other than 0, what leaves at one edge
// comes in again at the opposite one. Without, the platform scrolls, what leaves is lost, and only a picture that the
// host keeps in a graphics world can be scrolled. `scrollmask` other than 0 scrolls the picture's mask likewise, before
// the picture.

/// 1, or 0 when the mask could not be scrolled (the picture is then left alone) or the picture could not.
unsigned char ScrollVerticalKVT(REALpictureStruct *picture, std::int32_t delta, signed char wrap,
                                signed char scrollmask);

/// 1, whatever became of picture and mask.
unsigned char ScrollHorizontalKVT(REALpictureStruct *picture, std::int32_t delta, signed char wrap,
                                  signed char scrollmask);

/// Horizontally, then vertically; the result is the vertical one's.
unsigned char ScrollKVT(REALpictureStruct *picture, std::int32_t deltaX, std::int32_t deltaY, signed char wrap,
                        signed char scrollmask);

} // namespace kvt
