#include "expected/noise.h"
#include "kernels/rgb.h"
#include "tone/straight_line.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace kvt;

/// A level on the line, by its definition.
int LevelOn(const StraightLine &line, int level) {
    const int x = 256 * (line.mirrored ? 255 - level : level);
    const auto product = std::int64_t{x > line.start ? x - line.start : 0} * line.slope >> 16;
    const auto sum = product + line.offset < 65535 ? product + line.offset : 65535;
    const auto value = sum >> (8 - line.exponent);
    return static_cast<int>(value < 255 ? value : 255);
}

/// Of settings as people give them and of any others; what rounding takes off a line is rare.
TEST(StraightLine, GivesTheTablesOfAlmostAllAdjustments) {
    constexpr int kDrawn = 4000;
    expected::Random random(1);
    const auto between = [&](double low, double high) { return low + random.Next() / 4294967296.0 * (high - low); };
    int found = 0;
    for (int i = 0; i < kDrawn; ++i) {
        double scale = between(-2.5, 3);
        double offset = between(-255, 255);
        if (i % 2) {
            scale = std::round(scale * 100) / 100;
            offset = std::round(offset);
        }
        ChannelTable table;
        for (int level = 0; level < 256; ++level)
            table.levels[level] = static_cast<unsigned char>(ToByte(level * scale + offset));
        StraightLine line;
        if (!FindLine(table, scale, line))
            continue;
        ++found;
        for (int level = 0; level < 256; ++level)
            ASSERT_EQ(LevelOn(line, level), table.levels[level]) << scale << " and " << offset << " at " << level;
    }
    EXPECT_GE(found, kDrawn * 99 / 100);
}

} // namespace
