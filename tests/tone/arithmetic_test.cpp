#include "expected/tone.h"
#include "support/pictures.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

/// Operations whose arithmetic has a narrow form for ordinary settings: every form must yield what the plain
/// computation does, at every instruction-set level and on both sides of where the forms meet.
namespace {

using standin::MakeColor;
using standin::Ref;

using EveryLevel = EveryWay;

INSTANTIATE_TEST_SUITE_P(, EveryLevel, testing::ValuesIn(EveryLevelOf("HighToLow")),
                         [](const auto &way) { return kLevelNames[way.param.level]; });

/// Reds and blues in every combination, with greens that make for every gray.
expected::Picture EveryDistance() {
    expected::Picture picture{256, 256, {}};
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x)
            picture.pixels.push_back({x, (x * 31 + y * 17) % 256, y});
    picture.pixels.back() = {255, 255, 255}; // the largest sum
    return picture;
}

constexpr int kEdge = std::numeric_limits<int>::max();

TEST_P(EveryLevel, StretchesSaturationByAnyAmount) {
    std::vector<int> amounts = {0,     1,      -1,     -254,   -255,   -256,  -509,   -510,  -511,      126,
                                127,   128,    254,    255,    256,    509,   510,    31618, 31619,     31620,
                                31621, -32128, -32129, -32130, -32131, 65024, -65536, kEdge, -kEdge - 1};
    random = expected::Random(1);
    for (int i = 0; i < 40; ++i)
        amounts.push_back(random.Between(-32200, 31700));
    const expected::Picture distances = EveryDistance();
    const Ref picture = Make(distances);
    for (const int amount : amounts) {
        SCOPED_TRACE("amount " + std::to_string(amount));
        const auto result = host.Call(picture, "ChangeSaturationKVT", amount);
        // Further out, nothing changes any more, and the plain computation would overflow.
        ASSERT_PICTURE(result.picture(), expected::Saturation(distances, std::clamp(amount, -2000000, 2000000)));
    }
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Level x becomes x * a + b. Large pictures are adjusted along a straight line of 16 bits where there is one.
constexpr struct {
    const char *what;
    double a, b;
} kCustoms[] = {
    {"nothing changes", 1.0, 0.0},
    {"brighter", 1.0, 40.5},
    {"darker", 1.0, -40.5},
    {"all the same", 0.0, 127.0},
    {"white", 0.0, 300.0},
    {"not a number", kNaN, 10.0},
    {"hardly rising", 0.000362716615, 254.907507},
    {"the inverse", -1.0, 255.0},
    {"falling from beyond white", -1.95074107, 678.042089},
    {"falling flat", -0.01, 7.3},
    {"below a unit", 0.7123, 12.9},
    {"the last slope of an exponent", 65535.0 / 65536.0, 0.0},
    {"steeper than the last slope", 65535.6 / 65536.0, 0.0},
    {"just steeper than 1", 1.00002, -0.5},
    {"far below black", 3.75, -640.0},
    {"the steepest lines", 127.9, -12345.0},
    {"steeper than any line", 300.0, -38000.0},
    {"a step", 16777216.0, -2147483648.0},
    {"infinitely steep", kInfinity, 0.0},
    {"rounded to no line", 1.4, -20.0},
};

TEST_P(EveryLevel, AdjustsAlongAnyLine) {
    const expected::Picture distances = EveryDistance();
    const Ref picture = Make(distances);
    for (const auto &row : kCustoms) {
        SCOPED_TRACE(row.what);
        ASSERT_PICTURE(host.Call(picture, "ChangeCustomKVT", row.a, row.b).picture(),
                       expected::CustomTransform(distances, row.a, row.b));
    }
}

TEST_P(EveryLevel, AdjustsChannelsAlongLinesOfTheirOwn) {
    const expected::Picture distances = EveryDistance();
    const Ref picture = Make(distances);
    random = expected::Random(4);
    for (int i = 0; i < 60; ++i) {
        const auto any = [&](double limit) { return expected::AnyDouble(random, limit); };
        const expected::PerChannel contrast{any(3), any(3), any(3)};
        const expected::PerChannel brightness{any(255), any(255), any(255)};
        SCOPED_TRACE(testing::Message() << contrast.red << ' ' << contrast.green << ' ' << contrast.blue << ", "
                                        << brightness.red << ' ' << brightness.green << ' ' << brightness.blue);
        ASSERT_PICTURE(host.Call(picture, "ChangeContrastBrightnessLinearKVT", contrast.red, contrast.green,
                                 contrast.blue, brightness.red, brightness.green, brightness.blue)
                           .picture(),
                       expected::ContrastLinearBrightness(distances, contrast, brightness));
    }
}

/// Rows of grays, all the same or in turn, between rows of colors.
expected::Picture GraysAndColors() {
    expected::Picture picture{1100, 24, {}};
    expected::Random random(3);
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const int gray = y % 4 < 2 ? 255 - y : x % 256;
            const expected::Rgb color{random.Between(0, 255), random.Between(0, 255), random.Between(0, 255)};
            picture.pixels.push_back(y % 4 == 3 || x % 300 > 250 ? color : expected::Rgb{gray, gray, gray});
        }
    return picture;
}

