#pragma once

#include "kernels/inline.h"
#include "pixels/picture_editor.h"

#include <cstddef>

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

} // namespace kvt
