#pragma once

#include "kernels/point.h"

namespace kvt {

/// Where `pic` occurs in `picture`, pixel for pixel by red, green and blue: 1, with the column and row of its top left
/// pixel in `x` and `y`, for the topmost occurrence and, of those in one row, the leftmost. 0, with `x` and `y` 0, when
/// it does not occur, has no pixels or a picture cannot be read. Null addresses are fine.
unsigned char FindPicture(REALpictureStruct *picture, REALpictureStruct *pic, std::int32_t *x, std::int32_t *y);

inline constexpr std::uint32_t kPrime = 0x7FFFFFFF;

/// What a picture's hash is computed with: numbers below kPrime.
struct HashBases {
    std::uint32_t column;
    std::uint32_t row;
};

inline constexpr std::int32_t kHashes = 2;

/// Yields bases for two hashes, at every call others that no picture can have been made for.
using DrawBases = void (*)(HashBases (&bases)[kHashes]);
void DrawByChance(HashBases (&bases)[kHashes]);

/// What a search took beside reading the haystack a few times, or once more for each draw.
struct SearchEffort {
    std::int64_t compared = 0; ///< pixels found equal, one by one
    std::int32_t draws = 0;
};

/// The same on open pictures; `hit` is left alone when there is none.
bool FindNeedle(const PictureEditor &haystack, const PictureEditor &needle, Point &hit, SearchEffort &effort,
                DrawBases draw = DrawByChance);

} // namespace kvt
