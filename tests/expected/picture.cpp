#include "expected/picture.h"

#include <algorithm>

namespace expected {

namespace {

/// Which byte, counted from the lowest bits, holds what.
struct Places {
    int red, green, blue, mask;
};
Places PlacesOf(Layout layout) {
    return layout == Layout::AlphaHigh  ? Places{0, 1, 2, 3}
           : layout == Layout::AlphaLow ? Places{1, 2, 3, 0}
                                        : Places{2, 1, 0, 3};
}

int ByteAt(std::uint32_t word, int place) { return static_cast<int>((word >> (8 * place)) & 0xFF); }
std::uint32_t AtPlace(int byte, int place) { return static_cast<std::uint32_t>(byte) << (8 * place); }

} // namespace

Picture Filled(int width, int height, Rgb color) {
    return {width, height, std::vector<Rgb>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), color)};
}

Picture Cut(const Picture &picture, int left, int top, int width, int height) {
    Picture cut = Filled(width, height, {});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            cut.At(x, y) = picture.At(left + x, top + y);
    return cut;
}

Area AreaOf(const Picture &picture, Rectangle rectangle) {
    const long long width = rectangle.width >= 0 ? rectangle.width : picture.width;
    const long long height = rectangle.height >= 0 ? rectangle.height : picture.height;
    Area area;
    area.right = std::min<long long>(rectangle.left + width, picture.width);
    area.bottom = std::min<long long>(rectangle.top + height, picture.height);
    area.left = std::max(rectangle.left, 0);
    area.top = std::max(rectangle.top, 0);
    return area;
}

Area AreaOf(const Picture &picture, Bounds bounds) {
    Area area;
    area.right = bounds.maxX > bounds.minX && bounds.maxX < picture.width ? bounds.maxX : picture.width;
    area.bottom = bounds.maxY > bounds.minY && bounds.maxY < picture.height ? bounds.maxY : picture.height;
    area.left = std::max(bounds.minX, 0);
    area.top = std::max(bounds.minY, 0);
    return area;
}

Layout LayoutOf(int format) {
    if (format == 8)
        return Layout::RowTable;
    return format == 1 || format == 3 || format == 5 ? Layout::AlphaHigh : Layout::AlphaLow;
}

std::uint32_t OpaqueWord(Rgb pixel, Layout layout) {
    const Places at = PlacesOf(layout);
    return AtPlace(pixel.red, at.red) | AtPlace(pixel.green, at.green) | AtPlace(pixel.blue, at.blue) |
           AtPlace(layout == Layout::RowTable ? 0 : 255, at.mask);
}

Rgb ColorOf(std::uint32_t word, Layout layout) {
    const Places at = PlacesOf(layout);
    return {ByteAt(word, at.red), ByteAt(word, at.green), ByteAt(word, at.blue)};
}

int MaskValue(std::uint32_t word, Layout layout) {
    const int byte = ByteAt(word, PlacesOf(layout).mask);
    return layout == Layout::RowTable ? byte % 128 * 2 + byte % 2 : byte; // transparency has 7 bits
}

std::uint32_t WithMaskValue(std::uint32_t word, int value, Layout layout) {
    const int place = PlacesOf(layout).mask;
    return (word & ~AtPlace(255, place)) | AtPlace(layout == Layout::RowTable ? value / 2 : value, place);
}

StoredPicture Store(const Picture &picture, Layout layout) {
    StoredPicture stored{picture.width, picture.height, layout, {}};
    for (const Rgb &pixel : picture.pixels)
        stored.words.push_back(OpaqueWord(pixel, layout));
    return stored;
}

Picture Load(const StoredPicture &stored) {
    Picture picture{stored.width, stored.height, {}};
    for (const std::uint32_t word : stored.words)
        picture.pixels.push_back(ColorOf(word, stored.layout));
    return picture;
}

} // namespace expected
