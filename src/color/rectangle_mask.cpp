#include "color/rectangle_mask.h"

#include "pixels/open.h"
#include "pixels/scan.h"

namespace kvt {
namespace {

/// A column's word of marks with the one of the pixel's row added.
struct MarkIfColored {
    std::uint32_t mark;
    KVT_INLINE std::uint32_t operator()(std::uint32_t marks, Rgb pixel) const {
        return marks | (IsGray(pixel) ? 0 : mark);
    }
};

void Shade(unsigned char *shades, const std::int32_t *blackRows, std::int32_t width, std::int32_t row) {
    KVT_INDEPENDENT_ITERATIONS
    for (std::int32_t x = 0; x < width; ++x)
        shades[x] = blackRows[x] > row ? 0 : 255;
}

} // namespace

ColorRectangles::ColorRectangles(const PictureEditor &source, Area area)
    : columns_(source.width, source.height, BitLines::Order::WordByWord),
      rows_(source.height, source.width, BitLines::Order::LineByLine), blackRows_(source.width), shades_(source.width) {
    if (!*this || area.Empty())
        return;
    for (std::int32_t y = area.top; y < area.bottom; ++y) {
        const MarkIfColored op{std::uint32_t{1} << y % BitLines::kWordBits};
        FoldColumns(source, area.left, area.right, &columns_.Word(0, y / BitLines::kWordBits), op, y);
    }
    Transpose(columns_, rows_);
}

/// The smallest box around a mark that has no marks directly beside it. It is the same whichever side moves first,
/// since a move never takes away the reason for another. The mark is the first one left in reading order, so none lies
/// above.
Area ColorRectangles::Grow(std::int32_t x, std::int32_t y) const {
    Area box{x, y, x + 1, y + 1};
    for (bool grown = true; grown;) {
        grown = false;
        for (; box.bottom < rows_.Lines() && rows_.Any(box.bottom, box.left, box.right); grown = true)
            ++box.bottom;
        for (; box.left > 0 && columns_.Any(box.left - 1, box.top, box.bottom); grown = true)
            --box.left;
        for (; box.right < columns_.Lines() && columns_.Any(box.right, box.top, box.bottom); grown = true)
            ++box.right;
    }
    return box;
}

/// Every row and every column of a box holds a mark that is cleared here, so that the time of all boxes together is
/// bounded by the number of marks, however much the boxes overlap.
void ColorRectangles::Take(const Area &box) {
    for (std::int32_t y = box.top; y < box.bottom; ++y)
        rows_.Clear(y, box.left, box.right);
    for (std::int32_t x = box.left; x < box.right; ++x) {
        columns_.Clear(x, box.top, box.bottom);
        blackRows_[x] = std::max(blackRows_[x], box.bottom);
    }
}

/// Boxes are found in the order of their top rows, so a row is finished once it has no marks left: of the boxes that
/// begin at or above it, those that reach it make it black.
void ColorRectangles::Draw(const PictureEditor &target) {
    const std::int32_t width = columns_.Lines();
    unsigned char *shades = shades_.data();
    for (std::int32_t y = 0; y < rows_.Lines(); ++y) {
        for (std::int32_t x = rows_.Next(y, 0); x < width;) {
            const Area box = Grow(x, y);
            Take(box);
            x = rows_.Next(y, box.right);
        }
        Shade(shades, blackRows_.data(), width, y);
        ReadRows<GrayByte>(Rows{shades, 0, nullptr}, target, {0, y, width, y + 1});
    }
}

REALpictureStruct *ExtractColorRectangleMaskKVT(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                                std::int32_t width, std::int32_t height) {
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    ColorRectangles rectangles{*source, AreaOf(*source, Rectangle{left, top, width, height})};
    if (!rectangles)
        return nullptr;
    OpenWriter result{*source, NewPicture::SameSize};
    if (!result)
        return nullptr;
    rectangles.Draw(*result);
    return result.Render();
}

REALpictureStruct *ExtractColorRectangleMaskKVT2(REALpictureStruct *picture) {
    return ExtractColorRectangleMaskKVT(picture, 0, 0, -1, -1);
}

} // namespace kvt
