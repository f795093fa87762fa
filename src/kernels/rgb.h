#pragma once

#include "kernels/inline.h"
#include "kernels/layout.h"

#include <cstdint>
#include <cstring>

/// Single pixels: their channels, and arithmetic that ends in a level.
namespace kvt {

KVT_INLINE std::uint32_t LoadWord(const unsigned char *pixel) {
    std::uint32_t word;
    std::memcpy(&word, pixel, sizeof word);
    return word;
}

KVT_INLINE void StoreWord(unsigned char *pixel, std::uint32_t word) { std::memcpy(pixel, &word, sizeof word); }

/// A value a channel.
template <class T> struct Channelwise {
    T red;
    T green;
    T blue;
};

/// Levels, each 0..255.
using Rgb = Channelwise<std::int32_t>;

/// The channels of a pixel word.
KVT_INLINE Rgb Channels(const Layout &layout, std::uint32_t word) {
    const auto level = [word](int byte) KVT_INLINE_LAMBDA { return static_cast<std::int32_t>(word >> 8 * byte & 255); };
    return {level(layout.red), level(layout.green), level(layout.blue)};
}

/// The opaque pixel word of three levels.
KVT_INLINE std::uint32_t Word(const Layout &layout, Rgb pixel) {
    return layout.Word(static_cast<std::uint32_t>(pixel.red), static_cast<std::uint32_t>(pixel.green),
                       static_cast<std::uint32_t>(pixel.blue), layout.opaque);
}

/// The channels of a host color 0x00RRGGBB; the top byte does not count.
constexpr Rgb RgbOfColor(std::uint32_t color) {
    return {static_cast<std::int32_t>(color >> 16 & 255), static_cast<std::int32_t>(color >> 8 & 255),
            static_cast<std::int32_t>(color & 255)};
}

/// Truncates toward zero and limits to 0..255; limited before the conversion, so that no value is too large for it. Not
/// a number gives 0.
KVT_INLINE constexpr std::int32_t ToByte(double value) {
    return static_cast<std::int32_t>(value > 0.0 ? value < 255.0 ? value : 255.0 : 0.0);
}

/// Truncates toward zero, limited to 32 bits; not a number gives 0.
constexpr std::int32_t Truncate(double value) {
    return value != value          ? 0
           : value < -2147483648.0 ? INT32_MIN
           : value > 2147483647.0  ? INT32_MAX
                                   : static_cast<std::int32_t>(value);
}

} // namespace kvt
