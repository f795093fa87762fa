#include "expected/color.h"
#include "support/pictures.h"

#include <cstring>
#include <limits>

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

class EveryLut3D : public EveryWay {
  protected:
    /// Assigns what differs from the table so far.
    void SetTable(const ColorCube &table) {
        for (int red = 0; red < 18; ++red)
            for (int green = 0; green < 18; ++green)
                for (int blue = 0; blue < 18; ++blue)
                    for (int channel = 0; channel < 3; ++channel)
                        if (const double entry = table.At(red, green, blue, channel);
                            std::memcmp(&entry, &cube.At(red, green, blue, channel), sizeof(entry)) != 0)
                            host.Assign(lut, "Table", {red, green, blue, channel}, entry);
        cube = table;
    }
    void Expect(const Picture &picture, const Ref &source, Bounds bounds = {}) {
        host.Set(lut, "SourcePicture", source);
        SetBounds(host, lut, bounds);
        ASSERT_TRUE(host.Call(lut, "Run").value.AsBoolean());
        const Value made = host.Get(lut, "DestinationPicture");
        ASSERT_PICTURE(made, ThroughCube(picture, cube, bounds, FreshLike(picture)))
            << fmt::format("bounds {} {} {} {}", bounds.minX, bounds.minY, bounds.maxX, bounds.maxY);
        EXPECT_EQ(made.AsPicture().description.hasAlphaChannel, source.picture().description.hasAlphaChannel);
    }
    void Expect(const Picture &picture, Bounds bounds = {}) { Expect(picture, MakeAnyhow(picture), bounds); }

    /// Some entries are whole, so that sums come out as whole numbers or just below; some lie outside 0..255. Places
    /// that no level stands for hold no numbers.
    ColorCube OrdinaryCube() {
        ColorCube table;
        for (double &entry : table.entries)
            entry = random.Below(3) ? random.Between(-60000, 300000) / 977.0 : 17.0 * random.Between(-1, 16);
        for (int i = 0; i < 18; ++i)
            for (int j = 0; j < 18; ++j)
                for (int k = 16; k < 18; ++k)
                    for (int x = 0; x < 3; ++x)
                        table.At(i, j, k, x) = table.At(i, k, j, x) = table.At(k, i, j, x) =
                            std::numeric_limits<double>::quiet_NaN();
        return table;
    }

    ColorCube cube;
    Ref lut = host.New("PictureLut3DKVT");
};

/// Small pictures take a plain form, which all levels share.
TEST_P(EveryLut3D, IsExactInSmallPictures) {
    highestLevels = {};
    ColorCube table; // ordinary values, and everything else so seldom that few pixels meet it
    for (double &entry : table.entries)
        entry = random.Below(50) == 0 ? AnyDouble(random, 300) : random.Below(2561) / 10.0;
    SetTable(table);
    ForEachSize([&](const Picture &picture, const Ref &source) {
        Expect(picture, source, random.Below(2) == 0 ? Bounds{} : AnyBounds(random, picture.width, picture.height));
    });
}

TEST_P(EveryLut3D, IsExactInEveryWidth) {
    SetTable(OrdinaryCube());
    for (int columns = 14; columns <= 2 * 64 + 2; ++columns) { // around and above what prepared tables are used for
        const int left = columns % 4;
        const int width = left + columns + columns % 3;
        const int height = 2 + 2048 / columns + columns % 2;
        ASSERT_NO_FATAL_FAILURE(Expect(Noise(width, height, random.Next()), {left, 1, left + columns, 0}));
    }
}

TEST_P(EveryLut3D, IsExactForEveryPlaceBetweenEntries) {
    SetTable(OrdinaryCube());
    std::vector<int> levels = {100, 136, 237, 238, 254, 255};
    for (int fraction = 0; fraction < 17; ++fraction)
        levels.push_back(fraction);
    for (const int red : levels) {
        Picture picture = Filled(256, static_cast<int>(levels.size()), {0, 0, 0});
        for (int y = 0; y < picture.height; ++y)
            for (int blue = 0; blue < 256; ++blue)
                picture.At(blue, y) = {red, levels[static_cast<std::size_t>(y)], blue};
        ASSERT_NO_FATAL_FAILURE(Expect(picture)) << "red " << red;
    }
}

TEST_P(EveryLut3D, IsExactWhateverTheEntry) {
    using Doubles = std::numeric_limits<double>;
    const ColorCube ordinary = OrdinaryCube();
    for (const double extreme :
         {1073741823.0, -1073741823.0, 4294967296.0, -4294967296.0, Doubles::max(), Doubles::infinity(),
          -Doubles::infinity(), Doubles::quiet_NaN(), Doubles::denorm_min(), -0.0}) {
        ColorCube table = ordinary;
        for (int channel = 0; channel < 3; ++channel) {
            table.At(0, 0, 0, channel) = table.At(15, 15, 15, channel) = extreme;
            // Corners that grays meet with a weight of 0, or do not meet.
            table.At(8, 7, 7, channel) = table.At(3, 3, 4, channel) = table.At(11, 12, 11, channel) = extreme;
        }
        SetTable(table);
        Picture picture = Noise(128, 64, random.Next());
        for (int gray = 0; gray < 256; ++gray)
            picture.pixels[static_cast<std::size_t>(gray)] = {gray, gray, gray};
        ASSERT_NO_FATAL_FAILURE(Expect(picture)) << extreme;
    }
}

IN_EVERY_WAY(EveryLut3D);

TEST(Lut3D, TableHasEighteenPlacesAnAxis) {
    TestHost host;
    const Ref lut = host.New("PictureLut3DKVT");
    const unsigned last = std::numeric_limits<unsigned>::max();
    host.Assign(lut, "Table", {17, 17, 17, 2}, -1e300);
    host.Assign(lut, "Table", {0, 0, 17, 2}, 1.5); // the places next to those that are out of range
    host.Assign(lut, "Table", {0, 1, 0, 0}, 2.5);
    const standin::GuardedMemory &memory = lut.instance().memory;
    const std::vector<unsigned char> before(memory.data(), memory.data() + memory.size());
    const std::vector<std::vector<Value>> outside = {{18, 0, 0, 0},   {0, 18, 0, 0},   {0, 0, 18, 0},
                                                     {0, 0, 0, 3},    {last, 0, 0, 0}, {0, last, 0, 0},
                                                     {0, 0, last, 0}, {0, 0, 0, last}, {0, 0, 17, 3}};
    for (const std::vector<Value> &place : outside) {
        host.Assign(lut, "Table", place, 99.0);
        EXPECT_EQ(host.CallWith(lut, "Table", place).value.AsDouble(), 0.0) << TextOf(place);
        EXPECT_TRUE(std::equal(before.begin(), before.end(), memory.data())) << TextOf(place);
    }
    EXPECT_EQ(host.Call(lut, "Table", 17, 17, 17, 2).value.AsDouble(), -1e300);
    EXPECT_EQ(host.Call(lut, "Table", 0, 0, 17, 2).value.AsDouble(), 1.5);
    EXPECT_EQ(host.Call(lut, "Table", 0, 1, 0, 0).value.AsDouble(), 2.5);
}

TEST(Lut3D, DropsItsResultAtEveryRun) {
    TestHost host;
    const Ref lut = host.New("PictureLut3DKVT");
    const Ref source = MakePicture(host, Filled(3, 2, {9, 9, 9}));
    host.Set(lut, "SourcePicture", source);
    EXPECT_TRUE(host.Call(lut, "Run").value.AsBoolean());
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
