#pragma once

#include <cstdint>

namespace standin {

/// How the 32-bit word of a pixel holds its channels.
enum class Layout {
    AlphaHigh, ///< red, green, blue, alpha in memory
    AlphaLow,  ///< alpha, red, green, blue in memory
    RowTable,  ///< blue, green, red, transparency in memory
};

/// A color 0x00RRGGBB.
using ColorValue = std::uint32_t;

constexpr ColorValue MakeColor(unsigned red, unsigned green, unsigned blue) { return red << 16 | green << 8 | blue; }
constexpr unsigned Red(ColorValue color) { return color >> 16 & 255; }
constexpr unsigned Green(ColorValue color) { return color >> 8 & 255; }
constexpr unsigned Blue(ColorValue color) { return color & 255; }

/// The word of a color with that fourth byte (alpha, or a console picture's transparency).
constexpr std::uint32_t WordOf(Layout layout, ColorValue color, unsigned extra) {
    switch (layout) {
    case Layout::AlphaHigh:
        return Red(color) | Green(color) << 8 | Blue(color) << 16 | extra << 24;
    case Layout::AlphaLow:
        return extra | Red(color) << 8 | Green(color) << 16 | Blue(color) << 24;
    case Layout::RowTable:
        break;
    }
    return (color & 0xFFFFFF) | extra << 24;
}

constexpr unsigned OpaqueExtra(Layout layout) { return layout == Layout::RowTable ? 0 : 255; }
constexpr std::uint32_t OpaqueWord(Layout layout, ColorValue color) {
    return WordOf(layout, color, OpaqueExtra(layout));
}

constexpr ColorValue ColorOf(Layout layout, std::uint32_t word) {
    switch (layout) {
    case Layout::AlphaHigh:
        return MakeColor(word & 255, word >> 8 & 255, word >> 16 & 255);
    case Layout::AlphaLow:
        return MakeColor(word >> 8 & 255, word >> 16 & 255, word >> 24);
    case Layout::RowTable:
        break;
    }
    return word & 0xFFFFFF;
}

constexpr unsigned ExtraOf(Layout layout, std::uint32_t word) {
    return layout == Layout::AlphaLow ? word & 255 : word >> 24;
}

} // namespace standin
