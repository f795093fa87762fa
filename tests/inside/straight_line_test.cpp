#include "expected/noise.h"
#include "kernels/rgb.h"
#include "tone/straight_line.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace kvt;

/// Of settings as people give them and of any others; what rounding takes off a line is rare. That a line gives its
/// table is looked at before it is used.
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
        found += FindLine(table, scale, line);
    }
    EXPECT_GE(found, kDrawn * 99 / 100);
}

} // namespace
