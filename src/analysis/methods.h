#pragma once

#include "host/handles.h"

#include <cstdint>

/// The routines of the methods that test, search and scroll a picture.
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

/// Where `pic` occurs in `picture`, pixel for pixel by red, green and blue: 1, with the column and row of its top left
/// pixel in `x` and `y`, for the topmost occurrence and, of those in one row, the leftmost. 0, with `x` and `y` 0, when
/// it does not occur, has no pixels or a picture cannot be read. Null addresses are fine.
unsigned char FindPicture(REALpictureStruct *picture, REALpictureStruct *pic, std::int32_t *x, std::int32_t *y);

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
