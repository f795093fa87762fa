#pragma once

#include "pixels/picture_editor.h"

#include <cstdint>

namespace kvt {

/// Moves every row `delta` rows down (up when negative); rows that leave the picture come in again at its other edge.
/// Bitmap rows move with their padding; in a console picture the contents move and the row table stays. False, with the
/// picture unchanged, when there is no memory for one row.
bool RotateRows(const PictureEditor &editor, std::int32_t delta);

/// The same for columns, `delta` to the right (left when negative). Padding stays.
bool RotateColumns(const PictureEditor &editor, std::int32_t delta);

} // namespace kvt
