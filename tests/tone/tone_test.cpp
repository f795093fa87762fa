#include "expected/tone.h"
#include "support/pictures.h"

#include <algorithm>
#include <limits>

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

using EveryToneOperation = EveryOperation;

enum Arguments { Contrast, Brightness, Both };

/// An adjustment that has these arguments, one of each or one a channel.
template <Picture (*adjust)(const Picture &, PerChannel, PerChannel), Arguments has, bool perChannel = false>
Trial Adjusted(Random &random, const Picture &) {
    std::vector<Value> arguments;
    const auto any = [&](double useful) {
        PerChannel values = Each(AnyDouble(random, useful));
        arguments.emplace_back(values.red);
        if (perChannel) {
            values.green = AnyDouble(random, useful);
            values.blue = AnyDouble(random, useful);
            arguments.insert(arguments.end(), {values.green, values.blue});
        }
        return values;
    };
    const PerChannel contrast = has == Brightness ? PerChannel() : any(3);
    const PerChannel brightness = has == Contrast ? PerChannel() : any(255);
    return {arguments, [=](const Picture &source, const Picture &) { return adjust(source, contrast, brightness); }};
}

template <Picture (*invert)(const Picture &, Rectangle, Picture)> Trial InArea(Random &random, const Picture &picture) {
    const Rectangle area = AnyRectangle(random, picture.width, picture.height);
    return {{area.left, area.top, area.width, area.height},
            [=](const Picture &source, const Picture &fresh) { return invert(source, area, fresh); }};
}
template <Picture (*invert)(const Picture &, Rectangle, Picture)> Trial Whole(Random &, const Picture &) {
    return {{}, [](const Picture &source, const Picture &fresh) { return invert(source, {}, fresh); }};
}

Trial AnySaturation(Random &random, const Picture &) {
    const int amount = AnyInteger(random, 600);
    return {{amount}, [=](const Picture &source, const Picture &) { return Saturation(source, amount); }};
}

Trial AnyTint(Random &random, const Picture &) {
    const std::uint32_t grey = random.Next();
    const std::uint32_t sepia = random.Next();
    return {{grey, sepia}, [=](const Picture &source, const Picture &) { return Tint(source, grey, sepia); }};
}

TEST_P(EveryToneOperation, IsExact) {
    constexpr Operation kOperations[] = {
        {"InvertKVT", Whole<Invert>},
        {"InvertKVT", InArea<Invert>},
        {"InvertGrayKVT", Whole<InvertGray>},
        {"InvertGrayKVT", InArea<InvertGray>},
        {"ChangeContrastKVT", Adjusted<AdjustAbsolute, Contrast>, 2},
        {"ChangeContrastKVT", Adjusted<AdjustAbsolute, Contrast, true>, 2},
        {"ChangeBrightnessLinearKVT", Adjusted<AdjustLinear, Brightness>, 2},
        {"ChangeBrightnessLinearKVT", Adjusted<AdjustLinear, Brightness, true>, 2},
        {"ChangeBrightnessAbsoluteKVT", Adjusted<AdjustAbsolute, Brightness>, 2},
        {"ChangeBrightnessAbsoluteKVT", Adjusted<AdjustAbsolute, Brightness, true>, 2},
        {"ChangeContrastBrightnessLinearKVT", Adjusted<AdjustLinear, Both>, 2},
        {"ChangeContrastBrightnessLinearKVT", Adjusted<AdjustLinear, Both, true>, 2},
        {"ChangeContrastBrightnessAbsoluteKVT", Adjusted<AdjustAbsolute, Both>, 2},
        {"ChangeContrastBrightnessAbsoluteKVT", Adjusted<AdjustAbsolute, Both, true>, 2},
        {"ChangeCustomKVT", Adjusted<AdjustCustom, Both>, 2},
        {"ChangeSaturationKVT", AnySaturation, 2},
        {"TintPictureKVT", AnyTint, 2, true, true},
    };
    for (const Operation &operation : kOperations)
        Expect(operation);
}

IN_EVERY_WAY(EveryToneOperation);

void Set(TestHost &host, const Ref &sepia, const SepiaSettings &settings) {
    SetBounds(host, sepia, settings.bounds);
    host.Set(sepia, "FactorRed", settings.weights.red);
    host.Set(sepia, "FactorBlue", settings.weights.green);
    host.Set(sepia, "FactorGreen", settings.weights.blue);
    host.Set(sepia, "SepiaRed", settings.red);
    host.Set(sepia, "SepiaGreen", settings.green);
    host.Set(sepia, "SepiaBlue", settings.blue);
}

using EverySepia = EveryWay;