TEST_P(EveryLevel, TintsWithAnyColors) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> colors = {
        {0x555555, 0xFFFFFF}, {0x555555, 0x555555}, {0xFFFFFF, 0xFFFFFF}, {0x4D961D, 0xFFFFFF}, {0x4C961D, 0xFFFFFF},
        {0x4D961D, 0xFFE0B3}, {0x4C961D, 0xFFE0B3}, {0x4C961D, 0xF3E0B3}, {0x4D971D, 0xFDE0B3}, {0x4D971E, 0xFCE0B3},
        {0x33CC00, 0xFF8000}, {0xFF0000, 0xFFFFFF}, {0x000000, 0xFFFFFF}, {0xFFFFFF, 0x010203}, {0x4D961D, 0x000000},
    };
    random = expected::Random(2);
    for (int i = 0; i < 20; ++i)
        colors.emplace_back(random.Next() & 0xFFFFFF, random.Next() & 0xFFFFFF);
    for (int i = 0; i < 20; ++i) { // weights that are about 1 in sum
        const int red = random.Between(0, 255);
        const int green = random.Between(0, 255 - red);
        const int blue = random.Between(253, 257) - red - green;
        colors.emplace_back(MakeColor(unsigned(red), unsigned(green), unsigned(std::clamp(blue, 0, 255))),
                            random.Next() & 0xFFFFFF);
    }
    for (const expected::Picture &source : {EveryDistance(), GraysAndColors()}) {
        const Ref picture = Make(source);
        for (const auto &[gray, tint] : colors) {
            SCOPED_TRACE(testing::Message() << std::hex << gray << " and " << tint);
            const auto result = host.CallGlobal("TintPictureKVT", picture, gray, tint);
            ASSERT_PICTURE(result.picture(), expected::Tint(source, gray, tint));
        }
    }
}

TEST_P(EveryLevel, TintsEveryGray) {
    expected::Picture grays{256, 256, {}}; // 0 to 65280 of 255ths, with the weights below
    for (int y = 0; y < grays.height; ++y)
        for (int x = 0; x < grays.width; ++x)
            grays.pixels.push_back({x, y, 255 - x});
    const Ref picture = Make(grays);
    for (unsigned level = 0; level < 256; ++level) {
        SCOPED_TRACE("tint " + std::to_string(level));
        const std::uint32_t tint = MakeColor(level, level, level);
        const auto result = host.CallGlobal("TintPictureKVT", picture, 0xFF0100, tint);
        ASSERT_PICTURE(result.picture(), expected::Tint(grays, 0xFF0100, tint));
    }
}

// Weights are whole 1024ths here. Together 1024 of them are the most that bytes serve, and 4000 the narrow form.
constexpr struct {
    const char *what;
    int red, green, blue;
    int offset;
} kSepias[] = {
    {"the largest sum of bytes", 512, 256, 256, -30},
    {"the largest sum of bytes, with remainders", 343, 339, 342, 300},
    {"one more than bytes serve", 341, 342, 342, -30},
    {"the narrow form's largest sum", 1350, 1325, 1325, -700},
    {"the narrow form's largest remainders", 1343, 1327, 1327, 0},
    {"one channel alone", 0, 4000, 0, -900},
    {"one more than the narrow form serves", 1335, 1335, 1331, -900},
    {"sums beyond 16 bits", 1376, 1376, 1376, -900},
    {"a negative weight", -1024, 1024, 1500, 100},
    {"nothing counts", 0, 0, 0, 77},
    {"an offset that always shows", 306, 601, 116, kEdge},
    {"an offset that never shows", 306, 601, 116, -kEdge - 1},
    {"weights beyond 32-bit products", 2000000000, 1, -2000000000, 12},
};

TEST_P(EveryLevel, TonesSepiaWithAnyWeights) {
    const expected::Picture distances = EveryDistance();
    const Ref sepia = host.New("PictureSepiaKVT");
    host.Set(sepia, "SourcePicture", Make(distances));
    for (const auto &row : kSepias) {
        SCOPED_TRACE(row.what);
        expected::SepiaSettings settings;
        settings.weights = {row.red / 1024.0, row.green / 1024.0, row.blue / 1024.0};
        settings.red = row.offset;
        settings.green = -20;
        settings.blue = 40;
        host.Set(sepia, "FactorRed", settings.weights.red);
        host.Set(sepia, "FactorBlue", settings.weights.green);
        host.Set(sepia, "FactorGreen", settings.weights.blue);
        host.Set(sepia, "SepiaRed", settings.red);
        host.Set(sepia, "SepiaGreen", settings.green);
        host.Set(sepia, "SepiaBlue", settings.blue);
        ASSERT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
        const Ref result = host.Get(sepia, "DestinationPicture").AsRef();
        ASSERT_PICTURE(result.picture(), expected::Sepia(distances, settings, distances));
    }
}

} // namespace
