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

/// Whether levels can come out above 255, up to 765.
enum class Limit { NotNeeded, Needed };

template <Limit kLimit> struct Tint {
    Weights weight;
    Weights tint;
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const double gray = pixel.red * weight.red + pixel.green * weight.green + pixel.blue * weight.blue;
        return {Tinted(tint.red * gray), Tinted(tint.green * gray), Tinted(tint.blue * gray)};
    }
    KVT_INLINE static std::int32_t Tinted(double level) {
        const auto truncated = static_cast<std::int32_t>(level);
        return kLimit == Limit::Needed ? Lower(truncated, 255) : truncated;
    }
};

template <Limit kLimit> REALpictureStruct *NewTinted(REALpictureStruct *source, Weights weight, Weights tint) {
    return MapPicture(source, NewPicture::LikeSource, kWholePicture, Tint<kLimit>{weight, tint});
}

} // namespace

REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase) {
    const Rgb weight = RgbOfColor(greyBase);
    const Rgb tint = RgbOfColor(sepiaBase);
    const std::int32_t strongest = Higher(Higher(tint.red, tint.green), tint.blue);
    const bool staysWithin = (weight.red + weight.green + weight.blue) * strongest <= 255 * 255;
    return staysWithin ? NewTinted<Limit::NotNeeded>(source, Weights(greyBase), Weights(sepiaBase))
                       : NewTinted<Limit::Needed>(source, Weights(greyBase), Weights(sepiaBase));
}

} // namespace kvt
