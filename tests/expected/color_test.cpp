#include "expected/color.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

namespace expected {
namespace {

const Picture kTwo = {2, 1, {{10, 20, 30}, {10, 40, 50}}};

TEST(Color, IsCountedExactly) {
    EXPECT_EQ(CountColor(kTwo, 0x0A141E), 1);
    EXPECT_EQ(CountColor(kTwo, 0xFF0A2832), 1) << "the top byte does not count";
    EXPECT_EQ(CountColor(kTwo, 0x0A141F), 0);
    EXPECT_EQ(CountColor(Filled(5, 3, {255, 0, 0}), 0xFF0000), 15);
    EXPECT_EQ(CountColor(Filled(0, 3, {}), 0), 0);
}

TEST(Histograms, AddUp) {
    Histograms before;
    before.blue[30] = 0xFFFFFFFF;
    const Histograms once = CountColors(kTwo, before);
    EXPECT_EQ(once.red[10], 2u);
    EXPECT_EQ(once.green[20], 1u);
    EXPECT_EQ(once.green[40], 1u);
    EXPECT_EQ(once.blue[30], 0u) << "counters wrap";
    EXPECT_EQ(once.blue[50], 1u);
    const Histograms twice = CountColors(kTwo, once);
    EXPECT_EQ(twice.red[10], 4u);
    EXPECT_EQ(std::accumulate(twice.green.begin(), twice.green.end(), 0u), 4u);
}

TEST(Color, GoesThroughItsOwnChannelsTable) {
    LookupTable identity;
    LookupTable inverse;
    for (std::size_t level = 0; level < 256; ++level) {
        identity[level] = static_cast<unsigned char>(level);
        inverse[level] = static_cast<unsigned char>(255 - level);
    }
    const LookupTable zeros = {};
    const Picture before = Filled(3, 2, {1, 2, 3});
    const Picture after = TransformColors(kTwo, zeros, identity, inverse, before);
    EXPECT_EQ(after.pixels, (std::vector<Rgb>{{0, 20, 225}, {0, 40, 205}, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}}));
}

TEST(Color, IsReplacedAndExtractedExactly) {
    EXPECT_EQ(ReplaceColor(kTwo, 0x0A141E, 0x010203).pixels, (std::vector<Rgb>{{1, 2, 3}, {10, 40, 50}}));
    EXPECT_EQ(ExtractColor(kTwo, 0x0A2832, 0x010203, 0x040506).pixels, (std::vector<Rgb>{{4, 5, 6}, {1, 2, 3}}));
    for (const std::uint32_t near : {0x0B141Eu, 0x0A151Eu, 0x0A141Du}) {
        EXPECT_EQ(ReplaceColor(kTwo, near, 0), kTwo);
        EXPECT_EQ(ExtractColor(kTwo, near, 0, 0x040506), Filled(2, 1, {4, 5, 6}));
    }
}

TEST(Channels, MoveBetweenPictures) {
    const Picture channel = {3, 2, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}};
    EXPECT_EQ(ReplaceRedChannel(kTwo, channel).pixels, (std::vector<Rgb>{{1, 20, 30}, {4, 40, 50}}));
    EXPECT_EQ(ReplaceGreenChannel(kTwo, channel).pixels, (std::vector<Rgb>{{10, 2, 30}, {10, 5, 50}}));
    EXPECT_EQ(ReplaceBlueChannel(kTwo, channel).pixels, (std::vector<Rgb>{{10, 20, 3}, {10, 40, 6}}));
    EXPECT_EQ(CombinePictures(Filled(1, 1, {1, 2, 3}), Filled(1, 1, {4, 5, 6}), Filled(1, 1, {7, 8, 9})).At(0, 0),
              (Rgb{1, 5, 9}));
    EXPECT_EQ(MergePictures(Filled(1, 1, {255, 7, 0}), Filled(1, 1, {0, 8, 255})).At(0, 0), (Rgb{255, 8, 255}));
}

