#pragma once

#include "pixels/inline.h"
#include "pixels/rgb.h"

#include <cstddef>
#include <cstdint>

/// Pixels taken apart into planes, one for each channel, so that loops over planes work on as many pixels at once as a
/// vector has bytes, and know no layout.
namespace kvt {

/// A channel of up to kPlanePixels pixels.
inline constexpr std::ptrdiff_t kPlanePixels = 512;
using Plane = std::uint8_t[kPlanePixels];

/// Planes are worked on in whole steps: what lies behind the last pixel is never joined.
inline constexpr std::ptrdiff_t kPlaneStep = 64;
KVT_INLINE constexpr std::ptrdiff_t WholeSteps(std::ptrdiff_t pixels) {
    return (pixels + kPlaneStep - 1) / kPlaneStep * kPlaneStep;
}

struct ChannelPlanes {
    alignas(kPlaneStep) Plane red;
    alignas(kPlaneStep) Plane green;
    alignas(kPlaneStep) Plane blue;

    KVT_INLINE RgbBytes operator[](std::ptrdiff_t i) const { return {red[i], green[i], blue[i]}; }
    KVT_INLINE void Set(std::ptrdiff_t i, RgbBytes pixel) {
        red[i] = pixel.red;
        green[i] = pixel.green;
        blue[i] = pixel.blue;
    }
};

/// Fills the planes with the channels of `count` pixels and, up to whole steps, of black ones. The order of the pixels
/// within a plane is the same in all three and undone by joining.
using TakeApart = void(const unsigned char *pixels, std::ptrdiff_t count, ChannelPlanes &planes);

/// Stores the `count` opaque pixels whose channels the planes hold.
using JoinPlanes = void(const ChannelPlanes &planes, unsigned char *pixels, std::ptrdiff_t count);

/// For pixels of a format code, at the active level.
TakeApart *TakingApart(std::int32_t format);
JoinPlanes *Joining(std::int32_t format);

} // namespace kvt
