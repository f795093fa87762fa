#pragma once

#include "pixels/picture_editor.h"

#include <cstdint>

namespace kvt {

// In place; what leaves the picture comes in again at the opposite edge. True as well when there is nothing to move;
// false, with the picture unchanged, when there is no memory for what waits while the rest moves, a row or less.

/// Moves every row `delta` rows down (up when negative). Bitmap rows take their padding along; in a console picture the
/// contents move and the row table stays.
bool WrapVertically(const PictureEditor &editor, std::int32_t delta);

/// Moves every pixel `delta` columns to the right (left when negative), and nothing but pixels: whatever lies between
/// rows is neither read nor written.
bool WrapHorizontally(const PictureEditor &editor, std::int32_t delta);

} // namespace kvt
