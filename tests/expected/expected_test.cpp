#include "expected/analysis.h"
#include "expected/area.h"
#include "expected/byte_string.h"
#include "expected/color.h"
#include "expected/layout.h"
#include "expected/noise.h"
#include "expected/print.h"
#include "expected/tone.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace expected {
namespace {

constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

constexpr struct {
    const char *what;
    Rectangle rectangle;
    Area area;
    bool ofInversion = false;
} kRectangles[] = {
    {"any negative extent is the whole one", {0, 0, -kMost, -7}, {0, 0, 100, 50}},
    {"a width of 0 is empty", {0, 0, 0, 0}, {}},
    {"a width of 0 is the whole one", {0, 0, 0, 0}, {0, 0, 100, 50}, true},
    {"a negative start shortens the whole extent", {-10, -10, 0, 0}, {0, 0, 90, 40}, true},
    {"a negative start shortens a negative extent's", {-10, -10, -1, -1}, {0, 0, 90, 40}},
    {"a negative start shortens a given extent", {-5, 0, 10, 1}, {0, 0, 5, 1}},
    {"clipped at the end", {95, 45, 10, 10}, {95, 45, 100, 50}},
    {"beyond the end", {100, 0, -1, -1}, {}},
    {"ends before the start", {-20, 0, 20, 0}, {}, true},
    {"sums beyond 32 bits", {90, 40, kMost, kMost}, {90, 40, 100, 50}},
    {"starts beyond 32 bits", {-kMost - 1, -kMost - 1, -1, -1}, {}, true},
};

constexpr struct {
    const char *what;
    Bounds bounds;
    Area area;
} kBounds[] = {
    {"zeros are the whole picture", {0, 0, 0, 0}, {0, 0, 100, 50}},
    {"columns alone", {10, 0, 20, 0}, {10, 0, 20, 50}},
    {"an end at the picture's is its end", {0, 0, 100, 50}, {0, 0, 100, 50}},
    {"an end before the start is the picture's", {10, 10, 5, 10}, {10, 10, 100, 50}},
    {"a start outside", {100, 0, 0, 0}, {}},
    {"a negative start is 0", {-5, -5, 3, -9}, {0, 0, 3, 50}},
    {"an end at 0 counts behind a negative start", {-5, 0, 0, 0}, {}},
};

void ExpectArea(Area actual, Area wanted) {
    EXPECT_EQ(actual.Empty(), wanted.Empty());
    if (!wanted.Empty()) {
        EXPECT_EQ(std::tie(actual.left, actual.top, actual.right, actual.bottom),
                  std::tie(wanted.left, wanted.top, wanted.right, wanted.bottom));
    }
}

TEST(Area, FollowsTheRulesOfRectangles) {
    const Picture picture = Filled(100, 50, {});
    for (const auto &row : kRectangles) {
        SCOPED_TRACE(row.what);
        ExpectArea(row.ofInversion ? AreaOfInversion(picture, row.rectangle) : AreaOf(picture, row.rectangle),
                   row.area);
    }
    for (const auto &row : kBounds) {
        SCOPED_TRACE(row.what);
        ExpectArea(AreaOf(picture, row.bounds), row.area);
    }
}

constexpr struct {
    Layout layout;
    std::uint32_t opaque; ///< of (0x11, 0x22, 0x33)
    std::uint32_t word;
    int mask;
    int stored;
    std::uint32_t after;
} kWords[] = {
    {Layout::AlphaHigh, 0xFF332211, 0x80332211, 128, 255, 0xFF332211},
    {Layout::AlphaLow, 0x332211FF, 0x33221180, 128, 1, 0x33221101},
    {Layout::RowTable, 0x00112233, 0x00112233, 0, 255, 0x7F112233},
    {Layout::RowTable, 0x00112233, 0x7F112233, 255, 1, 0x00112233},
    {Layout::RowTable, 0x00112233, 0xC1112233, 131, 131, 0x41112233},
};

TEST(Layouts, HoldColorsAndMaskValues) {
    for (const auto &row : kWords) {
        SCOPED_TRACE(testing::Message() << std::hex << row.word);
        EXPECT_EQ(OpaqueWord({0x11, 0x22, 0x33}, row.layout), row.opaque);
        EXPECT_EQ(ColorOf(row.word, row.layout), (Rgb{0x11, 0x22, 0x33}));
        EXPECT_EQ(MaskValue(row.word, row.layout), row.mask);
        EXPECT_EQ(WithMaskValue(row.word, row.stored, row.layout), row.after);
        const StoredPicture picture = {2, 1, row.layout, {row.word, row.word}};
        EXPECT_EQ(EmbeddedMask(picture, true).At(1, 0).red, 255 - row.mask);
        const Picture smaller = {1, 2, {{255 - row.stored, 7, 7}, {}}};
        EXPECT_EQ(SetEmbeddedMask(picture, true, smaller).words, (std::vector{row.after, row.word}));
    }
    for (const int format : {1, 2, 3, 4, 5, 6})
        EXPECT_EQ(LayoutOf(format), format % 2 ? Layout::AlphaHigh : Layout::AlphaLow);
    EXPECT_EQ(LayoutOf(8), Layout::RowTable);
}

TEST(Histograms, AddUpAndWrap) {
    Histograms counts;
    counts.blue[30] = 0xFFFFFFFF;
    for (int round = 0; round < 2; ++round)
        counts = CountColors({2, 1, {{10, 20, 30}, {10, 40, 50}}}, counts);
    EXPECT_EQ(counts.red[10], 4u);
    EXPECT_EQ(counts.green[20] + counts.green[40], 4u);
    EXPECT_EQ(counts.blue[30], 1u);
}

const std::string
    kOnePixel("PPIC\0\0\0\x2B\0\0\0\1\0\0\0\1\0\0\0\x20\0\0\0\x28\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0A\x14\x1E", 43);

constexpr struct {
    const char *what;
    std::size_t at;
    int byte;
    std::optional<Rgb> pixel;
} kStrings[] = {
    {"as written", 0, 'P', Rgb{10, 20, 30}},
    {"another magic", 3, 'c', {}},
    {"a length one too large", 7, 0x2C, {}},
    {"no width", 11, 0, {}},
    {"a width of 32768", 10, 0x80, {}},
    {"a negative width", 8, 0x80, {}},
    {"a width beyond the bytes", 11, 2, {}},
    {"unread fields", 19, 7, Rgb{10, 20, 30}},
    {"an offset of 0", 23, 0, Rgb{'P', 'P', 'I'}},
    {"an offset one too far", 23, 41, {}},
    {"an offset beyond 31 bits", 20, 0x80, {}},
};

TEST(ByteString, IsWrittenAndReadOrRefused) {
    EXPECT_EQ(BytesOf(Filled(1, 1, {10, 20, 30})), kOnePixel);
    EXPECT_EQ(PictureOf(kOnePixel.substr(0, 23)), std::nullopt);
    for (const auto &row : kStrings) {
        std::string bytes = kOnePixel;
        bytes[row.at] = static_cast<char>(row.byte);
        const std::optional<Picture> none;
        EXPECT_EQ(PictureOf(bytes), row.pixel ? Filled(1, 1, *row.pixel) : none) << row.what;
    }
}

TEST(Noise, HoldsEveryKindOfPixelAndParameter) {
    const Picture picture = Noise(40, 40, 1);
    EXPECT_EQ(picture, Noise(40, 40, 1));
    EXPECT_NE(picture, Noise(40, 40, 2));
    EXPECT_GT(std::ranges::count_if(picture.pixels, [](Rgb p) { return p.red == p.green && p.green == p.blue; }), 300);
    EXPECT_GT(std::ranges::count(picture.pixels, Rgb{255, 255, 255}), 0);
    Random random(1);
    int within = 0, infinite = 0, notNumbers = 0, extremes = 0, empty = 0, whole = 0;
    for (int round = 0; round < 2000; ++round) {
        const double number = AnyDouble(random, 5.0);
        within += std::abs(number) <= 5.0;
        infinite += std::isinf(number);
        notNumbers += std::isnan(number);
        extremes += std::abs(static_cast<double>(AnyInteger(random, 5))) > 1e9;
        const Area area = AreaOf(Filled(30, 20, {}), AnyRectangle(random, 30, 20));
        empty += area.Empty();
        whole += area.left == 0 && area.right == 30;
    }
    for (const int count : {2000 - within, infinite, notNumbers, extremes, empty, whole})
        EXPECT_GT(count, 10);
    EXPECT_GT(within, 1200);
    EXPECT_LT(empty, 1200);
}

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

const Picture kTwo = {2, 1, {{10, 20, 30}, {10, 40, 50}}};

TEST(Color, IsCountedReplacedAndExtractedExactly) {
    EXPECT_EQ(CountColor(kTwo, 0xFF0A2832), 1) << "the top byte does not count";
    EXPECT_EQ(ReplaceColor(kTwo, 0x0A141E, 0x010203).pixels, (std::vector<Rgb>{{1, 2, 3}, {10, 40, 50}}));
    EXPECT_EQ(ExtractColor(kTwo, 0x0A2832, 0x010203, 0x040506).pixels, (std::vector<Rgb>{{4, 5, 6}, {1, 2, 3}}));
    for (const std::uint32_t near : {0x0B141Eu, 0x0A151Eu, 0x0A141Du}) {
        EXPECT_EQ(CountColor(kTwo, near), 0);
        EXPECT_EQ(ReplaceColor(kTwo, near, 0), kTwo);
        EXPECT_EQ(ExtractColor(kTwo, near, 0, 0x040506), Filled(2, 1, {4, 5, 6}));
    }
}

TEST(Color, GoesThroughItsOwnChannelsTable) {
    LookupTable identity;
    LookupTable inverse;
    for (std::size_t level = 0; level < 256; ++level) {
        identity[level] = static_cast<unsigned char>(level);
        inverse[level] = static_cast<unsigned char>(255 - level);
    }
    EXPECT_EQ(TransformColors(kTwo, {}, identity, inverse, Filled(3, 1, {1, 2, 3})).pixels,
              (std::vector<Rgb>{{0, 20, 225}, {0, 40, 205}, {1, 2, 3}}));
}

TEST(Channels, MoveBetweenPictures) {
    const Picture channel = {3, 1, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
    EXPECT_EQ(ReplaceRedChannel(kTwo, channel).pixels, (std::vector<Rgb>{{1, 20, 30}, {4, 40, 50}}));
    EXPECT_EQ(ReplaceGreenChannel(kTwo, channel).pixels, (std::vector<Rgb>{{10, 2, 30}, {10, 5, 50}}));
    EXPECT_EQ(ReplaceBlueChannel(kTwo, channel).pixels, (std::vector<Rgb>{{10, 20, 3}, {10, 40, 6}}));
    EXPECT_EQ(CombinePictures(Filled(1, 1, {1, 2, 3}), Filled(1, 1, {4, 5, 6}), Filled(1, 1, {7, 8, 9})).At(0, 0),
              (Rgb{1, 5, 9}));
    EXPECT_EQ(MergePictures(Filled(1, 1, {255, 7, 0}), Filled(1, 1, {0, 8, 255})).At(0, 0), (Rgb{255, 8, 255}));
}

Rgb Through(const ColorCube &cube, Rgb pixel) {
    return ThroughCube(Filled(1, 1, pixel), cube, {}, Filled(1, 1, {})).At(0, 0);
}

/// Fractions of a seventeenth in each of the six tetrahedra, and on a shared face, with the corners that count.
constexpr struct {
    Rgb from;
    int weights[8]; ///< of the corners 000, 001, 010, 011, 100, 101, 110, 111, in seventeenths
} kTetrahedra[] = {{{9, 5, 2}, {8, 0, 0, 0, 4, 0, 3, 2}}, {{9, 2, 5}, {8, 0, 0, 0, 4, 3, 0, 2}},
                   {{5, 2, 9}, {8, 4, 0, 0, 0, 3, 0, 2}}, {{2, 5, 9}, {8, 4, 0, 3, 0, 0, 0, 2}},
                   {{2, 9, 5}, {8, 0, 4, 3, 0, 0, 0, 2}}, {{5, 9, 2}, {8, 0, 4, 0, 0, 0, 3, 2}},
                   {{4, 4, 4}, {13, 0, 0, 0, 0, 0, 0, 4}}};

TEST(Cube, WeighsTheCornersOfTheRightTetrahedron) {
    for (const auto &row : kTetrahedra)
        for (int corner = 0; corner < 8; ++corner) {
            ColorCube cube;
            for (int channel = 0; channel < 3; ++channel)
                cube.At(3 + (corner >> 2 & 1), 8 + (corner >> 1 & 1), 12 + (corner & 1), channel) = 170.5;
            const int level = static_cast<int>(row.weights[corner] * 170.5 / 17.0);
            EXPECT_EQ(Through(cube, {51 + row.from.red, 136 + row.from.green, 204 + row.from.blue}),
                      (Rgb{level, level, level}))
                << "corner " << corner << " of " << row.from.red << row.from.green << row.from.blue;
        }
}

TEST(Cube, LimitsItsEntriesAndKeepsToItsBounds) {
    ColorCube cube;
    cube.At(0, 0, 0, 0) = 1e300;
    cube.At(0, 0, 0, 1) = 100;
    cube.At(0, 0, 0, 2) = 254.9;
    EXPECT_EQ(Through(cube, {0, 0, 0}), (Rgb{255, 100, 254}));
    cube.At(1, 1, 1, 1) = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Through(cube, {0, 0, 0}), (Rgb{255, 0, 254})) << "an infinite entry of weight 0 gives no number";
    EXPECT_EQ(Through(cube, {1, 1, 1}), (Rgb{255, 255, 239}));
    EXPECT_EQ(ThroughCube(Filled(3, 1, {9, 9, 9}), ColorCube{}, {1, 0, 2, 0}, Filled(3, 1, {1, 2, 3})).pixels,
              (std::vector<Rgb>{{1, 2, 3}, {0, 0, 0}, {1, 2, 3}}));
}

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
    for (const int delta : {2, -3, 7, kLeast}) {
        const std::vector<std::uint32_t> byTwo = {3, 4, 0, 1, 2};
        EXPECT_EQ(WrapVertically({1, 5, {}, {0, 1, 2, 3, 4}}, delta).words, byTwo) << delta;
        EXPECT_EQ(WrapHorizontally({5, 1, {}, {0, 1, 2, 3, 4}}, delta).words, byTwo) << delta;
    }
}

} // namespace
} // namespace expected
