#pragma once

#include "tools/files.h"

#include <array>

namespace tools {

using Triple = std::array<double, 3>; ///< red, green, blue

/// A color table on a regular grid, as .cube files hold it.
struct CubeTable {
    std::size_t size = 0; ///< grid points an axis, at least 2
    Triple domainMin = {0, 0, 0};
    Triple domainMax = {1, 1, 1};
    std::vector<Triple> entries; ///< size x size x size outputs on the scale 0..1; red runs fastest, then green

    /// The output for an input on the scale of the domain, interpolated over the eight grid points around it. Inputs
    /// outside the domain count as its border.
    Triple At(const Triple &input) const;
};

/// Throws UserError, with `name` and the line before the reason.
CubeTable ParseCube(std::string_view text, std::string_view name);

/// Points an axis of the class's table that it uses; point i stands for level 17 x i.
constexpr int kGridPoints = 16;

/// What the class's table holds at a grid point, on the scale 0..255. The class truncates what it computes, so that an
/// entry a hair below a whole level would lose that level: entries are rounded to a thousandth of a level, finer than
/// the six digits of .cube files.
Triple GridEntry(const CubeTable &table, int red, int green, int blue);

} // namespace tools
