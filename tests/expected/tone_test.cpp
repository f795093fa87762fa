#include "expected/noise.h"
#include "expected/print.h"
#include "expected/tone.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace expected {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

using Operation = Picture (*)(const Picture &);

const struct {
    const char *what;
    Operation operation;
    std::vector<int> from;
    std::vector<int> to;
} kLevels[] = {
    {"contrast -1 is flat", [](const Picture &p) { return Contrast(p, Each(-1)); }, {0, 5, 255}, {127, 127, 127}},
    {"contrast 1",
     [](const Picture &p) { return Contrast(p, Each(1)); },
     {0, 64, 100, 127, 128, 200, 255},
     {0, 1, 73, 127, 129, 255, 255}},
    {"contrast -0.5 truncates",
     [](const Picture &p) { return Contrast(p, Each(-0.5)); },
     {0, 1, 127, 128, 255},
     {63, 64, 127, 127, 191}},
    {"contrast -2 mirrors", [](const Picture &p) { return Contrast(p, Each(-2)); }, {0, 128, 255}, {254, 126, 0}},
    {"contrast beyond 32 bits", [](const Picture &p) { return Contrast(p, Each(1e300)); }, {0, 126, 128}, {0, 0, 255}},
    {"infinite contrast", [](const Picture &p) { return Contrast(p, Each(kInfinity)); }, {0, 127, 255}, {0, 0, 255}},
    {"contrast that is no number", [](const Picture &p) { return Contrast(p, Each(kNotANumber)); }, {0, 200}, {0, 0}},
    {"linear 51", [](const Picture &p) { return LinearBrightness(p, Each(51)); }, {0, 1, 128, 255}, {51, 51, 153, 255}},
    {"linear -51", [](const Picture &p) { return LinearBrightness(p, Each(-51)); }, {0, 128, 255}, {0, 102, 204}},
    {"linear 255", [](const Picture &p) { return LinearBrightness(p, Each(255)); }, {0, 99, 255}, {255, 255, 255}},
    {"linear -255", [](const Picture &p) { return LinearBrightness(p, Each(-255)); }, {0, 99, 255}, {0, 0, 0}},
    {"linear beyond 255 is limited",
     [](const Picture &p) { return LinearBrightness(p, Each(510)); },
     {0, 100, 255},
     {255, 255, 255}},
    {"linear below -255 is limited",
     [](const Picture &p) { return LinearBrightness(p, Each(-300)); },
     {0, 255},
     {0, 0}},
    {"absolute 0.9 is too little",
     [](const Picture &p) { return AbsoluteBrightness(p, Each(0.9)); },
     {0, 1, 254, 255},
     {0, 1, 254, 255}},
    {"absolute -0.5", [](const Picture &p) { return AbsoluteBrightness(p, Each(-0.5)); }, {0, 1, 255}, {0, 0, 254}},
    {"absolute -20.5",
     [](const Picture &p) { return AbsoluteBrightness(p, Each(-20.5)); },
     {10, 100, 255},
     {0, 79, 234}},
    {"contrast 1, linear 51",
     [](const Picture &p) { return ContrastLinearBrightness(p, Each(1), Each(51)); },
     {0, 100, 127, 128, 200},
     {0, 109, 152, 154, 255}},
    {"contrast 1, absolute 20",
     [](const Picture &p) { return ContrastAbsoluteBrightness(p, Each(1), Each(20)); },
     {0, 100, 127, 128},
     {0, 93, 147, 149}},
    {"custom -1, 255",
     [](const Picture &p) { return CustomTransform(p, -1, 255); },
     {0, 1, 128, 255},
     {255, 254, 127, 0}},
    {"custom 0, 128", [](const Picture &p) { return CustomTransform(p, 0, 128); }, {0, 255}, {128, 128}},
    {"custom 0.5, 0.5",
     [](const Picture &p) { return CustomTransform(p, 0.5, 0.5); },
     {0, 1, 2, 3, 255},
     {0, 1, 1, 2, 128}},
    {"custom 2, -128",
     [](const Picture &p) { return CustomTransform(p, 2, -128); },
     {0, 64, 100, 128, 200},
     {0, 0, 72, 128, 255}},
};

TEST(Tone, MapsLevels) {
    for (const auto &row : kLevels) {
        SCOPED_TRACE(row.what);
        for (std::size_t i = 0; i < row.from.size(); ++i) {
            const Picture result = row.operation(Filled(1, 1, {row.from[i], row.from[i], row.from[i]}));
            EXPECT_EQ(result.At(0, 0), (Rgb{row.to[i], row.to[i], row.to[i]})) << "from " << row.from[i];
        }
    }
}

