#pragma once

#include "kernels/rgb.h"
#include "kernels/rows.h"

#include <cstddef>
#include <cstdint>

namespace kvt {

/// The place of a pixel.
struct Point {
    std::int32_t x;
    std::int32_t y;
};

inline unsigned char *AddressOf(const Rows &rows, Point point) { return rows[point.y] + std::ptrdiff_t{point.x} * 4; }

} // namespace kvt