TEST_P(EverySepia, IsExact) {
    const Ref sepia = host.New("PictureSepiaKVT");
    ForEachSize([&](const Picture &picture, const Ref &source) {
        const SepiaSettings settings = {
            {AnyDouble(random, 1.2), AnyDouble(random, 1.2), AnyDouble(random, 1.2)},
            random.Below(2) == 0 ? Bounds{} : AnyBounds(random, picture.width, picture.height),
            AnyInteger(random, 100),
            AnyInteger(random, 100),
            AnyInteger(random, 100),
        };
        Set(host, sepia, settings);
        host.Set(sepia, "SourcePicture", source);
        ASSERT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
        const Value made = host.Get(sepia, "DestinationPicture");
        ASSERT_PICTURE(made, Sepia(picture, settings, FreshLike(picture))) << fmt::format(
            "weights {:.17g} {:.17g} {:.17g}, offsets {} {} {}, bounds {} {} {} {}", settings.weights.red,
            settings.weights.green, settings.weights.blue, settings.red, settings.green, settings.blue,
            settings.bounds.minX, settings.bounds.minY, settings.bounds.maxX, settings.bounds.maxY);
        EXPECT_FALSE(made.AsPicture().description.hasAlphaChannel);
    });
}

IN_EVERY_WAY(EverySepia);

TEST(SepiaClass, ExchangesTheNamesOfGreenAndBlue) {
    TestHost host;
    const Ref sepia = host.New("PictureSepiaKVT");
    EXPECT_EQ(host.Get(sepia, "FactorRed").AsDouble(), 0.299);
    EXPECT_EQ(host.Get(sepia, "FactorBlue").AsDouble(), 0.587);
    EXPECT_EQ(host.Get(sepia, "FactorGreen").AsDouble(), 0.114);
}

TEST(SepiaClass, OwnsItsPictures) {
    TestHost host;
    const Ref sepia = host.New("PictureSepiaKVT");
    host.Set(sepia, "SourcePicture", MakePicture(host, Filled(3, 2, {1, 2, 3})));
    EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
    const Value kept = host.Get(sepia, "DestinationPicture");
    for (const Value &failing : {Value(), Value(host.Make({.width = 0, .height = 0}))}) {
        host.Set(sepia, "SourcePicture", failing);
        EXPECT_FALSE(host.Call(sepia, "Run").value.AsBoolean());
        EXPECT_EQ(host.Get(sepia, "DestinationPicture").AsRef(), kept.AsRef()) << "a failed run keeps the old result";
    }
    host.Set(sepia, "SourcePicture", kept);
    host.Call(sepia, "Close");
    EXPECT_TRUE(host.Get(sepia, "SourcePicture").IsNil() && host.Get(sepia, "DestinationPicture").IsNil());
    host.Set(sepia, "SourcePicture", kept);
    EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean()) << "usable after closing; destruction gives both back";
}

// Operations whose arithmetic has a narrow form for ordinary settings: every form must yield what the plain computation
// does, on both sides of where the forms meet.

class EveryLevel : public EveryWay {
  protected:
    /// Reds and blues in every combination, with greens that make for every gray.
    static Picture EveryDistance() {
        Picture picture{256, 256, {}};
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x)
                picture.pixels.push_back({x, (x * 31 + y * 17) % 256, y});
        picture.pixels.back() = {255, 255, 255}; // the largest sum
        return picture;
    }

    /// The result of a call with these arguments is what `wanted` makes of every distance.
    template <class Wanted> void Expect(const char *method, const std::vector<Value> &arguments, Wanted wanted) {
        SCOPED_TRACE(method + TextOf(arguments));
        ASSERT_PICTURE(host.CallWith(picture, method, arguments), wanted(distances));
    }

    const Picture distances = EveryDistance();
    const Ref picture = Make(distances);
};

INSTANTIATE_TEST_SUITE_P(, EveryLevel, testing::ValuesIn(EveryLevelOf("HighToLow")),
                         [](const auto &way) { return kLevelNames[way.param.level]; });

constexpr int kEdge = std::numeric_limits<int>::max();

TEST_P(EveryLevel, StretchesSaturationByAnyAmount) {
    highestLevels = {2};
    std::vector<int> amounts = {0,     1,      -1,     -254,   -255,   -256,  -509,   -510,  -511,      126,
                                127,   128,    254,    255,    256,    509,   510,    31618, 31619,     31620,
                                31621, -32128, -32129, -32130, -32131, 65024, -65536, kEdge, -kEdge - 1};
    for (int i = 0; i < 40; ++i)
        amounts.push_back(random.Between(-32200, 31700));
    for (const int amount : amounts) // further out nothing changes any more, and the plain computation would overflow
        Expect("ChangeSaturationKVT", {amount},
               [&](const Picture &source) { return Saturation(source, std::clamp(amount, -2000000, 2000000)); });
}

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
    {"not a number", std::numeric_limits<double>::quiet_NaN(), 10.0},
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
    {"infinitely steep", std::numeric_limits<double>::infinity(), 0.0},
    {"rounded to no line", 1.4, -20.0},
};

