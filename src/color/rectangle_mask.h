#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

/// A black and white mask of where the picture is colored (not gray) inside a rectangle, by the boxes around what
/// belongs together: a box grows as long as colored pixels lie directly beside it, above, below, left or right; those
/// that meet it at a corner do not join. All pixels of the boxes are black, all others white. Only a negative width or
/// height stands for the whole picture's. A new picture of the same size, with one reference for the caller; null when
/// the picture cannot be read, memory is refused or no new picture can be made. The form that ends in 2 takes the whole
/// picture.
REALpictureStruct *ExtractColorRectangleMaskKVT(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                                std::int32_t width, std::int32_t height);
REALpictureStruct *ExtractColorRectangleMaskKVT2(REALpictureStruct *picture);

} // namespace kvt
