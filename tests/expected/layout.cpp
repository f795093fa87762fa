#include "expected/layout.h"

namespace expected {

namespace {

/// The byte at bits 8 × index.
int ByteOf(std::uint32_t word, int index) { return static_cast<int>((word >> (8 * index)) & 0xFF); }

/// The word of four bytes, the lowest bits first.
std::uint32_t WordOf(int byte0, int byte1, int byte2, int byte3) {
    return static_cast<std::uint32_t>(byte0) + static_cast<std::uint32_t>(byte1) * 256u +
           static_cast<std::uint32_t>(byte2) * 65536u + static_cast<std::uint32_t>(byte3) * 16777216u;
}

} // namespace

Layout LayoutOf(int format) {
    if (format == 8)
        return Layout::RowTable;
    return format == 1 || format == 3 || format == 5 ? Layout::AlphaHigh : Layout::AlphaLow;
}

std::uint32_t OpaqueWord(Rgb pixel, Layout layout) {
    switch (layout) {
    case Layout::AlphaHigh:
        return WordOf(pixel.red, pixel.green, pixel.blue, 255);
    case Layout::AlphaLow:
        return WordOf(255, pixel.red, pixel.green, pixel.blue);
    case Layout::RowTable:
        break;
    }
    return WordOf(pixel.blue, pixel.green, pixel.red, 0);
}

Rgb ColorOf(std::uint32_t word, Layout layout) {
    switch (layout) {
    case Layout::AlphaHigh:
        return {ByteOf(word, 0), ByteOf(word, 1), ByteOf(word, 2)};
    case Layout::AlphaLow:
        return {ByteOf(word, 1), ByteOf(word, 2), ByteOf(word, 3)};
    case Layout::RowTable:
        break;
    }
    return {ByteOf(word, 2), ByteOf(word, 1), ByteOf(word, 0)};
}

int MaskValue(std::uint32_t word, Layout layout) {
    switch (layout) {
    case Layout::AlphaHigh:
        return ByteOf(word, 3);
    case Layout::AlphaLow:
        return ByteOf(word, 0);
    case Layout::RowTable:
        break;
    }
    const int transparency = ByteOf(word, 3) % 128;
    return transparency * 2 + transparency % 2;
}

std::uint32_t WithMaskValue(std::uint32_t word, int value, Layout layout) {
    switch (layout) {
    case Layout::AlphaHigh:
        return WordOf(ByteOf(word, 0), ByteOf(word, 1), ByteOf(word, 2), value);
    case Layout::AlphaLow:
        return WordOf(value, ByteOf(word, 1), ByteOf(word, 2), ByteOf(word, 3));
    case Layout::RowTable:
        break;
    }
    return WordOf(ByteOf(word, 0), ByteOf(word, 1), ByteOf(word, 2), value / 2);
}

StoredPicture Store(const Picture &picture, Layout layout) {
    StoredPicture stored{picture.width, picture.height, layout, {}};
    for (const Rgb &pixel : picture.pixels)
        stored.words.push_back(OpaqueWord(pixel, layout));
    return stored;
}

Picture Load(const StoredPicture &stored) {
    Picture picture{stored.width, stored.height, {}};
    for (const std::uint32_t word : stored.words)
        picture.pixels.push_back(ColorOf(word, stored.layout));
    return picture;
}

} // namespace expected
