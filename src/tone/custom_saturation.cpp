#include "tone/custom_saturation.h"

#include "pixels/channel_tables.h"

#include <algorithm>
#include <cstdint>

namespace kvt {
namespace {

/// In 255ths of the distance from gray, which may be many times the distance.
struct Saturation {
    std::int32_t factor;
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const std::int32_t gray = (pixel.red + pixel.blue + 2 * pixel.green) / 4;
        return {Stretch(gray, pixel.red), Stretch(gray, pixel.green), Stretch(gray, pixel.blue)};
    }
    KVT_INLINE std::int32_t Stretch(std::int32_t gray, std::int32_t level) const {
        return ToByte(gray + (level - gray) * factor / 255);
    }
};

/// The same in 16-bit integers. What the factor's part below 255 does to a distance d is the upper half of a product:
/// with part / 255 rounded up to 65536ths, by so little that |d| < 256 never carries into the next whole number. Upper
/// halves are rounded down, so that those of negative distances are one less than the truncated quotient.
template <int Sign> class ModerateSaturation {
  public:
    static constexpr std::int32_t kLargestFactor = 125 * 255; ///< beyond it, sums could overflow

    /// For `Sign` times the factor, which is 0 or more.
    explicit ModerateSaturation(std::int32_t factor) {
        const std::int32_t scaled = factor / 255 * 65536 + factor % 255 * 257 + 1;
        part_ = static_cast<std::int16_t>(scaled);
        whole_ = static_cast<std::int16_t>((scaled - part_) / 65536);
    }
    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        const auto gray = static_cast<std::int16_t>((pixel.red + pixel.blue + 2 * pixel.green) / 4);
        return {Stretch(gray, pixel.red), Stretch(gray, pixel.green), Stretch(gray, pixel.blue)};
    }

  private:
    KVT_INLINE std::uint8_t Stretch(std::int16_t gray, std::int16_t level) const {
        const auto distance = static_cast<std::int16_t>(Sign * (level - gray));
        const std::int32_t stretched = distance * whole_ + (distance * part_ >> 16) - (distance >> 15);
        return static_cast<std::uint8_t>(ToByte(static_cast<std::int16_t>(gray + stretched)));
    }

    std::int16_t whole_;
    std::int16_t part_; ///< in 65536ths; negative where the whole part is rounded up
};

/// A new picture with an operation's result for every pixel.
template <class Op> REALpictureStruct *MapWhole(REALpictureStruct *picture, Op op) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, op);
}

} // namespace

REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b) {
    return MapChannels(picture, [=](double level) { return level * a + b; });
}

REALpictureStruct *SaturationPicture(REALpictureStruct *picture, std::int32_t amount) {
    // From 256 times the distance on, every channel but gray itself ends at 0 or 255, so a larger factor changes
    // nothing and the products stay small.
    constexpr std::int64_t kLargestFactor = std::int64_t{256} * 255;
    const auto factor =
        static_cast<std::int32_t>(std::clamp(std::int64_t{amount} + 255, -kLargestFactor, kLargestFactor));
    if (factor >= 0 && factor <= ModerateSaturation<1>::kLargestFactor)
        return MapWhole(picture, ModerateSaturation<1>(factor));
    if (factor < 0 && -factor <= ModerateSaturation<-1>::kLargestFactor)
        return MapWhole(picture, ModerateSaturation<-1>(-factor));
    return MapWhole(picture, Saturation{factor});
}

} // namespace kvt