Operation constexpr kSameColors[] = {
    [](const Picture &p) { return Contrast(p, Each(0)); },
    [](const Picture &p) { return LinearBrightness(p, Each(-0.0)); },
    [](const Picture &p) { return AbsoluteBrightness(p, Each(0)); },
    [](const Picture &p) { return ContrastLinearBrightness(p, Each(0), Each(0)); },
    [](const Picture &p) { return ContrastAbsoluteBrightness(p, Each(0), Each(0)); },
    [](const Picture &p) { return CustomTransform(p, 1, 0); },
    [](const Picture &p) { return Saturation(p, 0); },
    [](const Picture &p) { return Invert(Invert(p, {}, p), {}, p); },
    [](const Picture &p) {
        return InvertGray(p, {0, 0, 0, 0}, p);
    },
};

TEST(Tone, WithoutEffectKeepsEveryColor) {
    const Picture source = Noise(64, 64, 1);
    for (const Operation operation : kSameColors)
        EXPECT_TRUE(operation(source) == source) << "row " << &operation - kSameColors;
}

Picture SepiaWith(const Picture &p, PerChannel weights, int red, int green, int blue) {
    return Sepia(p, {.weights = weights, .red = red, .green = green, .blue = blue}, p);
}

constexpr PerChannel kUsualWeights = {0.299, 0.587, 0.114};
constexpr int kMost = std::numeric_limits<int>::max();

