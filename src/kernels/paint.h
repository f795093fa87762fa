#pragma once

#include "kernels/job.h"
#include "kernels/rgb.h"

#include <cstddef>
#include <cstdint>

/// Drawing: pixels that follow from where they lie. Colors are host colors 0x00RRGGBB.
namespace kvt {

/// The pixel at (x, y) becomes `fore` where tops[x] <= y < ends[x], else `back`, for every pixel of the area, which
/// lies inside the picture.
void Paint(const PictureEditor &target, Area area, std::uint32_t back, std::uint32_t fore, const std::int32_t *tops,
           const std::int32_t *ends);

/// Blends single pixels of a picture towards a color.
class Blender {
  public:
    Blender(const PictureEditor &target, Rgb color)
        : rows_(RowsOf(target)), width_(static_cast<std::uint32_t>(target.width)),
          height_(static_cast<std::uint32_t>(target.height)), colorBits_(LayoutOf(target).ColorBits()),
          opaque_(LayoutOf(target).OpaqueBits()), even_(Word(LayoutOf(target), color)),
          odd_(Word(LayoutOf(target), color) >> 8) {}

    /// Each channel of the pixel at (x, y) becomes (old * weight + color * (255 - weight)) / 255 with a weight 0..255,
    /// and the pixel opaque; nothing outside the picture.
    KVT_INLINE void operator()(std::int32_t x, std::int32_t y, std::uint32_t weight) const {
        if (static_cast<std::uint32_t>(x) >= width_ || static_cast<std::uint32_t>(y) >= height_)
            return;
        unsigned char *pixel = rows_[y] + std::ptrdiff_t{x} * 4;
        const std::uint32_t old = LoadWord(pixel);
        const std::uint32_t blended = even_.Blend(old, weight) | odd_.Blend(old >> 8, weight) << 8;
        StoreWord(pixel, (blended & colorBits_) | opaque_);
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
    std::uint32_t colorBits_;
    std::uint32_t opaque_;
    TwoBytes even_;
    TwoBytes odd_;
};

} // namespace kvt
