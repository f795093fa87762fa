#pragma once

#include "pixels/inline.h"
#include "pixels/write_rows.h"

#include <cstddef>
#include <cstdint>

/// Pixels of four bytes taken apart into planes, a byte of each pixel in each, so that loops over planes work on as
/// many pixels at once as a vector has bytes.
namespace kvt {

/// The bytes of up to kPlanePixels pixels that lie at one place in each pixel.
inline constexpr std::ptrdiff_t kPlanePixels = 512;
using Plane = std::uint8_t[kPlanePixels];

/// Planes are worked on in whole steps: what lies behind the last pixel is never joined.
inline constexpr std::ptrdiff_t kPlaneStep = 64;
KVT_INLINE constexpr std::ptrdiff_t WholeSteps(std::ptrdiff_t pixels) {
    return (pixels + kPlaneStep - 1) / kPlaneStep * kPlaneStep;
}

/// The first byte of every pixel goes into planes[0], and so on; the planes are filled up to whole steps. The order of
/// the pixels within a plane is the same in all four and undone by JoinPlanes.
void TakeApart(const unsigned char *pixels, std::ptrdiff_t count, Plane (&planes)[4]);

/// The pixels whose bytes the four planes hold, from the first byte to the fourth.
void JoinPlanes(const std::uint8_t *const (&planes)[4], unsigned char *pixels, std::ptrdiff_t count);

} // namespace kvt
