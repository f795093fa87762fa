#pragma once

#include "bench/operations.h"

#include <optional>

namespace bench {

/// What an operation shall take at most at a level, as a multiple of memcpy: the 32-bit build at 6000 x 4000, pictures
/// and results with alpha high. None: nothing is asked of it.
std::optional<double> TargetOf(const Operation &operation, int level);

/// The targets that name no operation, a sentence each.
std::vector<std::string> StrayTargets();

/// At most this many microseconds outside host entries for InvertKVT of one pixel.
inline constexpr double kSmallInversion = 1.0;

/// Other layouts take at most this many times what alpha-high to alpha-high takes.
inline constexpr double kOtherLayouts = 1.2;

} // namespace bench
