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
    color &= 0xFFFFFF;
    return layout == Layout::AlphaHigh  ? __builtin_bswap32(color << 8 | extra)
           : layout == Layout::AlphaLow ? __builtin_bswap32(extra << 24 | color)
                                        : extra << 24 | color;
}

constexpr unsigned OpaqueExtra(Layout layout) { return layout == Layout::RowTable ? 0 : 255; }
constexpr std::uint32_t OpaqueWord(Layout layout, ColorValue color) {
    return WordOf(layout, color, OpaqueExtra(layout));
}

constexpr ColorValue ColorOf(Layout layout, std::uint32_t word) {
    return layout == Layout::AlphaHigh  ? __builtin_bswap32(word) >> 8
           : layout == Layout::AlphaLow ? __builtin_bswap32(word) & 0xFFFFFF
                                        : word & 0xFFFFFF;
}

constexpr unsigned ExtraOf(Layout layout, std::uint32_t word) {
    return layout == Layout::AlphaLow ? word & 255 : word >> 24;
}

} // namespace standin
