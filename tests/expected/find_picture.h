#pragma once

#include "expected/picture.h"

#include <optional>
#include <utility>

namespace expected {

/// Column and row of the first place, row by row from the top, at which all of the needle stands in the haystack.
std::optional<std::pair<int, int>> FindPicture(const Picture &haystack, const Picture &needle);

} // namespace expected
