#pragma once

#include "pixels/area.h"
#include "pixels/instruction_set.h"
#include "pixels/layout.h"
#include "pixels/rows.h"

#include <cstddef>
#include <cstdint>

/// Drawing: pixels that follow from where they lie. As with the walks, a callable's operator() is KVT_INLINE.
namespace kvt {

/// target(x, y) = test(x, y) ? fore : back for every pixel of the area that lies inside the picture, row by row from
/// the top.
template <class Test> void Paint(const PictureEditor &target, Area area, Rgb back, Rgb fore, Test test) {
    const Area inside = Inside(target, area);
    if (inside.Empty())
        return;
    WithLayout(target, [&](auto layout) {
        using To = decltype(layout);
        AtActiveLevel([=, rows = RowsOf(target)]() KVT_INLINE_LAMBDA {
            const std::uint32_t backWord = To::Word(back);
            const std::uint32_t foreWord = To::Word(fore);
            for (std::int32_t row = inside.top; row < inside.bottom; ++row) {
                unsigned char *pixels = rows[row];
                KVT_INDEPENDENT_ITERATIONS
                for (std::ptrdiff_t x = inside.left; x < inside.right; ++x)
                    StoreWord(pixels + x * To::kBytes, test(x, row) ? foreWord : backWord);
            }
        });
    });
}

/// Blends single pixels of a picture towards a color. `Layout` is the picture's, found once for all pixels of a shape.
template <class Layout> class Blender {
  public:
    Blender(const PictureEditor &target, Rgb color)
        : rows_(RowsOf(target)), width_(static_cast<std::uint32_t>(target.width)),
          height_(static_cast<std::uint32_t>(target.height)), even_(Layout::Word(color)),
          odd_(Layout::Word(color) >> 8) {}

    /// Each channel of the pixel at (x, y) becomes (old * weight + color * (255 - weight)) / 255 with a weight 0..255,
    /// and the pixel opaque; nothing outside the picture.
    KVT_INLINE void operator()(std::int32_t x, std::int32_t y, std::uint32_t weight) const {
        if (static_cast<std::uint32_t>(x) >= width_ || static_cast<std::uint32_t>(y) >= height_)
            return;
        unsigned char *pixel = rows_[y] + std::ptrdiff_t{x} * Layout::kBytes;
        const std::uint32_t old = LoadWord(pixel);
        const std::uint32_t blended = even_.Blend(old, weight) | odd_.Blend(old >> 8, weight) << 8;
        StoreWord(pixel, (blended & Layout::kColorBits) | Layout::kOpaqueBits);
    }

  private:
    /// The color's part in bytes 0 and 2 of a word, which are blended at once, each in 16 bits of its own: a blend is
    /// at most 255 * 255, and up to there n / 255 = (m + m / 256) / 256 with m = n + 1.
    struct TwoBytes {
        static constexpr std::uint32_t kBytes = 0x00FF00FF;
        explicit TwoBytes(std::uint32_t word) : color(word & kBytes), base(color * 255 + 0x00010001) {}
        /// (old - color) * weight may be negative, but the sum is not, and computing modulo 2^32 leaves it as it is.
        KVT_INLINE std::uint32_t Blend(std::uint32_t old, std::uint32_t weight) const {
            const std::uint32_t sums = ((old & kBytes) - color) * weight + base;
            return (sums + (sums >> 8 & kBytes)) >> 8 & kBytes;
        }
        std::uint32_t color;
        std::uint32_t base; ///< color * 255 + 1
    };

    Rows rows_;
    std::uint32_t width_;
    std::uint32_t height_;
    TwoBytes even_;
    TwoBytes odd_;
};

} // namespace kvt
