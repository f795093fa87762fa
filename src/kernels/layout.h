#pragma once

#include "pixels/picture_editor.h"

#include <cstdint>

namespace kvt {

/// How a pixel lies in its four bytes: at which byte its channels and its other byte (alpha, a skipped byte or the
/// transparency) stand, and what the other byte holds where the pixel is opaque. As a little-endian word, byte 0 is the
/// lowest.
struct Layout {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
    std::uint8_t other;
    std::uint8_t opaque;

    /// The word with these bytes.
    constexpr std::uint32_t Word(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t o) const {
        return r << 8 * red | g << 8 * green | b << 8 * blue | o << 8 * other;
    }
    /// The channels of a host color 0x00RRGGBB; its top byte does not count. The other byte is 0.
    constexpr std::uint32_t Color(std::uint32_t color) const {
        return Word(color >> 16 & 255, color >> 8 & 255, color & 255, 0);
    }
    /// Likewise, as an opaque pixel.
    constexpr std::uint32_t Pixel(std::uint32_t color) const { return Color(color) | OpaqueBits(); }
    constexpr std::uint32_t ColorBits() const { return Word(255, 255, 255, 0); }
    constexpr std::uint32_t OpaqueBits() const { return Word(0, 0, 0, opaque); }

    /// One value a channel, and one for the other byte, in the order of the bytes.
    template <class T> struct ByteOrder { T at[4]; };
    template <class T> constexpr ByteOrder<T> InByteOrder(T r, T g, T b, T o) const {
        ByteOrder<T> values{};
        values.at[red] = r;
        values.at[green] = g;
        values.at[blue] = b;
        values.at[other] = o;
        return values;
    }

    friend constexpr bool operator==(const Layout &, const Layout &) = default;
};

/// Bitmap contexts whose alpha (or skipped byte) comes last: red, green, blue, alpha in memory.
inline constexpr Layout kAlphaHigh{0, 1, 2, 3, 255};
/// Bitmap contexts whose alpha (or skipped byte) comes first.
inline constexpr Layout kAlphaLow{1, 2, 3, 0, 255};
/// Console pictures: blue, green, red, and a transparency of 7 bits, 0 opaque; its top bit is ignored.
inline constexpr Layout kRowTable{2, 1, 0, 3, 0};

/// The layout of an open editor's pixels.
inline const Layout &LayoutOf(const PictureEditor &editor) {
    if (editor.format == kConsoleFormat)
        return kRowTable;
    return editor.format % 2 ? kAlphaHigh : kAlphaLow;
}

} // namespace kvt
