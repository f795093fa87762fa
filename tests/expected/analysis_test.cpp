#include "expected/analysis.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace expected {
namespace {

constexpr int kLeast = std::numeric_limits<int>::min();

constexpr struct {
    Rgb pixel;
    bool white;
    bool black;
} kExtremes[] = {{{255, 255, 255}, true, false},  {{254, 255, 255}, false, false}, {{255, 254, 255}, false, false},
                 {{255, 255, 254}, false, false}, {{0, 0, 0}, false, true},        {{1, 0, 0}, false, false},
                 {{0, 1, 0}, false, false},       {{0, 0, 1}, false, false}};

constexpr struct {
    Rgb pixel;
    int tolerance;
    bool gray;
} kGrays[] = {{{255, 255, 255}, 0, true},  {{5, 5, 6}, 0, false},         {{100, 103, 100}, 3, true},
              {{100, 103, 100}, -3, true}, {{100, 104, 100}, 3, false},   {{100, 104, 100}, -3, false},
              {{100, 102, 104}, 3, false}, {{255, 0, 128}, kLeast, true}, {{255, 0, 0}, 254, false},
              {{0, 255, 255}, 255, true}};

constexpr struct {
    Rgb pixel;
    int threshold;
    bool colored;
} kColored[] = {{{255, 0, 0}, 10, true},      {{29, 29, 0}, 10, false},    {{40, 40, 0}, 10, true},
                {{100, 100, 100}, 10, false}, {{30, 40, 20}, 10, true},    {{30, 40, 30}, 10, false},
                {{40, 30, 20}, 10, false},    {{100, 100, 100}, -1, true}, {{29, 29, 29}, -1, false},
                {{30, 30, 30}, kLeast, true}, {{255, 0, 0}, 255, false}};

TEST(Tests, OfOnePixel) {
    for (const auto &row : kExtremes) {
        EXPECT_EQ(IsWhite(Filled(2, 2, row.pixel), {}), row.white) << row.pixel.red << ' ' << row.pixel.green;
        EXPECT_EQ(IsBlack(Filled(2, 2, row.pixel), {}), row.black) << row.pixel.red << ' ' << row.pixel.green;
    }
    for (const auto &row : kGrays)
        EXPECT_EQ(IsGray(Filled(2, 2, row.pixel), row.tolerance, {}), row.gray) << "row " << &row - kGrays;
    for (const auto &row : kColored)
        EXPECT_EQ(Colorness(Filled(2, 2, row.pixel), row.threshold), row.colored ? 1.0 : 0.0)
            << "row " << &row - kColored;
}

TEST(Tests, OfARectangleLookAtNothingElse) {
    Picture picture = Filled(20, 20, {0, 0, 0});
    picture.At(10, 0) = {1, 0, 0};
    EXPECT_TRUE(IsBlack(picture, {-10, -10, -1, -1}));
    EXPECT_FALSE(IsBlack(picture, {-9, -9, -1, -1}));
    EXPECT_FALSE(IsGray(picture, 0, {10, 0, 1, 1}));
    EXPECT_TRUE(IsWhite(picture, {5, 5, 0, -1})) << "empty";
    EXPECT_TRUE(IsWhite(picture, {20, 0, 5, 5})) << "outside";
}

TEST(Colorness, IsAFraction) {
    Picture picture = Filled(2, 2, {255, 0, 0});
    picture.At(1, 1) = {100, 100, 100};
    EXPECT_EQ(Colorness(picture, 10), 0.75);
    EXPECT_TRUE(std::isnan(Colorness(Filled(0, 5, {}), 10)));
}

TEST(Wrap, ShiftsAround) {
    const Picture column = {1, 3, {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}};
    const auto reds = [](const Picture &picture) {
        std::vector<int> levels;
        for (const Rgb &pixel : picture.pixels)
            levels.push_back(pixel.red);
        return levels;
    };
    EXPECT_EQ(reds(WrapVertically(column, 1)), (std::vector<int>{2, 0, 1}));
    EXPECT_EQ(reds(WrapVertically(column, -1)), (std::vector<int>{1, 2, 0}));
    for (const int delta : {0, 3, 6, -3})
        EXPECT_EQ(WrapVertically(column, delta), column) << delta;
    EXPECT_TRUE(WrapVertically(Noise(3, 10, 1), 7) == WrapVertically(Noise(3, 10, 1), -3));
    const Picture row = {5, 1, {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}}};
    EXPECT_EQ(reds(WrapHorizontally(row, 2)), (std::vector<int>{3, 4, 0, 1, 2}));
    EXPECT_EQ(reds(WrapHorizontally(row, kLeast)), (std::vector<int>{3, 4, 0, 1, 2})) << "-2^31 is 2 modulo 5";
}

} // namespace
} // namespace expected
