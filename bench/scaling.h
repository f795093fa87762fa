#pragma once

#include "bench/measuring.h"
#include "bench/printing.h"

namespace bench {

/// Times every wanted operation at sizes from 64 x 64 to 8000 x 6000 at the best level, or at each that is named, and
/// prints nanoseconds a pixel. Returns the number of operations whose time a pixel does not stay flat.
std::size_t MeasureScaling(const Selection &selection, Format format, const Reference &reference);

} // namespace bench
