#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace expected {
namespace {

TEST(Noise, HoldsEveryKindOfPixel) {
    const Picture picture = Noise(40, 40, 1);
    EXPECT_EQ(picture, Noise(40, 40, 1));
    EXPECT_NE(picture, Noise(40, 40, 2));
    int grays = 0;
    int repeated = 0;
    for (std::size_t i = 1; i < picture.pixels.size(); ++i) {
        const Rgb p = picture.pixels[i];
        grays += p.red == p.green && p.green == p.blue;
        repeated += p == picture.pixels[i - 1];
        ASSERT_TRUE(std::clamp(p.red, 0, 255) == p.red && std::clamp(p.green, 0, 255) == p.green &&
                    std::clamp(p.blue, 0, 255) == p.blue);
    }
    EXPECT_GT(grays, 300);
    EXPECT_LT(grays, 1000);
    EXPECT_GT(repeated, 300);
    const auto holds = [&](Rgb color) { return std::ranges::count(picture.pixels, color) > 0; };
    EXPECT_TRUE(holds({0, 0, 0}) && holds({255, 255, 255}));
}

TEST(Noise, OfParametersReachesBeyondTheUsefulRange) {
    Random random(1);
    int within = 0;
    int beyond = 0;
    int infinite = 0;
    int notNumbers = 0;
    int extremes = 0;
    int empty = 0;
    int whole = 0;
    const Picture picture = Filled(30, 20, {});
    for (int round = 0; round < 2000; ++round) {
        const double number = AnyDouble(random, 5.0);
        within += std::abs(number) <= 5.0;
        beyond += std::abs(number) > 5.0;
        infinite += std::isinf(number);
        notNumbers += std::isnan(number);
        extremes += std::abs(static_cast<double>(AnyInteger(random, 5))) > 1e9;
        const Area area = AreaOf(picture, AnyRectangle(random, 30, 20));
        empty += area.Empty();
        whole += area.left == 0 && area.right == 30;
    }
    for (const int count : {within, beyond, infinite, notNumbers, extremes, empty, whole})
        EXPECT_GT(count, 10);
    EXPECT_GT(within, 1200);
    EXPECT_LT(empty, 1200);
}

} // namespace
} // namespace expected
