#include "expected/noise.h"
#include "expected/print.h"
#include "expected/tone.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

namespace expected {
namespace {

using Operation = std::function<Picture(const Picture &)>;

Operation ByContrast(PerChannel contrast) {
    return [=](const Picture &p) { return Contrast(p, contrast); };
}
Operation ByLinear(double value) {
    return [=](const Picture &p) { return LinearBrightness(p, Each(value)); };
}
Operation ByAbsolute(PerChannel brightness) {
    return [=](const Picture &p) { return AbsoluteBrightness(p, brightness); };
}
Operation ByCustom(double a, double b) {
    return [=](const Picture &p) { return CustomTransform(p, a, b); };
}
Operation BySaturation(int amount) {
    return [=](const Picture &p) { return Saturation(p, amount); };
}
Operation ByTint(std::uint32_t grey, std::uint32_t sepia) {
    return [=](const Picture &p) { return Tint(p, grey, sepia); };
}
Operation BySepia(const SepiaSettings &settings) {
    return [=](const Picture &p) { return Sepia(p, settings, p); };
}
Picture Negative(const Picture &p) { return Invert(p, {}, p); }
Picture NegativeOfGrays(const Picture &p) { return InvertGray(p, {}, p); }
Picture ContrastAndLinear(const Picture &p) { return ContrastLinearBrightness(p, Each(1), Each(51)); }
Picture ContrastAndAbsolute(const Picture &p) { return ContrastAbsoluteBrightness(p, Each(1), Each(20)); }

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr int kMost = std::numeric_limits<int>::max();

const struct {
    const char *what;
    Operation operation;
    std::vector<int> from, to;
} kLevels[] = {
    {"contrast -1 is flat", ByContrast(Each(-1)), {0, 5, 255}, {127, 127, 127}},
    {"contrast 1", ByContrast(Each(1)), {0, 64, 100, 127, 128, 200}, {0, 1, 73, 127, 129, 255}},
    {"contrast -0.5 truncates", ByContrast(Each(-0.5)), {0, 1, 127, 128, 255}, {63, 64, 127, 127, 191}},
    {"contrast beyond 32 bits", ByContrast(Each(1e300)), {0, 126, 128}, {0, 0, 255}},
    {"contrast that is no number", ByContrast(Each(kNotANumber)), {0, 200}, {0, 0}},
    {"linear 51", ByLinear(51), {0, 1, 128, 255}, {51, 51, 153, 255}},
    {"linear -51", ByLinear(-51), {0, 128, 255}, {0, 102, 204}},
    {"linear beyond 255 is limited at the end", ByLinear(510), {0, 100, 255}, {255, 255, 255}},
    {"absolute 0.9 is too little", ByAbsolute(Each(0.9)), {0, 1, 254, 255}, {0, 1, 254, 255}},
    {"absolute -0.5", ByAbsolute(Each(-0.5)), {0, 1, 255}, {0, 0, 254}},
    {"contrast 1, linear 51", ContrastAndLinear, {0, 100, 127, 128, 200}, {0, 109, 152, 154, 255}},
    {"contrast 1, absolute 20", ContrastAndAbsolute, {0, 100, 127, 128}, {0, 93, 147, 149}},
    {"custom 0.5, 0.5", ByCustom(0.5, 0.5), {0, 1, 2, 3, 255}, {0, 1, 1, 2, 128}},
};

const struct {
    const char *what;
    Operation operation;
    Rgb from, to;
} kPixels[] = {
    {"negative", Negative, {10, 200, 30}, {245, 55, 225}},
    {"negative of a gray", NegativeOfGrays, {128, 128, 128}, {127, 127, 127}},
    {"a color is no gray", NegativeOfGrays, {5, 5, 6}, {5, 5, 6}},
    {"each channel its own brightness", ByAbsolute({10, 0, -10}), {100, 100, 100}, {110, 100, 90}},
    {"saturation 100", BySaturation(100), {200, 100, 50}, {234, 96, 26}},
    {"saturation -100 truncates toward zero", BySaturation(-100), {200, 100, 50}, {165, 105, 75}},
    {"pure blue -100", BySaturation(-100), {0, 0, 255}, {25, 25, 179}},
    {"saturation beyond 32 bits", BySaturation(kMost), {200, 100, 112}, {255, 0, 0}},
    {"the least saturation", BySaturation(-kMost - 1), {200, 100, 50}, {0, 255, 255}},
    {"tint is limited", ByTint(0xFFFFFF, 0xFFFFFF), {200, 100, 50}, {255, 255, 255}},
    {"tint of a color", ByTint(0x555555, 0xFFF0C0), {200, 100, 50}, {116, 109, 87}},
    {"the top byte does not count", ByTint(0xFF4D961D, 0xFFFF8000), {200, 100, 50}, {124, 62, 0}},
    {"sepia weights sum to 1023", BySepia({}), {255, 255, 255}, {254, 254, 254}},
    {"sepia offsets", BySepia({.red = 40, .green = 20, .blue = -20}), {200, 100, 50}, {164, 144, 104}},
    {"a negative gray", BySepia({.weights = {-1, 0, 0}, .red = 300}), {200, 100, 50}, {100, 0, 0}},
    {"toward zero", BySepia({.weights = {-0.5, 0, 0}, .red = 1, .green = 2, .blue = 3}), {1, 0, 0}, {1, 2, 3}},
    {"sums beyond 32 bits", BySepia({.weights = {1e300, kInfinity, -1e300}, .red = kMost}), {255, 0, 255}, {255, 0, 0}},
    {"a weight that is no number", BySepia({.weights = {kNotANumber, 1, 0}}), {255, 7, 0}, {7, 7, 7}},
};

TEST(Tone, MapsLevelsAndPixels) {
    for (const auto &row : kLevels)
        for (std::size_t i = 0; i < row.from.size(); ++i) {
            const int to = row.to[i];
            EXPECT_EQ(row.operation(Filled(1, 1, {row.from[i], row.from[i], row.from[i]})).At(0, 0), (Rgb{to, to, to}))
                << row.what << " from " << row.from[i];
        }
    for (const auto &row : kPixels)
        EXPECT_EQ(row.operation(Filled(1, 1, row.from)).At(0, 0), row.to) << row.what;
}

TEST(Tone, OfARectangleLeavesTheRest) {
    const Picture source = Filled(2, 1, {10, 200, 30});
    const Picture before = Filled(2, 1, {1, 2, 3});
    EXPECT_EQ(Invert(source, {1, 0, 0, 0}, before).pixels, (std::vector<Rgb>{{1, 2, 3}, {245, 55, 225}}));
    EXPECT_EQ(InvertGray(source, {0, 0, 0, 0}, before), before);
    EXPECT_EQ(InvertGray(source, {0, 0, 1, 1}, before).pixels, (std::vector<Rgb>{{10, 200, 30}, {1, 2, 3}}));
    EXPECT_EQ(Sepia(source, {.weights = {0, 1, 0}, .bounds = {0, 0, 1, 0}}, before).pixels,
              (std::vector<Rgb>{{200, 200, 200}, {1, 2, 3}}));
}

} // namespace
} // namespace expected
