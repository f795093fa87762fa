#pragma once

#include "pixels/picture_editor.h"

#include <cstdint>

namespace kvt {

/// The color that lines are drawn in, 0..255 a channel. Set before drawing and kept until it is set again.
inline std::int32_t gOutLineColorR = 0;
inline std::int32_t gOutLineColorG = 0;
inline std::int32_t gOutLineColorB = 0;

/// Blends the pixel at (x, y) towards the outline color and makes it opaque. `intensity`, 0..255, is the weight of the
/// pixel's old color: 0 gives the outline color exactly, 255 keeps the old one. Outside the picture nothing happens.
void DrawPixel(const PictureEditor &editor, std::int32_t x, std::int32_t y, std::int32_t intensity);

/// Draws an anti-aliased line in the outline color by Wu's algorithm: both end points and all points of a horizontal,
/// vertical or diagonal line in full, any other step as a pair of pixels whose intensities add up to 255. What lies
/// outside the picture is left out; a line costs at most as many steps as the picture is wide or high.
void DrawWuLine(const PictureEditor &editor, std::int16_t x0, std::int16_t y0, std::int16_t x1, std::int16_t y1);

} // namespace kvt
