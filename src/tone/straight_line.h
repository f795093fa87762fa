#pragma once

#include "kernels/channel_tables.h"

#include <cstdint>

namespace kvt {

/// A straight line in 16 bits, limited at both ends. With x = 256 times the level or, where `mirrored`, 256 times
/// (255 - level), it is
///
///     min(((max(x - start, 0) * slope >> 16) + offset) >> (8 - exponent), 255)
///
/// with the sum limited to 65535: a slope of slope / 2^(16 - exponent), `exponent` being 0 to 7, and an offset that a
/// start of some 256ths of a level makes finer than one of 2^-(8 - exponent).
struct StraightLine {
    bool mirrored;
    std::int32_t start;
    std::int32_t slope;
    std::int32_t offset;
    std::int32_t exponent;
};

using StraightLines = Channelwise<StraightLine>;

/// Finds a line that yields all 256 levels of the table. `slope` is about that of the line from which the table was
/// made; false when no line near it does.
bool FindLine(const ChannelTable &table, double slope, StraightLine &line);

} // namespace kvt
