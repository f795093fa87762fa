#include "expected/color.h"
#include "support/pictures.h"

#include <limits>

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

void SetTable(TestHost &host, const Ref &lut, const ColorCube &cube) {
    for (int red = 0; red < 18; ++red)
        for (int green = 0; green < 18; ++green)
            for (int blue = 0; blue < 18; ++blue)
                for (int channel = 0; channel < 3; ++channel)
                    host.Assign(lut, "Table", {red, green, blue, channel}, cube.At(red, green, blue, channel));
}

class EveryLut3D : public EveryWay {
  protected:
    EveryLut3D() { runsVectors = false; } // small pictures take a plain form, which all levels share
};

TEST_P(EveryLut3D, IsExact) {
    // Ordinary values, and everything else so seldom that few pixels meet it.
    ColorCube cube;
    for (double &entry : cube.entries)
        entry = random.Below(50) == 0 ? AnyDouble(random, 300) : random.Below(2561) / 10.0;
    const Ref lut = host.New("PictureLut3DKVT");
    SetTable(host, lut, cube);
    for (const auto &[width, height] : OddSizes()) {
        const Picture picture = Noise(width, height, random.Next());
        const Bounds bounds = random.Below(2) == 0 ? Bounds{} : AnyBounds(random, width, height);
        const Ref source = MakeAnyhow(picture);
        SetBounds(host, lut, bounds);
        host.Set(lut, "SourcePicture", source);
        ASSERT_TRUE(host.Call(lut, "Run").value.AsBoolean());
        const Value made = host.Get(lut, "DestinationPicture");
        ASSERT_TRUE(Shows(made, ThroughCube(picture, cube, bounds, FreshLike(picture)))) << fmt::format(
            "{} x {}, bounds {} {} {} {}", width, height, bounds.minX, bounds.minY, bounds.maxX, bounds.maxY);
        EXPECT_EQ(made.AsPicture().description.hasAlphaChannel, source.picture().description.hasAlphaChannel);
    }
}

