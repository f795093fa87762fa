#include "analysis/picture_tests.h"

#include "pixels/open.h"
#include "pixels/walk.h"

#include <algorithm>
#include <cstdint>

namespace kvt {
namespace {

template <class Test> unsigned char AllOf(REALpictureStruct *picture, Rectangle rectangle, Test test) {
    const OpenReader source{picture};
    return source && All(*source, AreaOf(*source, rectangle), test);
}

/// Two channels differ by the tolerance at the most when the lowest and the highest do.
struct GrayWithin {
    std::uint8_t tolerance;
    KVT_INLINE bool operator()(RgbBytes pixel) const {
        const auto highest = Higher(Higher(pixel.red, pixel.green), pixel.blue);
        const auto lowest = Lower(Lower(pixel.red, pixel.green), pixel.blue);
        return Difference(highest, lowest) <= tolerance;
    }
};

constexpr std::uint8_t kDarkest = 30; ///< a pixel all of whose channels are below is dark

/// Not dark, and red or blue at least `distance` away from green.
struct Colored {
    std::uint8_t distance;
    KVT_INLINE bool operator()(RgbBytes pixel) const {
        const auto high = Higher(pixel.red, pixel.blue);
        const auto low = Lower(pixel.red, pixel.blue);
        const auto highest = Higher(high, pixel.green);
        const auto above = Difference(highest, pixel.green);
        const auto below = Difference(pixel.green, Lower(low, pixel.green));
        return (highest >= kDarkest) & (Higher(above, below) >= distance);
    }
};

} // namespace

unsigned char isWhite(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height) {
    return AllOf(picture, Rectangle{left, top, width, height}, IsColor{GrayLevel(255)});
}

unsigned char isWhite2(REALpictureStruct *picture) { return isWhite(picture, 0, 0, -1, -1); }

unsigned char isBlack(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height) {
    return AllOf(picture, Rectangle{left, top, width, height}, IsColor{GrayLevel(0)});
}

unsigned char isBlack2(REALpictureStruct *picture) { return isBlack(picture, 0, 0, -1, -1); }

unsigned char isGray(REALpictureStruct *picture, std::int32_t tolerance, std::int32_t left, std::int32_t top,
                     std::int32_t width, std::int32_t height) {
    // Channels differ by 255 at the most.
    const std::int32_t limited = std::clamp(tolerance, -255, 255);
    const auto distance = static_cast<std::uint8_t>(limited < 0 ? -limited : limited);
    return AllOf(picture, Rectangle{left, top, width, height}, GrayWithin{distance});
}

unsigned char isGray2(REALpictureStruct *picture, std::int32_t tolerance) {
    return isGray(picture, tolerance, 0, 0, -1, -1);
}

double ColornessKVT(REALpictureStruct *picture, std::int32_t threshold) {
    const OpenReader source{picture};
    if (!source)
        return 0.0;
    const Area whole = AreaOf(*source, kWholePicture);
    // More than `threshold` away, which for 255 no channel is and for negative ones every channel.
    const std::int32_t beyond = std::clamp(threshold, -1, 255) + 1;
    const std::int64_t colored = beyond > 255 ? 0 : Count(*source, whole, Colored{static_cast<std::uint8_t>(beyond)});
    return static_cast<double>(colored) / static_cast<double>(whole.Pixels());
}

} // namespace kvt
