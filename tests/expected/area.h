#pragma once

#include "expected/picture.h"

namespace expected {

/// A rectangle as scripts pass it. A negative width or height stands for the whole picture's.
struct Rectangle {
    int left = 0;
    int top = 0;
    int width = -1;
    int height = -1;
};

/// A rectangle as the classes hold it. Zeros stand for the whole picture.
struct Bounds {
    int minX = 0;
    int minY = 0;
    int maxX = 0;
    int maxY = 0;
};

/// Columns `left` up to, not including, `right` in rows `top` up to, not including, `bottom`, all inside the picture.
struct Area {
    long long left = 0;
    long long top = 0;
    long long right = 0;
    long long bottom = 0;
    bool Contains(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
    bool Empty() const { return right <= left || bottom <= top; }
};

Area AreaOf(const Picture &picture, Rectangle rectangle);
/// The rule of inversion alone, where a width or height of 0 stands for the whole picture's too.
Area AreaOfInversion(const Picture &picture, Rectangle rectangle);
Area AreaOf(const Picture &picture, Bounds bounds);

/// `before` with op(pixel of the source) in the area.
template <class Op> Picture MapArea(const Picture &source, Area area, Picture before, Op op) {
    for (int y = 0; y < source.height; ++y)
        for (int x = 0; x < source.width; ++x)
            if (area.Contains(x, y))
                before.At(x, y) = op(source.At(x, y));
    return before;
}

/// A picture of the source's size with op(pixel) everywhere.
template <class Op> Picture MapAll(const Picture &source, Op op) {
    return MapArea(source, AreaOf(source, Rectangle{}), source, op);
}

} // namespace expected
