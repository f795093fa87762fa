#include "analysis/methods.h"

#include "pixels/open.h"

#include <algorithm>
#include <cstdint>

#define KVT_KERNELS "analysis/picture_tests_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

/// Whether all pixels of the rectangle pass a test with one parameter.
template <class Parameter>
unsigned char AllOf(REALpictureStruct *picture, Rectangle rectangle, bool (*test)(const Pixels &, Area, Parameter),
                    Parameter parameter) {
    const OpenReader source{picture};
    return source && test(PixelsOf(*source), AreaOf(*source, rectangle), parameter);
}

constexpr std::uint32_t kWhite = 0xFFFFFF;
constexpr std::uint32_t kBlack = 0;

} // namespace

unsigned char isWhite(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height) {
    return AllOf(picture, Rectangle{left, top, width, height}, KVT_SELECT(AllOfColor), kWhite);
}

unsigned char isWhite2(REALpictureStruct *picture) { return isWhite(picture, 0, 0, -1, -1); }

unsigned char isBlack(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                      std::int32_t height) {
    return AllOf(picture, Rectangle{left, top, width, height}, KVT_SELECT(AllOfColor), kBlack);
}

unsigned char isBlack2(REALpictureStruct *picture) { return isBlack(picture, 0, 0, -1, -1); }

unsigned char isGray(REALpictureStruct *picture, std::int32_t tolerance, std::int32_t left, std::int32_t top,
                     std::int32_t width, std::int32_t height) {
    // Channels differ by 255 at the most.
    const std::int32_t limited = std::clamp(tolerance, -255, 255);
    const auto distance = limited < 0 ? -limited : limited;
    return AllOf(picture, Rectangle{left, top, width, height}, KVT_SELECT(AllGray), distance);
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
    const std::int64_t colored = beyond > 255 ? 0 : KVT_SELECT(CountColored)(PixelsOf(*source), whole, beyond);
    return static_cast<double>(colored) / static_cast<double>(whole.Pixels());
}

} // namespace kvt
