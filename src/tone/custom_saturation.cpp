#include "tone/custom_saturation.h"

#include "pixels/channel_tables.h"

namespace kvt {
namespace {

struct Saturation {
    std::int32_t factor; ///< 255ths of the distance from gray
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const std::int32_t gray = (pixel.red + pixel.blue + 2 * pixel.green) / 4;
        return {Stretch(gray, pixel.red), Stretch(gray, pixel.green), Stretch(gray, pixel.blue)};
    }
    KVT_INLINE std::int32_t Stretch(std::int32_t gray, std::int32_t level) const {
        return ToByte(gray + (level - gray) * factor / 255);
    }
};

} // namespace

REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b) {
    return MapChannels(picture, [=](double level) { return level * a + b; });
}

REALpictureStruct *SaturationPicture(REALpictureStruct *picture, std::int32_t amount) {
    // From 256 times the distance on, every channel but gray itself ends at 0 or 255, so a larger factor changes
    // nothing and the products stay small.
    constexpr std::int64_t kLargestFactor = std::int64_t{256} * 255;
    const std::int64_t factor = std::clamp(std::int64_t{amount} + 255, -kLargestFactor, kLargestFactor);
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, Saturation{static_cast<std::int32_t>(factor)});
}

} // namespace kvt
