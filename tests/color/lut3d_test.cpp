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

using EveryLut3D = EveryWay;

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

/// Large enough for what is prepared once a run, and with colors at both ends of the table.
TEST_P(EveryLut3D, IsExactInLargePictures) {
    ColorCube cube;
    for (double &entry : cube.entries)
        entry = random.Below(2561) / 10.0;
    const Ref lut = host.New("PictureLut3DKVT");
    SetTable(host, lut, cube);
    Picture picture = Noise(131, 67, random.Next());
    picture.At(0, 0) = {0, 0, 0};
    picture.At(130, 66) = {255, 255, 255};
    host.Set(lut, "SourcePicture", MakeAnyhow(picture));
    ASSERT_TRUE(host.Call(lut, "Run").value.AsBoolean());
    EXPECT_PICTURE(host.Get(lut, "DestinationPicture"), ThroughCube(picture, cube, {}, FreshLike(picture)));
}

IN_EVERY_WAY(EveryLut3D);

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
    const Ref empty = host.Make({.width = 0, .height = 0});
    EXPECT_FALSE(host.Call(lut, "Run").value.AsBoolean());
    const Ref source = MakePicture(host, Filled(3, 2, {9, 9, 9}));
    for (const Value &failing : {Value(), Value(empty)}) {
        const std::size_t before = host.LivingObjects();
        host.Set(lut, "SourcePicture", source);
        for (int run = 0; run < 2; ++run) {
            EXPECT_TRUE(host.Call(lut, "Run").value.AsBoolean());
            EXPECT_EQ(host.LivingObjects(), before + 1) << "the result, the one before released";
        }
        host.Set(lut, "SourcePicture", failing);
        EXPECT_FALSE(host.Call(lut, "Run").value.AsBoolean());
        EXPECT_TRUE(host.Get(lut, "DestinationPicture").IsNil());
    }
    host.Set(lut, "SourcePicture", source);
    EXPECT_TRUE(host.Call(lut, "Run").value.AsBoolean());
    // A result that serves as the next source outlives being dropped as the result.
    host.Set(lut, "SourcePicture", host.Get(lut, "DestinationPicture"));
    EXPECT_TRUE(host.Call(lut, "Run").value.AsBoolean());
    EXPECT_PICTURE(host.Get(lut, "DestinationPicture"), Filled(3, 2, {0, 0, 0}));
    host.Call(lut, "Close");
    EXPECT_TRUE(host.Get(lut, "SourcePicture").IsNil());
    EXPECT_TRUE(host.Get(lut, "DestinationPicture").IsNil());
    host.Set(lut, "SourcePicture", source);
    EXPECT_TRUE(host.Call(lut, "Run").value.AsBoolean()) << "usable after closing; destruction gives both back";
}

} // namespace
