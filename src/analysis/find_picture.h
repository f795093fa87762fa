#pragma once

#include "kernels/point.h"

namespace kvt {

/// Where `pic` occurs in `picture`, pixel for pixel by red, green and blue: 1, with the column and row of its top left
/// pixel in `x` and `y`, for the topmost occurrence and, of those in one row, the leftmost. 0, with `x` and `y` 0, when
/// it does not occur, has no pixels or a picture cannot be read. Null addresses are fine.
unsigned char FindPicture(REALpictureStruct *picture, REALpictureStruct *pic, std::int32_t *x, std::int32_t *y);

/// The same on open pictures; `hit` is left alone when there is none.
bool FindNeedle(const PictureEditor &haystack, const PictureEditor &needle, Point &hit);

} // namespace kvt