TEST_P(EveryLevel, AdjustsAlongAnyLines) {
    highestLevels = {1, 2};
    for (const auto &[what, a, b] : kCustoms)
        Expect("ChangeCustomKVT", {a, b},
               [&, a = a, b = b](const Picture &source) { return AdjustCustom(source, Each(a), Each(b)); });
    for (int i = 0; i < 60; ++i) {
        const Trial trial = Adjusted<AdjustLinear, Both, true>(random, distances);
        Expect("ChangeContrastBrightnessLinearKVT", trial.arguments,
               [&](const Picture &source) { return trial.wanted(source, source); });
    }
}

/// Rows of grays, all the same or in turn, between rows of colors.
Picture GraysAndColors(Random &random) {
    Picture picture{1100, 24, {}};
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const int gray = y % 4 < 2 ? 255 - y : x % 256;
            const Rgb color{random.Below(256), random.Below(256), random.Below(256)};
            picture.pixels.push_back(y % 4 == 3 || x % 300 > 250 ? color : Rgb{gray, gray, gray});
        }
    return picture;
}

TEST_P(EveryLevel, TintsWithAnyColors) {
    highestLevels = {2};
    std::vector<std::pair<std::uint32_t, std::uint32_t>> colors = {
        {0x555555, 0xFFFFFF}, {0x555555, 0x555555}, {0xFFFFFF, 0xFFFFFF}, {0x4D961D, 0xFFFFFF}, {0x4C961D, 0xFFFFFF},
        {0x4D961D, 0xFFE0B3}, {0x4C961D, 0xFFE0B3}, {0x4C961D, 0xF3E0B3}, {0x4D971D, 0xFDE0B3}, {0x4D971E, 0xFCE0B3},
        {0x33CC00, 0xFF8000}, {0xFF0000, 0xFFFFFF}, {0x000000, 0xFFFFFF}, {0xFFFFFF, 0x010203}, {0x4D961D, 0x000000},
    };
    for (int i = 0; i < 20; ++i) {
        colors.emplace_back(random.Next(), random.Next());
        const int red = random.Below(256); // weights that are about 1 in sum
        const int green = random.Between(0, 255 - red);
        const int blue = std::clamp(random.Between(253, 257) - red - green, 0, 255);
        colors.emplace_back(red << 16 | green << 8 | blue, random.Next());
    }
    const auto expect = [&](const Picture &source, const Ref &stored, std::uint32_t gray, std::uint32_t tint) {
        ASSERT_PICTURE(host.CallGlobal("TintPictureKVT", stored, gray, tint), Tint(source, gray, tint))
            << std::hex << gray << " and " << tint;
    };
    const Picture mixed = GraysAndColors(random);
    const Ref storedMixed = Make(mixed);
    for (const auto &[gray, tint] : colors) {
        expect(distances, picture, gray, tint);
        expect(mixed, storedMixed, gray, tint);
    }
    Picture grays{256, 256, {}}; // 0 to 65280 of 255ths, with the weights below
    for (int y = 0; y < grays.height; ++y)
        for (int x = 0; x < grays.width; ++x)
            grays.pixels.push_back({x, y, 255 - x});
    const Ref storedGrays = Make(grays);
    for (std::uint32_t level = 0; level < 256; ++level)
        expect(grays, storedGrays, 0xFF0100, level * 0x010101);
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
    {"the largest weight of 16 bits", 32767, 0, 0, -900},
    {"one more", 32768, 0, 0, -900},
    {"a negative weight", -1024, 1024, 1500, 100},
    {"nothing counts", 0, 0, 0, 77},
    {"an offset that always shows", 306, 601, 116, kEdge},
    {"an offset that never shows", 306, 601, 116, -kEdge - 1},
    {"weights beyond 32-bit products", 2000000000, 1, -2000000000, 12},
};

TEST_P(EveryLevel, TonesSepiaWithAnyWeights) {
    const Ref sepia = host.New("PictureSepiaKVT");
    host.Set(sepia, "SourcePicture", picture);
    for (const auto &row : kSepias) {
        const SepiaSettings settings = {
            {row.red / 1024.0, row.green / 1024.0, row.blue / 1024.0}, {}, row.offset, -20, 40};
        Set(host, sepia, settings);
        ASSERT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
        ASSERT_PICTURE(host.Get(sepia, "DestinationPicture"), Sepia(distances, settings, distances)) << row.what;
    }
}

} // namespace
