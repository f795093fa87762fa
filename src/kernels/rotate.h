#pragma once

#include "pixels/picture_editor.h"

#include <cstdint>

namespace kvt {

/// Moves every pixel `right` columns and `down` rows (left and up when negative); what leaves the picture comes in
/// again at the other edge. Bitmap rows that move take their padding along; in a console picture the contents move and
/// the row table stays. False, with the picture unchanged, when there is no memory for one row.
bool Rotate(const PictureEditor &editor, std::int32_t right, std::int32_t down);

} // namespace kvt