TEST(EmbeddedMask, IsReadAndStored) {
    const StoredPicture stored = {2, 1, Layout::AlphaLow, {0x30201080, 0x302010FF}};
    EXPECT_EQ(EmbeddedMask(stored, false), (Picture{2, 1, {{128, 128, 128}, {255, 255, 255}}}));
    EXPECT_EQ(EmbeddedMask(stored, true), (Picture{2, 1, {{127, 127, 127}, {0, 0, 0}}}));
    const Picture smaller = {1, 3, {{7, 100, 100}, {0, 0, 0}, {0, 0, 0}}};
    EXPECT_EQ(SetEmbeddedMask(stored, false, smaller).words, (std::vector<std::uint32_t>{0x30201007, 0x302010FF}));
    EXPECT_EQ(SetEmbeddedMask(stored, true, smaller).words, (std::vector<std::uint32_t>{0x302010F8, 0x302010FF}));
}

ColorCube Identity() {
    ColorCube cube;
    for (int r = 0; r < 18; ++r)
        for (int g = 0; g < 18; ++g)
            for (int b = 0; b < 18; ++b) {
                cube.At(r, g, b, 0) = 17 * r;
                cube.At(r, g, b, 1) = 17 * g;
                cube.At(r, g, b, 2) = 17 * b;
            }
    return cube;
}

Rgb Through(const ColorCube &cube, Rgb pixel) {
    return ThroughCube(Filled(1, 1, pixel), cube, {}, Filled(1, 1, {})).At(0, 0);
}

constexpr struct {
    Rgb from;
    Rgb to;
} kThroughIdentity[] = {
    {{57, 57, 57}, {56, 56, 56}}, // truncated
    {{108, 0, 0}, {107, 0, 0}},         {{51, 51, 51}, {51, 51, 51}},
    {{255, 255, 255}, {255, 255, 255}}, {{0, 17, 34}, {0, 17, 34}},
};

TEST(Cube, OfIdentityKeepsGridColors) {
    const ColorCube identity = Identity();
    for (const auto &row : kThroughIdentity)
        EXPECT_EQ(Through(identity, row.from), row.to) << row.from.red;
    // Between grid points the value is truncated: at most one lower.
    const Picture source = Noise(100, 100, 7);
    const Picture result = ThroughCube(source, identity, {}, source);
    for (std::size_t i = 0; i < source.pixels.size(); ++i) {
        ASSERT_LE(source.pixels[i].red - result.pixels[i].red, 1);
        ASSERT_GE(source.pixels[i].red - result.pixels[i].red, 0);
    }
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
    for (const auto &row : kTetrahedra) {
        for (int corner = 0; corner < 8; ++corner) {
            ColorCube cube;
            for (int channel = 0; channel < 3; ++channel)
                cube.At(3 + (corner >> 2 & 1), 8 + (corner >> 1 & 1), 12 + (corner & 1), channel) = 170.5;
            const Rgb from = {51 + row.from.red, 136 + row.from.green, 204 + row.from.blue};
            const int level = static_cast<int>(row.weights[corner] * 170.5 / 17.0);
            EXPECT_EQ(Through(cube, from), (Rgb{level, level, level}))
                << "corner " << corner << " of " << row.from.red << row.from.green << row.from.blue;
        }
    }
}

TEST(Cube, LimitsItsEntries) {
    ColorCube cube;
    cube.At(0, 0, 0, 0) = 1e300;
    cube.At(0, 0, 0, 1) = -3;
    cube.At(0, 0, 0, 2) = 254.9;
    EXPECT_EQ(Through(cube, {0, 0, 0}), (Rgb{255, 0, 254}));
    cube.At(0, 0, 0, 0) = std::numeric_limits<double>::infinity();
    cube.At(0, 0, 0, 1) = 100;
    EXPECT_EQ(Through(cube, {0, 0, 0}), (Rgb{255, 100, 254}));
    cube.At(1, 1, 1, 1) = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Through(cube, {0, 0, 0}), (Rgb{255, 0, 254})) << "an infinite entry of weight 0 gives no number";
    EXPECT_EQ(Through(cube, {1, 1, 1}), (Rgb{255, 255, 239}));
}

TEST(Cube, WritesItsBoundsAlone) {
    const Picture before = Filled(3, 1, {1, 2, 3});
    EXPECT_EQ(ThroughCube(Filled(3, 1, {9, 9, 9}), ColorCube{}, {1, 0, 2, 0}, before).pixels,
              (std::vector<Rgb>{{1, 2, 3}, {0, 0, 0}, {1, 2, 3}}));
}

} // namespace
} // namespace expected
