#pragma once

#include "kernels/inline.h"
#include "pixels/picture_editor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kvt {

/// Where the rows of pixels lie: at equal distances from the first one or, with a table, wherever the table says.
struct Rows {
    unsigned char *first;
    std::ptrdiff_t rowBytes;
    void *const *table;

    KVT_INLINE unsigned char *operator[](std::ptrdiff_t row) const {
        return table ? static_cast<unsigned char *>(table[row]) : first + row * rowBytes;
    }
};

inline Rows RowsOf(const PictureEditor &editor) { return {editor.firstRow, editor.rowBytes, editor.rowTable}; }

/// The place of a pixel.
struct Point {
    std::int32_t x;
    std::int32_t y;
};

inline unsigned char *AddressOf(const Rows &rows, Point point) { return rows[point.y] + std::ptrdiff_t{point.x} * 4; }

/// Columns `left` up to, not including, `right` in rows `top` up to, not including, `bottom`, all inside the picture.
/// Empty when right <= left or bottom <= top.
struct Area {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
    bool Empty() const { return right <= left || bottom <= top; }
    std::int64_t Pixels() const { return Empty() ? 0 : std::int64_t{right - left} * (bottom - top); }
};

/// A rectangle as scripts pass it. A negative width or height stands for the whole picture's.
struct Rectangle {
    std::int32_t left;
    std::int32_t top;
    std::int32_t width;
    std::int32_t height;
};

inline constexpr Rectangle kWholePicture{0, 0, -1, -1};

/// The part of the rectangle inside the picture. Its end is counted from `left` and `top` as passed, so a negative one
/// shortens the area; the sums are formed in 64 bits.
inline Area AreaOf(const PictureEditor &editor, Rectangle rectangle) {
    const auto end = [](std::int64_t start, std::int32_t extent, std::int32_t whole) {
        const std::int64_t stop = start + (extent < 0 ? whole : extent);
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(stop, 0, std::max(whole, 0)));
    };
    return {std::max(rectangle.left, 0), std::max(rectangle.top, 0), end(rectangle.left, rectangle.width, editor.width),
            end(rectangle.top, rectangle.height, editor.height)};
}

/// The part of `area` that lies inside the picture too.
inline Area Inside(const PictureEditor &editor, Area area) {
    return {area.left, area.top, std::min(area.right, editor.width), std::min(area.bottom, editor.height)};
}

/// The bounds as the module's classes hold them: `maxX` ends the area when it lies beyond `minX` and inside the
/// picture, else the picture does; rows likewise. Negative starts count as 0, but the ends are judged by the values as
/// set.
struct Bounds {
    std::int32_t minX;
    std::int32_t minY;
    std::int32_t maxX;
    std::int32_t maxY;
};

inline Area AreaOf(const PictureEditor &editor, Bounds bounds) {
    const auto end = [](std::int32_t min, std::int32_t max, std::int32_t whole) {
        return std::max(max > min && max < whole ? max : whole, 0);
    };
    return {std::max(bounds.minX, 0), std::max(bounds.minY, 0), end(bounds.minX, bounds.maxX, editor.width),
            end(bounds.minY, bounds.maxY, editor.height)};
}

} // namespace kvt
