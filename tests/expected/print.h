#pragma once

#include "expected/picture.h"

#include <ostream>

/// What a failed comparison shows. Every test that compares these values includes this.
namespace expected {

inline void PrintTo(const Rgb &pixel, std::ostream *out) {
    *out << '(' << pixel.red << ", " << pixel.green << ", " << pixel.blue << ')';
}

inline void PrintTo(const Picture &picture, std::ostream *out) {
    *out << picture.width << " x " << picture.height;
    if (!picture.pixels.empty()) {
        *out << " beginning with ";
        PrintTo(picture.pixels.front(), out);
    }
}

} // namespace expected
