#pragma once

#include "kernels/area.h"

namespace kvt {

inline constexpr std::uint32_t kPrime = 0x7FFFFFFF;

/// What a picture's hash is computed with: numbers below kPrime.
struct HashBases {
    std::uint32_t column;
    std::uint32_t row;
};

inline constexpr std::int32_t kHashes = 2;

/// Yields bases for two hashes, at every call others that no picture can have been made for.
using DrawBases = void (*)(HashBases (&bases)[kHashes]);

/// From the system's source of randomness; while that has none to give, from the time and from where memory lies.
void DrawByChance(HashBases (&bases)[kHashes]);

/// What a search took beside reading the haystack a few times, or once more for each draw.
struct SearchEffort {
    std::int64_t compared = 0; ///< pixels found equal, one by one
    std::int32_t draws = 0;
};

/// Where the needle occurs in the haystack first, row by row; `hit` is left alone when it does not.
bool FindNeedle(const PictureEditor &haystack, const PictureEditor &needle, Point &hit, SearchEffort &effort,
                DrawBases draw = DrawByChance);

} // namespace kvt
