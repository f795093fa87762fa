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

// The same in bytes and 16-bit integers, for moderate factors.

/// Half the sum, rounded down.
KVT_INLINE std::uint8_t HalfSum(std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>(((a + b + 1) >> 1) - ((a ^ b) & 1));
}

KVT_INLINE std::uint8_t GrayOf(RgbBytes pixel) { return HalfSum(HalfSum(pixel.red, pixel.blue), pixel.green); }

/// A level and its gray.
struct Levels {
    KVT_INLINE Levels(std::uint8_t grayLevel, std::uint8_t itself)
        : gray(grayLevel), level(itself), higher(Higher(gray, level)),
          distance(Difference(higher, Lower(gray, level))) {}
    std::uint8_t gray;
    std::uint8_t level;
    std::uint8_t higher;
    std::uint16_t distance;
};

/// Each channel's level becomes stretch(its Levels).
template <class Stretch> KVT_INLINE RgbBytes StretchEach(RgbBytes pixel, Stretch stretch) {
    const std::uint8_t gray = GrayOf(pixel);
    return {stretch({gray, pixel.red}), stretch({gray, pixel.green}), stretch({gray, pixel.blue})};
}

/// A part of a distance: the upper half of a product, with part / 255 rounded up to 65536ths by so little that a
/// distance below 256 never carries into the next whole number.
struct Part {
    explicit Part(std::int32_t factor) : in65536ths(static_cast<std::uint16_t>(factor % 255 * 257 + 1)) {}
    KVT_INLINE std::uint16_t Of(std::uint16_t distance) const {
        return static_cast<std::uint16_t>(std::uint32_t{distance} * in65536ths >> 16);
    }
    std::uint16_t in65536ths;
};

/// Up or down by so much, limited to 0..255. Up is down among the complements.
KVT_INLINE std::uint8_t Moved(std::uint8_t level, bool up, std::uint8_t by) {
    const auto flip = static_cast<std::uint8_t>(up ? 255 : 0);
    const auto room = static_cast<std::uint8_t>(level ^ flip);
    return static_cast<std::uint8_t>(Difference(Higher(room, by), by) ^ flip);
}

/// Factors below two distances move a level by a part of its distance, from where it is or from its gray.
template <bool FromLevel> struct SlightSaturation {
    Part part;

    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        return StretchEach(pixel, [*this](Levels at) KVT_INLINE_LAMBDA {
            return Moved(FromLevel ? at.level : at.gray, at.higher == at.level,
                         static_cast<std::uint8_t>(part.Of(at.distance)));
        });
    }
};

/// `Sign` times a factor: whole distances and a part of one from the gray.
template <int Sign> struct ModerateSaturation {
    static constexpr std::int32_t kLargestFactor = 125 * 255; ///< beyond it, sums could overflow

    explicit ModerateSaturation(std::int32_t factor) : whole(static_cast<std::uint16_t>(factor / 255)), part(factor) {}
    std::uint16_t whole;
    Part part;

    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        return StretchEach(pixel, [*this](Levels at) KVT_INLINE_LAMBDA {
            const auto sum = static_cast<std::int16_t>(at.distance * whole + part.Of(at.distance));
            return Moved(at.gray, at.higher == (Sign > 0 ? at.level : at.gray),
                         static_cast<std::uint8_t>(Lower<std::int16_t>(sum, 255)));
        });
    }
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
    if (factor >= 0 && factor < 255)
        return MapWhole(picture, SlightSaturation<false>{Part(factor)});
    if (factor > 0 && factor < 2 * 255)
        return MapWhole(picture, SlightSaturation<true>{Part(factor)});
    if (factor > 0 && factor <= ModerateSaturation<1>::kLargestFactor)
        return MapWhole(picture, ModerateSaturation<1>(factor));
    if (factor < 0 && -factor <= ModerateSaturation<-1>::kLargestFactor)
        return MapWhole(picture, ModerateSaturation<-1>(-factor));
    return MapWhole(picture, Saturation{factor});
}

} // namespace kvt
