#pragma once

#include "pixels/area.h"
#include "pixels/picture_editor.h"

#include <cstdint>

/// Colors interpolated between the points of a grid over red, green and blue. The cube between eight grid points is cut
/// into six tetrahedra, by the order of the three channels' fractions; a color is the weighted sum of the four corners.
namespace kvt {

/// Grid points an axis that are stored; the first 16 stand for the levels 0, 17, ... 255 and are the ones that count.
inline constexpr std::uint32_t kGridPoints = 18;
inline constexpr std::uint32_t kGridChannels = 3;

/// Outputs by red, green, blue and output channel, on the scale 0..255. Any double will do.
using ColorGrid = double[kGridPoints][kGridPoints][kGridPoints][kGridChannels];

/// Stands for a pixel operation in calls of Map. The grid outlives the walk.
struct ThroughGrid {
    const ColorGrid *grid;
};

/// target(x, y) = the color that the grid gives for source(x, y), for every pixel of the area, with channels truncated
/// toward zero and limited to 0..255; not a number gives 0. Source and target may be the very same picture. Fast for
/// areas and grids that allow it; the bits do not depend on that.
void Map(const PictureEditor &source, const PictureEditor &target, Area area, ThroughGrid through);

} // namespace kvt
