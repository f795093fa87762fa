#include "expected/analysis.h"
#include "support/pictures.h"

#include <cmath>
#include <limits>

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
    for (const auto &[width, height] : OddSizes()) {
        for (int round = 0; round < 8; ++round) {
            const Picture picture = NearlyPlain(random, width, height);
            const Rectangle area = round % 2 == 0 ? Rectangle{} : AnyRectangle(random, width, height);
            const int tolerance = AnyInteger(random, 6);
            const Ref tested = MakeAnyhow(picture);
            SCOPED_TRACE(fmt::format("{} x {}, area {} {} {} {}, tolerance {}", width, height, area.left, area.top,
                                     area.width, area.height, tolerance));
            const auto answer = [&](const char *method, std::vector<Value> arguments) {
                arguments.insert(arguments.end(), {area.left, area.top, area.width, area.height});
                return host.CallWith(tested, method, arguments).value.AsBoolean();
            };
            EXPECT_EQ(answer("isWhiteKVT", {}), IsWhite(picture, area));
            EXPECT_EQ(answer("isBlackKVT", {}), IsBlack(picture, area));
            EXPECT_EQ(answer("isGrayKVT", {tolerance}), IsGray(picture, tolerance, area));
            EXPECT_EQ(host.Call(tested, "isWhiteKVT").value.AsBoolean(), IsWhite(picture, {}));
            EXPECT_EQ(host.Call(tested, "isBlackKVT").value.AsBoolean(), IsBlack(picture, {}));
            EXPECT_EQ(host.Call(tested, "isGrayKVT").value.AsBoolean(), IsGray(picture, 0, {}));
            EXPECT_EQ(host.Call(tested, "isGrayKVT", tolerance).value.AsBoolean(), IsGray(picture, tolerance, {}));
        }
        const Picture picture = Noise(width, height, random.Next());
        const int threshold = AnyInteger(random, 260);
        const Ref tested = MakeAnyhow(picture);
        EXPECT_EQ(host.Call(tested, "ColornessKVT", threshold).value.AsDouble(), Colorness(picture, threshold))
            << width << " x " << height << ", threshold " << threshold;
        EXPECT_EQ(host.Call(tested, "ColornessKVT").value.AsDouble(), Colorness(picture, 10));
    }
}

IN_EVERY_WAY(EveryPictureTest);

TEST(PictureTests, OfOnePixel) {
    constexpr int kLeast = std::numeric_limits<int>::min();
    const struct {
        Rgb pixel;
        const char *method;
        std::vector<Value> arguments;
        bool passes;
    } kPixels[] = {
        {{255, 255, 255}, "isWhiteKVT", {}, true},
        {{254, 255, 255}, "isWhiteKVT", {}, false},
        {{0, 0, 0}, "isBlackKVT", {}, true},
        {{0, 0, 1}, "isBlackKVT", {}, false},
        {{7, 7, 7}, "isGrayKVT", {}, true},
        {{7, 7, 8}, "isGrayKVT", {}, false},
        {{100, 103, 100}, "isGrayKVT", {3}, true},
        {{100, 104, 100}, "isGrayKVT", {3}, false},
        {{100, 103, 100}, "isGrayKVT", {-3}, true},
        {{97, 100, 103}, "isGrayKVT", {5}, false},
        {{0, 255, 0}, "isGrayKVT", {254}, false},
        {{0, 255, 0}, "isGrayKVT", {255}, true},
        {{0, 255, 0}, "isGrayKVT", {kLeast}, true},
        {{9, 0, 0}, "isWhiteKVT", {0, 0, 0, 1}, true},
        {{9, 0, 0}, "isBlackKVT", {1, 0, 5, 5}, true},
        {{9, 0, 0}, "isGrayKVT", {0, 0, -1, 1, 1}, true},
        {{9, 0, 0}, "isBlackKVT", {0, 0, 1, 1}, false},
    };
    TestHost host;
    for (const auto &row : kPixels)
        EXPECT_EQ(
            host.CallWith(MakePicture(host, Filled(1, 1, row.pixel)), row.method, row.arguments).value.AsBoolean(),
            row.passes)
            << row.method << TextOf(row.arguments) << " of " << testing::PrintToString(row.pixel);
    constexpr struct {
        Rgb pixel;
        int threshold;
        double colored;
    } kColored[] = {
        {{255, 0, 0}, 10, 1},
        {{29, 29, 0}, 10, 0},
        {{40, 40, 0}, 10, 1},
        {{100, 100, 100}, 10, 0},
        {{30, 40, 20}, 10, 1},
        {{30, 40, 30}, 10, 0},
        {{0, 0, 30}, 10, 1},
        {{99, 50, 99}, 49, 0},
        {{99, 50, 99}, 48, 1},
        {{90, 90, 90}, -1, 1},
        {{29, 29, 29}, -1, 0},
        {{90, 90, 90}, kLeast, 1},
        {{255, 0, 255}, std::numeric_limits<int>::max(), 0},
    };
    for (const auto &row : kColored)
        EXPECT_EQ(host.Call(MakePicture(host, Filled(1, 1, row.pixel)), "ColornessKVT", row.threshold).value.AsDouble(),
                  row.colored)
            << testing::PrintToString(row.pixel) << ", threshold " << row.threshold;
}

TEST(PictureTests, OfWhatHasNoPixels) {
    TestHost host;
    const Value empty = host.Make({.width = 0, .height = 3});
    const Value unreadable = host.Make({.bitsPerPixel = 24});
    for (const char *method : {"isWhiteKVT", "isBlackKVT", "isGrayKVT"}) {
        EXPECT_TRUE(host.Call(empty, method).value.AsBoolean());
        EXPECT_FALSE(host.Call(unreadable, method).value.AsBoolean());
        EXPECT_FALSE(host.Call(nullptr, method).value.AsBoolean());
    }
    EXPECT_TRUE(std::isnan(host.Call(empty, "ColornessKVT").value.AsDouble()));
    EXPECT_EQ(host.Call(unreadable, "ColornessKVT").value.AsDouble(), 0.0);
    EXPECT_EQ(host.Call(nullptr, "ColornessKVT").value.AsDouble(), 0.0);
}

} // namespace
