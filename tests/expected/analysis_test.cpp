#include "expected/analysis.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

#include <limits>

namespace expected {
namespace {

constexpr int kLeast = std::numeric_limits<int>::min();

constexpr struct {
    Rgb pixel;
    int tolerance;
    bool gray;
} kGrays[] = {{{5, 5, 6}, 0, false},       {{100, 103, 100}, 3, true},  {{100, 103, 100}, -3, true},
              {{100, 104, 100}, 3, false}, {{100, 102, 104}, 3, false}, {{255, 0, 128}, kLeast, true},
              {{255, 0, 0}, 254, false},   {{0, 255, 255}, 255, true}};

constexpr struct {
    Rgb pixel;
    int threshold;
    bool colored;
} kColored[] = {{{255, 0, 0}, 10, true},      {{29, 29, 0}, 10, false},    {{30, 40, 20}, 10, true},
                {{30, 40, 30}, 10, false},    {{100, 100, 100}, -1, true}, {{29, 29, 29}, -1, false},
                {{30, 30, 30}, kLeast, true}, {{255, 0, 0}, 255, false}};

TEST(Tests, OfPixels) {
    for (const auto &row : kGrays)
        EXPECT_EQ(IsGray(Filled(2, 2, row.pixel), row.tolerance, {}), row.gray) << "row " << &row - kGrays;
    for (const auto &row : kColored) {
        Picture picture = Filled(2, 2, row.pixel);
        picture.At(1, 1) = {0, 0, 0};
        EXPECT_EQ(Colorness(picture, row.threshold), row.colored ? 0.75 : 0.0) << "row " << &row - kColored;
    }
    for (const int channel : {0, 1, 2}) {
        Picture white = Filled(2, 2, {255, 255, 255});
        Picture black = Filled(2, 2, {0, 0, 0});
        EXPECT_TRUE(IsWhite(white, {}) && IsBlack(black, {}));
        white.At(1, 0) = {255 - (channel == 0), 255 - (channel == 1), 255 - (channel == 2)};
        black.At(1, 0) = {channel == 0, channel == 1, channel == 2};
        EXPECT_FALSE(IsWhite(white, {}) || IsBlack(black, {})) << channel;
        EXPECT_TRUE(IsWhite(white, {0, 0, 1, 2}) && IsBlack(black, {-1, 0, -1, -1})) << channel;
    }
    EXPECT_TRUE(IsWhite(Filled(2, 2, {}), {2, 0, 5, 5})) << "outside";
}

TEST(Wrap, ShiftsAround) {
    const std::vector<Rgb> pixels = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}};
    const std::vector<Rgb> byTwo = {{3, 3, 3}, {4, 4, 4}, {0, 0, 0}, {1, 1, 1}, {2, 2, 2}};
    for (const int delta : {2, -3, 7, kLeast}) {
        EXPECT_EQ(WrapVertically({1, 5, pixels}, delta).pixels, byTwo) << delta;
        EXPECT_EQ(WrapHorizontally({5, 1, pixels}, delta).pixels, byTwo) << delta;
    }
}

} // namespace
} // namespace expected
