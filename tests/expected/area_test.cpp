#include "expected/area.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

namespace expected {
namespace {

constexpr int kMost = 0x7FFFFFFF;

enum class Rule { Ordinary, Inversion };

constexpr struct {
    const char *what;
    Rule rule;
    Rectangle rectangle;
    Area area;
} kRectangles[] = {
    {"the whole picture", Rule::Ordinary, {0, 0, -1, -1}, {0, 0, 100, 50}},
    {"any negative extent is the whole one", Rule::Ordinary, {0, 0, -kMost, -7}, {0, 0, 100, 50}},
    {"a width of 0 is empty", Rule::Ordinary, {0, 0, 0, 0}, {}},
    {"a width of 0 is the whole one", Rule::Inversion, {0, 0, 0, 0}, {0, 0, 100, 50}},
    {"from a corner to the end", Rule::Inversion, {10, 10, 0, 0}, {10, 10, 100, 50}},
    {"a negative start shortens the whole extent", Rule::Inversion, {-10, -10, 0, 0}, {0, 0, 90, 40}},
    {"a negative start shortens a negative extent's", Rule::Ordinary, {-10, -10, -1, -1}, {0, 0, 90, 40}},
    {"a negative start shortens a given extent", Rule::Ordinary, {-5, 0, 10, 1}, {0, 0, 5, 1}},
    {"clipped at the end", Rule::Ordinary, {95, 45, 10, 10}, {95, 45, 100, 50}},
    {"beyond the end", Rule::Ordinary, {100, 0, -1, -1}, {}},
    {"ends before the start", Rule::Inversion, {-20, 0, 20, 0}, {}},
    {"sums beyond 32 bits", Rule::Ordinary, {90, 40, kMost, kMost}, {90, 40, 100, 50}},
    {"starts beyond 32 bits", Rule::Inversion, {-kMost - 1, -kMost - 1, -1, -1}, {}},
};

constexpr struct {
    const char *what;
    Bounds bounds;
    Area area;
} kBounds[] = {
    {"zeros are the whole picture", {0, 0, 0, 0}, {0, 0, 100, 50}},
    {"columns alone", {10, 0, 20, 0}, {10, 0, 20, 50}},
    {"rows from 5 on", {10, 5, 20, 0}, {10, 5, 20, 50}},
    {"an end at the picture's is its end", {0, 0, 100, 50}, {0, 0, 100, 50}},
    {"an end before the start is the picture's", {10, 10, 5, 10}, {10, 10, 100, 50}},
    {"a start outside", {100, 0, 0, 0}, {}},
    {"a negative start is 0", {-5, -5, 3, -9}, {0, 0, 3, 50}},
    {"an end at 0 counts behind a negative start", {-5, 0, 0, 0}, {}},
};

void ExpectArea(Area expected, Area actual) {
    if (expected.Empty()) {
        EXPECT_TRUE(actual.Empty());
        return;
    }
    EXPECT_EQ(actual.left, expected.left);
    EXPECT_EQ(actual.top, expected.top);
    EXPECT_EQ(actual.right, expected.right);
    EXPECT_EQ(actual.bottom, expected.bottom);
}

TEST(Area, FollowsTheRulesOfRectangles) {
    const Picture picture = Filled(100, 50, {});
    for (const auto &row : kRectangles) {
        SCOPED_TRACE(row.what);
        ExpectArea(row.area, row.rule == Rule::Inversion ? AreaOfInversion(picture, row.rectangle)
                                                         : AreaOf(picture, row.rectangle));
    }
    for (const auto &row : kBounds) {
        SCOPED_TRACE(row.what);
        ExpectArea(row.area, AreaOf(picture, row.bounds));
    }
}

TEST(Area, OutsideOfWhichNothingIsWritten) {
    Random random(1);
    const Picture source = Noise(13, 7, 2);
    const Picture before = Noise(13, 7, 3);
    for (int round = 0; round < 200; ++round) {
        const Area area = AreaOf(source, AnyRectangle(random, 13, 7));
        const Picture after = MapArea(source, area, before, [](Rgb) { return Rgb{-1, -1, -1}; });
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 13; ++x)
                ASSERT_EQ(after.At(x, y), area.Contains(x, y) ? (Rgb{-1, -1, -1}) : before.At(x, y));
    }
}

} // namespace
} // namespace expected
