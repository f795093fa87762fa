#include "tone/straight_line.h"

#include <algorithm>
#include <cmath>

namespace kvt {
namespace {

constexpr std::int32_t kMostExponent = 7;
constexpr std::int32_t kNeighbors = 8; ///< slopes tried on either side of the nearest one
constexpr std::int32_t kOffsets = 64;  ///< offsets tried with one slope

/// Finds start and offset for a line whose slope is known.
bool FindOffset(const ChannelTable &table, StraightLine &line) {
    const auto value = [&](std::int32_t level) -> std::int32_t {
        return table.levels[line.mirrored ? 255 - level : level];
    };
    // With a level split in `one` parts, level * slope plus anything from `lowest` up to `end` gives the table.
    const std::int32_t one = 1 << (16 - line.exponent);
    std::int32_t lowest = -(1 << 25);
    std::int32_t end = 1 << 25;
    for (std::int32_t level = 0; level < 256; ++level) {
        const std::int32_t rest = value(level) * one - level * line.slope;
        lowest = value(level) > 0 && rest > lowest ? rest : lowest;
        end = value(level) < 255 && rest + one < end ? rest + one : end;
    }
    if (lowest >= end)
        return false;
    // In 256ths of these parts, an offset adds offset * 65536 and a start takes start * slope.
    const std::int64_t from = std::int64_t{lowest} * 256;
    const std::int64_t to = std::int64_t{end} * 256;
    line.offset = lowest > 0 ? (lowest + 255) / 256 : 0;
    for (const std::int32_t last = std::min(line.offset + kOffsets, 65535); line.offset <= last; ++line.offset) {
        const std::int64_t excess = std::int64_t{line.offset} * 65536 - to;
        const std::int64_t start = excess < 0 ? 0 : line.slope ? excess / line.slope + 1 : 65536;
        if (start > 65535)
            break;
        line.start = static_cast<std::int32_t>(start);
        if (excess + to - start * line.slope < from)
            continue;
        const std::int32_t flat = line.offset >> (8 - line.exponent); // the value of the levels below the start
        if (line.start == 0 || (value(0) == flat && value((line.start - 1) / 256) == flat))
            return true;
    }
    return false;
}

} // namespace

bool FindLine(const ChannelTable &table, double slope, StraightLine &line) {
    line.mirrored = slope < 0;
    const double size = std::fabs(slope);
    const auto slopeAt = [&](std::int32_t exponent) { return size * (1 << (16 - exponent)); };
    line.exponent = 0;
    while (line.exponent < kMostExponent && slopeAt(line.exponent) > 65535)
        ++line.exponent;
    const std::int32_t nearest = slopeAt(line.exponent) < 65535
                                     ? static_cast<std::int32_t>(2 * slopeAt(line.exponent) + 1) / 2 // rounded
                                 : size == size ? 65535
                                                : 0;
    for (std::int32_t step = 0; step <= 2 * kNeighbors; ++step) {
        line.slope = nearest + (step % 2 ? (step + 1) / 2 : -step / 2);
        if (line.slope >= 0 && line.slope <= 65535 && FindOffset(table, line))
            return true;
    }
    return false;
}

} // namespace kvt
