#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

/// Whether every pixel of a rectangle passes: 1 or 0. Only a negative width or height stands for the whole picture's;
/// an empty rectangle passes. 0 when the picture cannot be read. The forms that end in 2 test the whole picture.
unsigned char isWhite(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height);
unsigned char isWhite2(REALpictureStruct *picture);
unsigned char isBlack(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height);
unsigned char isBlack2(REALpictureStruct *picture);

/// Gray: no two channels differ by more than the tolerance, whose sign does not count.
unsigned char isGray(REALpictureStruct *picture, std::int32_t tolerance, std::int32_t left, std::int32_t top,
                     std::int32_t width, std::int32_t height);
unsigned char isGray2(REALpictureStruct *picture, std::int32_t tolerance);

/// The share of the picture's pixels, 0 to 1, that are not dark (some channel reaches 30) and whose green differs from
/// red or from blue by more than the threshold; its sign counts. Not a number for a picture without pixels, 0 for one
/// that cannot be read.
double ColornessKVT(REALpictureStruct *picture, std::int32_t threshold);

} // namespace kvt
