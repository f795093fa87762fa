#include "expected/color.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

#include <limits>

namespace expected {
namespace {

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

} // namespace
} // namespace expected
