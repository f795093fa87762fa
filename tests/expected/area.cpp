#include "expected/area.h"

#include <algorithm>

namespace expected {

namespace {

Area Clipped(const Picture &picture, Rectangle rectangle, long long width, long long height) {
    Area area;
    area.right = std::min(rectangle.left + width, static_cast<long long>(picture.width));
    area.bottom = std::min(rectangle.top + height, static_cast<long long>(picture.height));
    area.left = std::max(rectangle.left, 0);
    area.top = std::max(rectangle.top, 0);
    return area;
}

} // namespace

Area AreaOf(const Picture &picture, Rectangle rectangle) {
    const int width = rectangle.width >= 0 ? rectangle.width : picture.width;
    const int height = rectangle.height >= 0 ? rectangle.height : picture.height;
    return Clipped(picture, rectangle, width, height);
}

Area AreaOfInversion(const Picture &picture, Rectangle rectangle) {
    const int width = rectangle.width > 0 ? rectangle.width : picture.width;
    const int height = rectangle.height > 0 ? rectangle.height : picture.height;
    return Clipped(picture, rectangle, width, height);
}

Area AreaOf(const Picture &picture, Bounds bounds) {
    Area area;
    area.right = bounds.maxX > bounds.minX && bounds.maxX < picture.width ? bounds.maxX : picture.width;
    area.bottom = bounds.maxY > bounds.minY && bounds.maxY < picture.height ? bounds.maxY : picture.height;
    area.left = std::max(bounds.minX, 0);
    area.top = std::max(bounds.minY, 0);
    return area;
}

} // namespace expected
