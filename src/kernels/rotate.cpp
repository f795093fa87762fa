#include "kernels/rotate.h"

#include "kernels/area.h"
#include "kernels/rows.h"
#include "support/memory.h"

#include <cstddef>
#include <cstring>

namespace kvt {
namespace {

/// The shift 0..extent - 1 with the same effect.
std::int32_t ShiftWithin(std::int32_t delta, std::int32_t extent) {
    const std::int32_t shift = delta % extent;
    return shift < 0 ? shift + extent : shift;
}

/// A row's parts, in bytes: its pixels, of which the last ones move to the front, and its padding.
struct RowParts {
    std::size_t kept;
    std::size_t wrapped;
    std::size_t padding;

    std::size_t Bytes() const { return kept + wrapped + padding; }

    /// The target and the source are different memory.
    void CopyRotated(unsigned char *target, const unsigned char *source) const {
        std::memcpy(target, source + kept, wrapped);
        std::memcpy(target + wrapped, source, kept);
        std::memcpy(target + wrapped + kept, source + wrapped + kept, padding);
    }
};

} // namespace

bool Rotate(const PictureEditor &editor, std::int32_t right, std::int32_t down) {
    if (AreaOf(editor, kWholePicture).Empty())
        return true;
    const std::int32_t columns = ShiftWithin(right, editor.width);
    const std::int32_t shift = ShiftWithin(down, editor.height);
    if (columns == 0 && shift == 0)
        return true;
    ClearBuffer<unsigned char> spare(editor.rowBytes);
    if (!spare)
        return false;
    const RowParts parts{static_cast<std::size_t>(editor.width - columns) * 4, static_cast<std::size_t>(columns) * 4,
                         static_cast<std::size_t>(editor.rowBytes - editor.width * std::ptrdiff_t{4})};
    const Rows rows = RowsOf(editor);
    // Every row takes what the row `shift` above it held. Following that rule from one row leads back to it sooner or
    // later; the cycles that start in the first rows reach each row once, so every row is copied once and no more.
    std::int32_t left = editor.height;
    for (std::int32_t start = 0; left > 0; ++start) {
        std::memcpy(spare.data(), rows[start], parts.Bytes());
        std::int32_t row = start;
        for (--left;; --left) {
            const std::int32_t source = row >= shift ? row - shift : row - shift + editor.height;
            if (source == start)
                break;
            parts.CopyRotated(rows[row], rows[source]);
            row = source;
        }
        parts.CopyRotated(rows[row], spare.data());
    }
    return true;
}

} // namespace kvt
