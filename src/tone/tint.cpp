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
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const double gray = pixel.red * weight.red + pixel.green * weight.green + pixel.blue * weight.blue;
        return {ToByte(tint.red * gray), ToByte(tint.green * gray), ToByte(tint.blue * gray)};
    }
};

} // namespace

REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase) {
    return MapPicture(source, NewPicture::LikeSource, kWholePicture, Tint{Weights(greyBase), Weights(sepiaBase)});
}

} // namespace kvt
