#pragma once

#include "expected/picture.h"

#include <cstdint>
#include <vector>

namespace expected {

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
    bool operator==(const StoredPicture &) const = default;
};

/// Every pixel opaque.
StoredPicture Store(const Picture &picture, Layout layout);
Picture Load(const StoredPicture &stored);

} // namespace expected