/// Some entries are whole, so that sums come out as whole numbers or just below; some lie outside 0..255. Places that
/// no level stands for hold no numbers.
ColorCube OrdinaryCube(Random &random) {
    ColorCube cube;
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

class EveryLut3DAtLength : public EveryWay {
  protected:
    void Expect(const ColorCube &cube, const Picture &picture, Bounds bounds = {}) {
        host.Set(lut, "SourcePicture", MakeAnyhow(picture));
        SetBounds(host, lut, bounds);
        ASSERT_TRUE(host.Call(lut, "Run").value.AsBoolean());
        ASSERT_TRUE(Shows(host.Get(lut, "DestinationPicture"), ThroughCube(picture, cube, bounds, FreshLike(picture))));
    }
    Ref lut = host.New("PictureLut3DKVT");
};

TEST_P(EveryLut3DAtLength, IsExactInEveryWidth) {
    const ColorCube cube = OrdinaryCube(random);
    SetTable(host, lut, cube);
    for (int columns = 14; columns <= 2 * 64 + 2; ++columns) { // around and above what prepared tables are used for
        SCOPED_TRACE(columns);
        const int left = columns % 4;
        const int width = left + columns + columns % 3;
        const int height = 2 + 2048 / columns + columns % 2;
        Expect(cube, Noise(width, height, random.Next()), {left, 1, left + columns, 0});
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST_P(EveryLut3DAtLength, IsExactForEveryPlaceBetweenEntries) {
    const ColorCube cube = OrdinaryCube(random);
    SetTable(host, lut, cube);
    std::vector<int> reds = {100, 136, 237, 238, 254, 255};
    for (int fraction = 0; fraction < 17; ++fraction)
        reds.push_back(fraction);
    for (const int red : reds) {
        SCOPED_TRACE(red);
        Picture picture = Filled(256, 256, {0, 0, 0});
        for (int green = 0; green < 256; ++green)
            for (int blue = 0; blue < 256; ++blue)
                picture.At(blue, green) = {red, green, blue};
        Expect(cube, picture);
        ASSERT_FALSE(HasFatalFailure());
    }
}

const struct {
    const char *what;
    double entry;
} kExtremes[] = {
    {"fits 32 bits", 1073741823.0},
    {"fits 32 bits, below", -1073741823.0},
    {"beyond 32 bits", 4294967296.0},
    {"beyond 32 bits, below", -4294967296.0},
    {"the largest number", std::numeric_limits<double>::max()},
    {"infinite", std::numeric_limits<double>::infinity()},
    {"infinite, below", -std::numeric_limits<double>::infinity()},
    {"not a number", std::numeric_limits<double>::quiet_NaN()},
    {"the smallest number", std::numeric_limits<double>::denorm_min()},
    {"minus zero", -0.0},
};

TEST_P(EveryLut3DAtLength, IsExactWhateverTheEntry) {
    for (const auto &row : kExtremes) {
        SCOPED_TRACE(row.what);
        ColorCube cube = OrdinaryCube(random);
        for (int channel = 0; channel < 3; ++channel) {
            cube.At(0, 0, 0, channel) = cube.At(15, 15, 15, channel) = row.entry;
            // Corners that grays meet with a weight of 0, or do not meet.
            cube.At(8, 7, 7, channel) = cube.At(3, 3, 4, channel) = cube.At(11, 12, 11, channel) = row.entry;
        }
        SetTable(host, lut, cube);
        Picture picture = Noise(128, 64, random.Next());
        for (int gray = 0; gray < 256; ++gray)
            picture.pixels[static_cast<std::size_t>(gray)] = {gray, gray, gray};
        Expect(cube, picture);
        ASSERT_FALSE(HasFatalFailure());
    }
}

IN_EVERY_WAY(EveryLut3D);
IN_EVERY_WAY(EveryLut3DAtLength);

TEST(Lut3D, TableHasEighteenPlacesAnAxis) {
    TestHost host;
    const Ref lut = host.New("PictureLut3DKVT");
    const unsigned last = std::numeric_limits<unsigned>::max();
    host.Assign(lut, "Table", {17, 17, 17, 2}, -1e300);
    host.Assign(lut, "Table", {0, 0, 17, 2}, 1.5); // the places next to those that are out of range
    host.Assign(lut, "Table", {0, 1, 0, 0}, 2.5);
    const std::vector<std::vector<Value>> outside = {{18, 0, 0, 0},   {0, 18, 0, 0},   {0, 0, 18, 0},
                                                     {0, 0, 0, 3},    {last, 0, 0, 0}, {0, last, 0, 0},
                                                     {0, 0, last, 0}, {0, 0, 0, last}, {0, 0, 17, 3}};
    const std::vector<unsigned char> before(lut.instance().memory.data(),
                                            lut.instance().memory.data() + lut.instance().memory.size());
    for (const std::vector<Value> &place : outside) {
        host.Assign(lut, "Table", place, 99.0);
        EXPECT_EQ(host.CallWith(lut, "Table", place).value.AsDouble(), 0.0) << TextOf(place);
        EXPECT_TRUE(std::equal(before.begin(), before.end(), lut.instance().memory.data())) << TextOf(place);
    }
    EXPECT_EQ(host.Call(lut, "Table", 17, 17, 17, 2).value.AsDouble(), -1e300);
    EXPECT_EQ(host.Call(lut, "Table", 0, 0, 17, 2).value.AsDouble(), 1.5);
    EXPECT_EQ(host.Call(lut, "Table", 0, 1, 0, 0).value.AsDouble(), 2.5);
}

TEST(Lut3D, DropsItsResultAtEveryRun) {
    TestHost host;
    const Ref lut = host.New("PictureLut3DKVT");
    const Ref source = MakePicture(host, Filled(3, 2, {9, 9, 9}));
    const std::size_t before = host.LivingObjects();
    host.Set(lut, "SourcePicture", source);
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(host.Call(lut, "Run").value.AsBoolean());
        EXPECT_EQ(host.LivingObjects(), before + 1) << "the result, the one before released";
    }
    // A result that serves as the next source outlives being dropped as the result.
    host.Set(lut, "SourcePicture", host.Get(lut, "DestinationPicture"));
    EXPECT_TRUE(host.Call(lut, "Run").value.AsBoolean());
    EXPECT_PICTURE(host.Get(lut, "DestinationPicture"), Filled(3, 2, {0, 0, 0}));
    host.Set(lut, "SourcePicture", nullptr);
    EXPECT_FALSE(host.Call(lut, "Run").value.AsBoolean());
    EXPECT_TRUE(host.Get(lut, "DestinationPicture").IsNil()) << "a failed run has none";
    host.Set(lut, "SourcePicture", source);
    host.Call(lut, "Close");
    EXPECT_TRUE(host.Get(lut, "SourcePicture").IsNil());
    EXPECT_FALSE(host.Call(lut, "Run").value.AsBoolean());
}

} // namespace
