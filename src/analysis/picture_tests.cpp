#include "analysis/picture_tests.h"

#include "pixels/open.h"
#include "pixels/walk.h"

namespace kvt {
namespace {

template <class Test> unsigned char AllOf(REALpictureStruct *picture, Rectangle rectangle, Test test) {
    const OpenReader source{picture};
    return source && All(*source, AreaOf(*source, rectangle), test);
}

struct IsColor {
    Rgb color;
    KVT_INLINE bool operator()(Rgb pixel) const { return pixel == color; }
};

KVT_INLINE constexpr bool Within(std::int32_t difference, std::int32_t tolerance) {
    return (difference <= tolerance) & (difference >= -tolerance);
}

struct GrayWithin {
    std::int32_t tolerance;
    KVT_INLINE bool operator()(Rgb pixel) const {
        return Within(pixel.red - pixel.green, tolerance) & Within(pixel.red - pixel.blue, tolerance) &
               Within(pixel.green - pixel.blue, tolerance);
    }
};

struct Colored {
    std::int32_t threshold;
    KVT_INLINE bool operator()(Rgb pixel) const {
        const bool dark = (pixel.red < 30) & (pixel.green < 30) & (pixel.blue < 30);
        const bool gray = Within(pixel.green - pixel.red, threshold) & Within(pixel.green - pixel.blue, threshold);
        return !dark & !gray;
    }
};

/// Channels differ by 255 at the most, so anything beyond 256 tests the same.
std::int32_t LimitTolerance(std::int32_t tolerance) { return std::clamp(tolerance, -256, 256); }

} // namespace

unsigned char isWhite(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height) {
    return AllOf(picture, {left, top, width, height}, IsColor{GrayLevel(255)});
}

unsigned char isWhite2(REALpictureStruct *picture) { return isWhite(picture, 0, 0, -1, -1); }

unsigned char isBlack(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height) {
    return AllOf(picture, {left, top, width, height}, IsColor{GrayLevel(0)});
}

unsigned char isBlack2(REALpictureStruct *picture) { return isBlack(picture, 0, 0, -1, -1); }

unsigned char isGray(REALpictureStruct *picture, std::int32_t tolerance, std::int32_t left, std::int32_t top,
                     std::int32_t width, std::int32_t height) {
    const std::int32_t limited = LimitTolerance(tolerance);
    return AllOf(picture, {left, top, width, height}, GrayWithin{limited < 0 ? -limited : limited});
}

unsigned char isGray2(REALpictureStruct *picture, std::int32_t tolerance) {
    return isGray(picture, tolerance, 0, 0, -1, -1);
}

double ColornessKVT(REALpictureStruct *picture, std::int32_t threshold) {
    const OpenReader source{picture};
    if (!source)
        return 0.0;
    const Area whole = AreaOf(*source, kWholePicture);
    const std::int64_t colored = Count(*source, whole, Colored{LimitTolerance(threshold)});
    return static_cast<double>(colored) / static_cast<double>(whole.Pixels());
}

} // namespace kvt
