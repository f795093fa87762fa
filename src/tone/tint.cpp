#include "tone/methods.h"

#include "kernels/map_picture.h"
#include "kernels/rgb.h"

#include <numeric>

namespace kvt {
namespace {

/// In 255ths of 1, with weights and tints as in a color, the grays (other than 0) for which a level may be a whole
/// number, are multiples of a period.
struct DoubtfulGrays {
    bool seldom;             ///< few of the grays that occur are such
    std::uint32_t inverse;   ///< the period's, modulo 65536
    std::uint32_t multiples; ///< how many grays are such
};

DoubtfulGrays DoubtfulGraysOf(Rgb weight, Rgb tint) {
    constexpr std::int32_t kOne = 255 * 255;
    constexpr std::int32_t kFew = 64; // one of so many
    std::int32_t period = 0;
    for (const std::int32_t level : {tint.red, tint.green, tint.blue})
        if (level > 0)
            period = std::gcd(period, kOne / std::gcd(level, kOne));
    const std::int32_t step = std::gcd(std::gcd(weight.red, weight.green), weight.blue); // from gray to gray
    if (period == 0 || period < kFew * std::gcd(period, step))
        return {};
    const auto odd = static_cast<std::uint32_t>(period);
    std::uint32_t inverse = odd; // an odd number is its own inverse in three bits; each step doubles them
    for (int bits = 3; bits < 16; bits *= 2)
        inverse *= 2 - odd * inverse;
    const std::int32_t largest = (weight.red + weight.green + weight.blue) * 255;
    return {true, inverse & 0xFFFF, static_cast<std::uint32_t>(largest / period)};
}

} // namespace
} // namespace kvt

#define KVT_KERNELS "tone/tint_kernel.h"
#define KVT_WITH_AVX512
#include "kernels/each_level.h"

namespace kvt {

REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase) {
    const Rgb weight = RgbOfColor(greyBase);
    const Rgb tint = RgbOfColor(sepiaBase);
    return MapPicture(source, NewPicture::LikeSource, kWholePicture, KVT_SELECT(Tint), weight, tint,
                      DoubtfulGraysOf(weight, tint));
}

} // namespace kvt
