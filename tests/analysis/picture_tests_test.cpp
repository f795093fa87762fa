#include "expected/analysis.h"
#include "support/pictures.h"

#include <climits>
#include <cmath>

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

using EveryPictureTest = EveryWay;

/// One color with a single other pixel, or none.
Picture NearlyPlain(Random &random, int width, int height) {
    constexpr Rgb kPlain[] = {{255, 255, 255}, {0, 0, 0}, {77, 77, 77}, {100, 103, 97}};
    constexpr Rgb kOdd[] = {{254, 255, 255}, {255, 255, 254}, {1, 0, 0}, {0, 1, 0}, {77, 80, 77}, {255, 0, 255}};
    Picture picture = Filled(width, height, kPlain[random.Below(4)]);
    if (random.Below(4) > 0)
        picture.At(random.Below(width), random.Below(height)) = kOdd[random.Below(6)];
    return picture;
}

TEST_P(EveryPictureTest, IsExact) {
    ForEachSize([&](const Picture &noise, const Ref &colorful) {
        for (int round = 0; round < 4; ++round) {
            const Picture picture = NearlyPlain(random, noise.width, noise.height);
            const Rectangle area = AnyRectangle(random, noise.width, noise.height);
            const int tolerance = AnyInteger(random, 6);
            const Ref tested = MakeAnyhow(picture);
            SCOPED_TRACE(
                fmt::format("area {} {} {} {}, tolerance {}", area.left, area.top, area.width, area.height, tolerance));
            const auto answer = [&](const char *method, std::vector<Value> arguments, bool inArea) {
                if (inArea)
                    arguments.insert(arguments.end(), {area.left, area.top, area.width, area.height});
                return host.CallWith(tested, method, arguments).value.AsBoolean();
            };
            for (const bool inArea : {false, true}) {
                const Rectangle part = inArea ? area : Rectangle{};
                EXPECT_EQ(answer("isWhiteKVT", {}, inArea), IsWhite(picture, part));
                EXPECT_EQ(answer("isBlackKVT", {}, inArea), IsBlack(picture, part));
                EXPECT_EQ(answer("isGrayKVT", {tolerance}, inArea), IsGray(picture, tolerance, part));
            }
            EXPECT_EQ(answer("isGrayKVT", {}, false), IsGray(picture, 0, {}));
        }
        const int threshold = AnyInteger(random, 260);
        EXPECT_EQ(host.Call(colorful, "ColornessKVT", threshold).value.AsDouble(), Colorness(noise, threshold))
            << "threshold " << threshold;
        EXPECT_EQ(host.Call(colorful, "ColornessKVT").value.AsDouble(), Colorness(noise, 10));
    });
}

/// One color a row, in rows that are long enough for every vector.
TEST_P(EveryPictureTest, ComparesExactlyAtEveryLimit) {
    constexpr int kLevels[] = {0, 1, 29, 30, 128, 255};
    constexpr int kLimits[] = {INT_MIN, -256, -255, -30, -1, 0, 1, 29, 98, 127, 128, 254, 255, 256, INT_MAX};
    constexpr int kWidth = 67;
    Picture picture = {kWidth, 0, {}};
    for (const int red : kLevels)
        for (const int green : kLevels)
            for (const int blue : kLevels) {
                picture.pixels.insert(picture.pixels.end(), kWidth, {red, green, blue});
                ++picture.height;
            }
    const Ref tested = MakeAnyhow(picture);
    for (const int limit : kLimits) {
        for (int y = 0; y < picture.height; ++y)
            ASSERT_EQ(host.Call(tested, "isGrayKVT", limit, 0, y, kWidth, 1).value.AsBoolean(),
                      IsGray(picture, limit, {0, y, kWidth, 1}))
                << "row " << y << ", tolerance " << limit;
        EXPECT_EQ(host.Call(tested, "ColornessKVT", limit).value.AsDouble(), Colorness(picture, limit))
            << "threshold " << limit;
    }
}

IN_EVERY_WAY(EveryPictureTest);

/// The first pixel that fails ends a test: the rows below its own cannot be touched.
TEST(PictureTests, EndAtTheFirstPixelThatFails) {
    for (const int level : EveryLevelOffered())
        for (const int width : {1, 67, 3000})
            for (const int column : {0, width - 1}) {
                SCOPED_TRACE(fmt::format("level {}, column {} of {}", level, column, width));
                TestHost host({.application = standin::Application::Console});
                ASSERT_TRUE(host.ForceLevel(level));
                const auto picture = [&](standin::ColorValue plain) {
                    const auto color = [=](int x, int y) { return x == column && y == 2 ? 0x102030u : plain; };
                    return host.Make({.width = width, .height = 40, .color = color, .untouchableRow = 3});
                };
                EXPECT_FALSE(host.Call(picture(0xFFFFFF), "isWhiteKVT").value.AsBoolean());
                EXPECT_FALSE(host.Call(picture(0), "isBlackKVT").value.AsBoolean());
                EXPECT_FALSE(host.Call(picture(0x777777), "isGrayKVT").value.AsBoolean());
                EXPECT_FALSE(host.Call(picture(0x777777), "isGrayKVT", 31).value.AsBoolean());
            }
}

TEST(PictureTests, OfWhatHasNoPixels) {
    TestHost host;
    const Value empty = host.Make({.width = 0, .height = 3});
    for (const char *method : {"isWhiteKVT", "isBlackKVT", "isGrayKVT"})
        EXPECT_TRUE(host.Call(empty, method).value.AsBoolean());
    EXPECT_TRUE(std::isnan(host.Call(empty, "ColornessKVT").value.AsDouble()));
}

} // namespace
