#pragma once

#include "bench/limits/loops.h"
#include "bench/operations.h"

#include <algorithm>
#include <array>
#include <optional>

namespace bench {

/// What operations shall take at most, in the 32-bit build, with pictures and results with alpha high.
struct Target {
    std::string_view method;
    std::string_view what;        ///< empty: all lines of the method that pixels decide over
    std::optional<Loop> loop;     ///< whose multiples the bounds are, at both sizes; none: memcpy's, at the large one
    std::array<double, 3> bounds; ///< one a level
};

/// Null: nothing is asked of it.
const Target *TargetOf(const Operation &operation);

/// The loop of which level a level is held against: kernels need not have a form for AVX-512.
constexpr int LimitLevel(int level) { return std::min(level, 1); }

/// The targets that name no operation, a sentence each.
std::vector<std::string> StrayTargets();

/// At most this many microseconds outside host entries for InvertKVT of one pixel.
inline constexpr double kSmallInversion = 1.0;

/// Other layouts take at most this many times what alpha-high to alpha-high takes.
inline constexpr double kOtherLayouts = 1.2;

} // namespace bench
