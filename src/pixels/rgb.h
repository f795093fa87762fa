#pragma once

#include "pixels/inline.h"

#include <cstdint>

/// A pixel's channels and the arithmetic on their levels, whatever bytes they were read from.
namespace kvt {

/// Red, green and blue, each 0..255.
struct Rgb {
    std::int32_t red;
    std::int32_t green;
    std::int32_t blue;

    /// Without branches, so that loops over it vectorise.
    KVT_INLINE friend constexpr bool operator==(Rgb a, Rgb b) {
        return ((a.red ^ b.red) | (a.green ^ b.green) | (a.blue ^ b.blue)) == 0;
    }
};

/// Red, green and blue in single bytes, for operations that need no more.
struct RgbBytes {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

/// The channels of a host color 0x00RRGGBB; the top byte does not count.
KVT_INLINE constexpr Rgb RgbOfColor(std::uint32_t color) {
    return {static_cast<std::int32_t>(color >> 16 & 255), static_cast<std::int32_t>(color >> 8 & 255),
            static_cast<std::int32_t>(color & 255)};
}

KVT_INLINE constexpr Rgb GrayLevel(std::int32_t level) { return {level, level, level}; }

/// Limits to 0..255.
KVT_INLINE constexpr std::int32_t ToByte(std::int32_t value) { return value < 0 ? 0 : value > 255 ? 255 : value; }

/// Truncates toward zero and limits to 0..255; limited before the conversion, so that no value is too large for it. Not
/// a number gives 0.
KVT_INLINE constexpr std::int32_t ToByte(double value) {
    return static_cast<std::int32_t>(value > 0.0 ? value < 255.0 ? value : 255.0 : 0.0);
}

/// Truncates toward zero, limited to 32 bits; not a number gives 0.
KVT_INLINE constexpr std::int32_t Truncate(double value) {
    return value != value          ? 0
           : value < -2147483648.0 ? INT32_MIN
           : value > 2147483647.0  ? INT32_MAX
                                   : static_cast<std::int32_t>(value);
}

/// Arithmetic that keeps to the type of its levels, bytes or 32-bit numbers. The standard library's functions need not
/// be inlined, and then run as baseline code.
template <class Level> KVT_INLINE constexpr Level Higher(Level a, Level b) { return a > b ? a : b; }
template <class Level> KVT_INLINE constexpr Level Lower(Level a, Level b) { return a < b ? a : b; }
/// `higher` - `lower`, which is not larger.
template <class Level> KVT_INLINE constexpr Level Difference(Level higher, Level lower) {
    return static_cast<Level>(higher - lower);
}

} // namespace kvt
