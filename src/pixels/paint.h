#pragma once

#include "pixels/area.h"
#include "pixels/instruction_set.h"
#include "pixels/layout.h"
#include "pixels/rows.h"

#include <cstddef>
#include <cstdint>

/// Drawing: pixels that follow from where they lie. As with the walks, a callable's operator() is KVT_INLINE.
namespace kvt {

/// target(x, y) = test(x, y) ? fore : back for every pixel of the area that lies inside the picture, row by row from
/// the top.
template <class Test> void Paint(const PictureEditor &target, Area area, Rgb back, Rgb fore, Test test) {
    const Area inside = Inside(target, area);
    if (inside.Empty())
        return;
    WithLayout(target, [&](auto layout) {
        using To = decltype(layout);
        AtActiveLevel([=, rows = RowsOf(target)]() KVT_INLINE_LAMBDA {
            const std::uint32_t backWord = To::Word(back);
            const std::uint32_t foreWord = To::Word(fore);
            for (std::int32_t row = inside.top; row < inside.bottom; ++row) {
                unsigned char *pixels = rows[row];
                KVT_INDEPENDENT_ITERATIONS
                for (std::ptrdiff_t x = inside.left; x < inside.right; ++x)
                    StoreWord(pixels + x * To::kBytes, test(x, row) ? foreWord : backWord);
            }
        });
    });
}

/// pixel = op(pixel) for the one pixel at (x, y), which becomes opaque; nothing outside the picture. `Layout` is the
/// picture's, found once for all pixels of a shape.
template <class Layout, class Op>
KVT_INLINE void ChangePixel(const PictureEditor &editor, std::int32_t x, std::int32_t y, Op op) {
    if (x < 0 || y < 0 || x >= editor.width || y >= editor.height)
        return;
    unsigned char *pixel = RowsOf(editor)[y] + std::ptrdiff_t{x} * Layout::kBytes;
    Layout::Store(pixel, op(Layout::Load(pixel)));
}

} // namespace kvt
