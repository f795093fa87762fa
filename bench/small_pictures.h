#pragma once

#include "bench/measuring.h"
#include "bench/printing.h"

namespace bench {

/// Times every wanted operation on pictures of one pixel, where the fixed cost of a call is all there is, and prints
/// microseconds outside host entries. Returns the number of levels at which InvertKVT takes longer than it may.
std::size_t MeasureSmallPictures(const Selection &selection, Format format);

} // namespace bench
