#include "pixels/tetrahedral.h"

#include "expected/color.h"
#include "expected/noise.h"
#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "pixels/instruction_set.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

namespace {

using namespace kvt;

/// A grid of the module's form with the entries of a cube.
class Grid {
  public:
    explicit Grid(const expected::ColorCube &cube) : grid_(new ColorGrid[1]) {
        std::copy(cube.entries.begin(), cube.entries.end(), &grid_[0][0][0][0][0]);
    }
    operator ThroughGrid() const { return {&grid_[0]}; }

  private:
    std::unique_ptr<ColorGrid[]> grid_;
};

/// Some entries are whole, so that sums come out as whole numbers or just below; some lie outside 0..255. Points that
/// no level stands for hold no numbers.
expected::ColorCube AnyCube(std::uint32_t seed) {
    expected::Random random(seed);
    expected::ColorCube cube;
    for (double &entry : cube.entries)
        entry = random.Below(3) ? random.Between(-60000, 300000) / 977.0 : 17.0 * random.Between(-1, 16);
    for (int i = 0; i < 18; ++i)
        for (int j = 0; j < 18; ++j)
            for (int k = 16; k < 18; ++k)
                for (int x = 0; x < 3; ++x)
                    cube.At(i, j, k, x) = cube.At(i, k, j, x) = cube.At(k, i, j, x) =
                        std::numeric_limits<double>::quiet_NaN();
    return cube;
}

class ColorsThroughAGrid : public testing::TestWithParam<int> {
  protected:
    void SetUp() override {
        gForcedLevel = GetParam();
        if (static_cast<int>(ActiveInstructionSet()) != GetParam()) {
            gForcedLevel = -1;
            GTEST_SKIP() << "this processor does not offer the level";
        }
    }
    void TearDown() override { gForcedLevel = heap::granted = -1; }
};
INSTANTIATE_TEST_SUITE_P(AtEveryLevel, ColorsThroughAGrid, testing::Values(0, 1, 2));

/// Maps the bounds of a picture from layout to layout, into another picture and in place.
void ExpectAsPlain(const expected::Picture &picture, const expected::ColorCube &cube, expected::Bounds bounds,
                   std::int32_t from, std::int32_t to) {
    const expected::Picture before = expected::Filled(picture.width, picture.height, {1, 2, 3});
    const Grid grid(cube);
    PlainPicture source(picture, from);
    PlainPicture target(before, to);
    const PictureEditor &reader = *source;
    const Area area = AreaOf(reader, Bounds{bounds.minX, bounds.minY, bounds.maxX, bounds.maxY});
    Map(reader, *target, area, grid);
    ASSERT_EQ(expected::Load(source.Stored()), picture);
    ASSERT_EQ(expected::Load(target.Stored()), expected::ThroughCube(picture, cube, bounds, before));
    ASSERT_TRUE(target.GuardsStand());
    Map(reader, reader, area, grid);
    ASSERT_EQ(expected::Load(source.Stored()), expected::ThroughCube(picture, cube, bounds, picture));
    ASSERT_TRUE(source.GuardsStand());
    const expected::Bounds whole = {0, 0, 0, 0};
    Map(reader, *target, AreaOf(reader, kWholePicture), grid);
    const expected::Picture mapped = expected::ThroughCube(expected::Load(source.Stored()), cube, whole, before);
    ASSERT_TRUE(target.Stored() == expected::Store(mapped, expected::LayoutOf(to))) << "opaque";
}

TEST_P(ColorsThroughAGrid, AreThePlainFormsInEveryWidth) {
    const expected::ColorCube cube = AnyCube(1);
    for (std::int32_t columns = 1; columns <= 3 * 64 + 1; ++columns) {
        const int left = columns % 4;
        const int width = left + columns + columns % 3;
        const int height = 2 + std::max(2, 2500 / columns);
        const expected::Picture picture = expected::Noise(width, height, static_cast<std::uint32_t>(columns));
        const std::int32_t from = kFormats[columns % 3];
        const std::int32_t to = kFormats[columns / 3 % 3];
        ExpectAsPlain(picture, cube, {left, 1, left + columns, height - 1}, from, to);
        ASSERT_FALSE(HasFailure()) << columns << " columns, format " << from << " to " << to;
    }
}

TEST_P(ColorsThroughAGrid, AreThePlainFormsForEveryColor) {
    const expected::ColorCube cube = AnyCube(2);
    const Grid grid(cube);
    expected::Picture picture = {256, 256, std::vector<expected::Rgb>(256 * 256)};
    for (int red = 0; red < 256; ++red) {
        for (int green = 0; green < 256; ++green)
            for (int blue = 0; blue < 256; ++blue)
                picture.At(blue, green) = {red, green, blue};
        PlainPicture memory(picture, 1);
        Map(*memory, *memory, {0, 0, 256, 256}, grid);
        ASSERT_EQ(expected::Load(memory.Stored()), expected::ThroughCube(picture, cube, {0, 0, 0, 0}, picture))
            << "red " << red;
    }
}

const struct {
    const char *what;
    double entry;
} kEntries[] = {
    {"just tame", 1073741823.0},
    {"just tame, below", -1073741823.0},
    {"beyond 32 bits", 4294967296.0},
    {"beyond 32 bits, below", -4294967296.0},
    {"the largest number", std::numeric_limits<double>::max()},
    {"infinite", std::numeric_limits<double>::infinity()},
    {"infinite, below", -std::numeric_limits<double>::infinity()},
    {"not a number", std::numeric_limits<double>::quiet_NaN()},
    {"the smallest number", std::numeric_limits<double>::denorm_min()},
    {"minus zero", -0.0},
};

TEST_P(ColorsThroughAGrid, AreThePlainFormsWhateverTheEntry) {
    for (const auto &row : kEntries) {
        SCOPED_TRACE(row.what);
        expected::ColorCube cube = AnyCube(3);
        for (int channel = 0; channel < 3; ++channel) {
            cube.At(0, 0, 0, channel) = cube.At(15, 15, 15, channel) = row.entry;
            // Corners that grays meet with a weight of 0, or do not meet.
            cube.At(8, 7, 7, channel) = cube.At(3, 3, 4, channel) = cube.At(11, 12, 11, channel) = row.entry;
        }
        for (const std::int32_t format : kFormats)
            ExpectAsPlain(expected::Noise(128, 64, 5), cube, {0, 0, 0, 0}, format, format);
    }
}

const struct {
    const char *what;
    int width;
    int height;
    bool worthwhile;
} kSizes[] = {
    {"one pixel", 1, 1, false}, {"narrow", 8, 4096, false},  {"a few pixels", 32, 16, false},
    {"a row", 8192, 1, true},   {"a picture", 64, 64, true},
};

TEST_P(ColorsThroughAGrid, TakeMemoryOnlyWhereItPaysAndDoWithout) {
    const expected::ColorCube cube = AnyCube(4);
    for (const auto &row : kSizes) {
        SCOPED_TRACE(row.what);
        const expected::Picture picture = expected::Noise(row.width, row.height, 6);
        const expected::Picture mapped = expected::ThroughCube(picture, cube, {0, 0, 0, 0}, picture);
        for (const int granted : {0, 1}) {
            PlainPicture memory(picture, 2);
            const Grid grid(cube);
            heap::granted = granted;
            Map(*memory, *memory, {0, 0, row.width, row.height}, grid);
            EXPECT_EQ(heap::granted, row.worthwhile ? 0 : granted);
            heap::granted = -1;
            EXPECT_EQ(expected::Load(memory.Stored()), mapped) << granted << " granted";
        }
    }
}

} // namespace
