#pragma once

#include <cstddef>
#include <cstdint>
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

Picture Filled(int width, int height, Rgb color);

/// A part, which lies inside the picture.
Picture Cut(const Picture &picture, int left, int top, int width, int height);

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

// Parts of pictures.

/// A rectangle as scripts pass it. A negative width or height stands for the whole picture's.
struct Rectangle {
    int left = 0;
    int top = 0;
    int width = -1;
    int height = -1;
};

/// A rectangle as the classes hold it. Zeros stand for the whole picture.
struct Bounds {
    int minX = 0;
    int minY = 0;
    int maxX = 0;
    int maxY = 0;
};

/// Columns `left` up to, not including, `right` in rows `top` up to, not including, `bottom`, all inside the picture.
struct Area {
    long long left = 0;
    long long top = 0;
    long long right = 0;
    long long bottom = 0;
    bool Contains(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
};

Area AreaOf(const Picture &picture, Rectangle rectangle);
Area AreaOf(const Picture &picture, Bounds bounds);

/// `before` with op(pixel of the source) in the area.
template <class Op> Picture MapArea(const Picture &source, Area area, Picture before, Op op) {
    for (int y = 0; y < source.height; ++y)
        for (int x = 0; x < source.width; ++x)
            if (area.Contains(x, y))
                before.At(x, y) = op(source.At(x, y));
    return before;
}

/// A picture of the source's size with op(pixel) everywhere.
template <class Op> Picture MapAll(const Picture &source, Op op) {
    return MapArea(source, AreaOf(source, Rectangle{}), source, op);
}

// Pictures in memory.

/// How a 32-bit pixel word holds its four bytes.
enum class Layout { AlphaHigh, AlphaLow, RowTable };

/// Of a format code: 1 to 6 of bitmap contexts, 8 of console pictures.
Layout LayoutOf(int format);

std::uint32_t OpaqueWord(Rgb pixel, Layout layout);
Rgb ColorOf(std::uint32_t word, Layout layout);

/// The gray 0..255 that a pixel's alpha or transparency stands for, and the word with another one stored.
int MaskValue(std::uint32_t word, Layout layout);
std::uint32_t WithMaskValue(std::uint32_t word, int value, Layout layout);

/// A picture as it lies in memory, row by row without padding.
struct StoredPicture {
    int width = 0;
    int height = 0;
    Layout layout = Layout::AlphaHigh;
    std::vector<std::uint32_t> words;
};

/// Every pixel opaque.
StoredPicture Store(const Picture &picture, Layout layout);
Picture Load(const StoredPicture &stored);

} // namespace expected
