#pragma once

#include <cstddef>
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

} // namespace expected