const struct {
    const char *what;
    Operation operation;
    Rgb from;
    Rgb to;
} kPixels[] = {
    {"negative", [](const Picture &p) { return Invert(p, {}, p); }, {10, 200, 30}, {245, 55, 225}},
    {"negative of a gray", [](const Picture &p) { return InvertGray(p, {}, p); }, {128, 128, 128}, {127, 127, 127}},
    {"a color is no gray", [](const Picture &p) { return InvertGray(p, {}, p); }, {5, 5, 6}, {5, 5, 6}},
    {"each channel its own brightness",
     [](const Picture &p) {
         return AbsoluteBrightness(p, {10, 0, -10});
     },
     {100, 100, 100},
     {110, 100, 90}},
    {"each channel its own contrast",
     [](const Picture &p) {
         return Contrast(p, {1, 0, -1});
     },
     {64, 64, 64},
     {1, 64, 127}},
    {"saturation 1", [](const Picture &p) { return Saturation(p, 1); }, {200, 100, 50}, {200, 100, 50}},
    {"saturation -255", [](const Picture &p) { return Saturation(p, -255); }, {200, 100, 50}, {112, 112, 112}},
    {"saturation 255", [](const Picture &p) { return Saturation(p, 255); }, {200, 100, 50}, {255, 88, 0}},
    {"saturation 100", [](const Picture &p) { return Saturation(p, 100); }, {200, 100, 50}, {234, 96, 26}},
    {"saturation -100", [](const Picture &p) { return Saturation(p, -100); }, {200, 100, 50}, {165, 105, 75}},
    {"saturation -510", [](const Picture &p) { return Saturation(p, -510); }, {200, 100, 50}, {24, 124, 174}},
    {"pure blue -255", [](const Picture &p) { return Saturation(p, -255); }, {0, 0, 255}, {63, 63, 63}},
    {"pure blue -100", [](const Picture &p) { return Saturation(p, -100); }, {0, 0, 255}, {25, 25, 179}},
    {"saturation beyond 32 bits", [](const Picture &p) { return Saturation(p, kMost); }, {200, 100, 112}, {255, 0, 0}},
    {"the least saturation", [](const Picture &p) { return Saturation(p, -kMost - 1); }, {200, 100, 50}, {0, 255, 255}},
    {"a gray at any saturation", [](const Picture &p) { return Saturation(p, kMost); }, {9, 9, 9}, {9, 9, 9}},
    {"tint by red", [](const Picture &p) { return Tint(p, 0xFF0000, 0xFFFFFF); }, {200, 100, 50}, {200, 200, 200}},
    {"tint by all", [](const Picture &p) { return Tint(p, 0xFFFFFF, 0xFFFFFF); }, {10, 20, 30}, {60, 60, 60}},
    {"tint is limited", [](const Picture &p) { return Tint(p, 0xFFFFFF, 0xFFFFFF); }, {200, 100, 50}, {255, 255, 255}},
    {"tint of black", [](const Picture &p) { return Tint(p, 0, 0xFFFFFF); }, {200, 100, 50}, {0, 0, 0}},
    {"tint, neutral weights",
     [](const Picture &p) { return Tint(p, 0x555555, 0xFFF0C0); },
     {128, 128, 128},
     {128, 120, 96}},
    {"tint of a color", [](const Picture &p) { return Tint(p, 0x555555, 0xFFF0C0); }, {200, 100, 50}, {116, 109, 87}},
    {"tint of white", [](const Picture &p) { return Tint(p, 0x555555, 0xFFF0C0); }, {255, 255, 255}, {255, 240, 192}},
    {"weights above 255",
     [](const Picture &p) { return Tint(p, 0x4D961D, 0xFFFFFF); },
     {255, 255, 255},
     {255, 255, 255}},
    {"weights 77, 150, 29", [](const Picture &p) { return Tint(p, 0x4D961D, 0xFFFFFF); }, {10, 20, 30}, {18, 18, 18}},
    {"the top byte does not count",
     [](const Picture &p) { return Tint(p, 0xFF4D961D, 0xFFFF8000); },
     {200, 100, 50},
     {124, 62, 0}},
    {"sepia of a color", [](const Picture &p) { return Sepia(p, {}, p); }, {200, 100, 50}, {124, 124, 124}},
    {"sepia weights sum to 1023", [](const Picture &p) { return Sepia(p, {}, p); }, {255, 255, 255}, {254, 254, 254}},
    {"sepia of blue", [](const Picture &p) { return Sepia(p, {}, p); }, {0, 0, 255}, {28, 28, 28}},
    {"sepia offsets",
     [](const Picture &p) { return SepiaWith(p, kUsualWeights, 40, 20, -20); },
     {200, 100, 50},
     {164, 144, 104}},
    {"sepia offsets on black",
     [](const Picture &p) { return SepiaWith(p, kUsualWeights, 40, 20, -20); },
     {0, 0, 0},
     {40, 20, 0}},
    {"sepia offsets on white",
     [](const Picture &p) { return SepiaWith(p, kUsualWeights, 40, 20, -20); },
     {255, 255, 255},
     {255, 255, 234}},
    {"sepia without green",
     [](const Picture &p) {
         return SepiaWith(p, {0.299, 0, 0.587}, 0, 0, 0);
     },
     {200, 100, 50},
     {89, 89, 89}},
    {"a negative sepia gray",
     [](const Picture &p) {
         return SepiaWith(p, {-1, 0, 0}, 300, 0, 0);
     },
     {200, 100, 50},
     {100, 0, 0}},
    {"sepia truncates toward zero",
     [](const Picture &p) {
         return SepiaWith(p, {-0.5, 0, 0}, 1, 2, 3);
     },
     {1, 0, 0},
     {1, 2, 3}},
    {"sepia sums beyond 32 bits",
     [](const Picture &p) {
         return SepiaWith(p, {1e300, kInfinity, -1e300}, kMost, -kMost - 1, 0);
     },
     {255, 0, 255},
     {255, 0, 0}},
    {"a sepia weight that is no number",
     [](const Picture &p) {
         return SepiaWith(p, {kNotANumber, 1, 0}, 0, 0, 0);
     },
     {255, 7, 0},
     {7, 7, 7}},
};

TEST(Tone, MapsPixels) {
    for (const auto &row : kPixels)
        EXPECT_EQ(row.operation(Filled(1, 1, row.from)).At(0, 0), row.to) << row.what;
}

TEST(Tone, OfARectangleLeavesTheRest) {
    const Picture source = Filled(2, 1, {10, 200, 30});
    const Picture before = Filled(2, 1, {1, 2, 3});
    EXPECT_EQ(Invert(source, {1, 0, 0, 0}, before).pixels, (std::vector<Rgb>{{1, 2, 3}, {245, 55, 225}}));
    EXPECT_EQ(InvertGray(source, {0, 0, 1, 1}, before).pixels, (std::vector<Rgb>{{10, 200, 30}, {1, 2, 3}}));
    EXPECT_EQ(Sepia(source, {.weights = {0, 1, 0}, .bounds = {0, 0, 1, 0}}, before).pixels,
              (std::vector<Rgb>{{200, 200, 200}, {1, 2, 3}}));
}

} // namespace
} // namespace expected
