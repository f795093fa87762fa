#include "kernels/rotate.h"

#include "kernels/area.h"
#include "support/memory.h"

#include <cstddef>
#include <cstring>

namespace kvt {
namespace {

/// The shift 0..extent - 1 with the same effect; 0 for a picture without pixels.
std::int32_t ShiftWithin(const PictureEditor &editor, std::int32_t delta, std::int32_t extent) {
    if (AreaOf(editor, kWholePicture).Empty())
        return 0;
    const std::int32_t shift = delta % extent;
    return shift < 0 ? shift + extent : shift;
}

} // namespace

bool WrapVertically(const PictureEditor &editor, std::int32_t delta) {
    const std::int32_t shift = ShiftWithin(editor, delta, editor.height);
    if (shift == 0)
        return true;
    ClearBuffer<unsigned char> spare(editor.rowBytes);
    if (!spare)
        return false;
    const auto bytes = static_cast<std::size_t>(editor.rowBytes);
    const Rows rows = RowsOf(editor);
    // Every row takes what the row `shift` above it held. Following that rule from one row leads back to it sooner or
    // later; the cycles that start in the first rows reach each row once, so every row is copied once and no more.
    std::int32_t left = editor.height;
    for (std::int32_t start = 0; left > 0; ++start) {
        std::memcpy(spare.data(), rows[start], bytes);
        std::int32_t row = start;
        for (--left;; --left) {
            const std::int32_t source = row >= shift ? row - shift : row - shift + editor.height;
            if (source == start)
                break;
            std::memcpy(rows[row], rows[source], bytes);
            row = source;
        }
        std::memcpy(rows[row], spare.data(), bytes);
    }
    return true;
}

bool WrapHorizontally(const PictureEditor &editor, std::int32_t delta) {
    const std::int32_t shift = ShiftWithin(editor, delta, editor.width);
    if (shift == 0)
        return true;
    ClearBuffer<unsigned char> spare(shift * 4LL);
    if (!spare)
        return false;
    const std::size_t wrapped = static_cast<std::size_t>(shift) * 4;
    const std::size_t kept = static_cast<std::size_t>(editor.width - shift) * 4;
    const Rows rows = RowsOf(editor);
    for (std::int32_t row = 0; row < editor.height; ++row) {
        unsigned char *pixels = rows[row];
        std::memcpy(spare.data(), pixels + kept, wrapped);
        std::memmove(pixels + wrapped, pixels, kept);
        std::memcpy(pixels, spare.data(), wrapped);
    }
    return true;
}

} // namespace kvt
