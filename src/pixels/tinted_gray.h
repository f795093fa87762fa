#pragma once

#include "pixels/area.h"
#include "pixels/picture_editor.h"
#include "pixels/rgb.h"

/// Pictures of one gray, spread over the channels.
namespace kvt {

/// Stands for a pixel operation in calls of Map: the weighted sum of a pixel's channels is its gray, and each channel's
/// tint is the share of the gray that it becomes. Weights and tints are levels, 255 for 1.
struct TintedGray {
    Rgb weight;
    Rgb tint;
};

/// target(x, y) = the tinted gray of source(x, y), for every pixel of the area: everything in doubles, first red and
/// green, then blue added, truncated toward zero and limited to 255 in the end. Source and target are different
/// pictures. Fast for most pixels of most weights and tints; the bits do not depend on that.
void Map(const PictureEditor &source, const PictureEditor &target, Area area, TintedGray tinted);

} // namespace kvt
