#include "tone/tint.h"

#include "pixels/map_picture.h"

namespace kvt {
namespace {

struct Weights {
    explicit Weights(std::uint32_t color)
        : red(RgbOfColor(color).red / 255.0), green(RgbOfColor(color).green / 255.0),
          blue(RgbOfColor(color).blue / 255.0) {}
    double red;
    double green;
    double blue;
};

struct Tint {
    Weights weight;
    Weights tint;
    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        const double gray = pixel.red * weight.red + pixel.green * weight.green + pixel.blue * weight.blue;
        return {Tinted(tint.red * gray), Tinted(tint.green * gray), Tinted(tint.blue * gray)};
    }
    /// A level of 0 to 765: truncated first, which leaves the limit to 16-bit integers.
    KVT_INLINE static std::uint8_t Tinted(double level) {
        return static_cast<std::uint8_t>(ToByte(static_cast<std::int16_t>(level)));
    }
};

} // namespace

REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase) {
    return MapPicture(source, NewPicture::LikeSource, kWholePicture, Tint{Weights(greyBase), Weights(sepiaBase)});
}

} // namespace kvt
