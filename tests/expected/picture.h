#pragma once

#include <cstddef>
#include <limits>
#include <ostream>
#include <vector>

namespace expected {

/// Red, green and blue, each 0..255.
struct Rgb {
    int red = 0;
    int green = 0;
    int blue = 0;
    bool operator==(const Rgb &) const = default;
};

/// A picture without layout: `width * height` pixels, row by row from the top.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Rgb> pixels;
    const Rgb &At(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
    Rgb &At(int x, int y) {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
    bool operator==(const Picture &) const = default;
};

// What a failed comparison shows.

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

/// Limits to 0..255.
inline int Limit(long long value) {
    if (value < 0)
        return 0;
    if (value > 255)
        return 255;
    return static_cast<int>(value);
}

/// Toward zero to a signed 32-bit number; beyond its range the nearest one, and 0 for what is not a number.
inline int Truncate(double value) {
    if (value != value)
        return 0;
    if (value >= 2147483647.0)
        return std::numeric_limits<int>::max();
    if (value <= -2147483648.0)
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

} // namespace expected
