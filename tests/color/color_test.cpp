#include "expected/color.h"
#include "support/pictures.h"

#include <array>
#include <cstring>

namespace {

using namespace expected;
using standin::Ref;
using standin::Result;
using standin::Value;

constexpr int kCount = 3; // its place among the variables of CountColorsKVT

using Counters = std::array<std::uint32_t, 256>;

Counters CountersOf(const Ref &block) {
    Counters counters;
    std::memcpy(counters.data(), block.block().memory.data(), sizeof counters);
    return counters;
}

/// Counts into existing blocks.
Result CountInto(TestHost &host, const Value &picture, const Ref &first, const Ref &second, const Ref &third) {
    for (const Ref &block : {first, second, third})
        host.MayChange(block);
    return host.Call(picture, "CountColorsKVT", first, second, third, 77);
}

using EveryCount = EveryWay;

TEST_P(EveryCount, IsExact) {
    const std::vector<unsigned char> full(1024, 0xFF); // counters that wrap around
    const Ref first = host.MakeBlock(1024, full);
    const Ref second = host.MakeBlock(1024);
    const Ref third = host.MakeBlock(1500);
    Histograms sum;
    sum.red.fill(0xFFFFFFFF);
    ForEachSize([&](const Picture &picture, const Ref &source) {
        for (const Rgb pixel : {picture.pixels.front(), picture.pixels.back(), Rgb{254, 255, 255}}) {
            const auto color = static_cast<std::uint32_t>(pixel.red << 16 | pixel.green << 8 | pixel.blue);
            EXPECT_EQ(host.Call(source, "CountColorKVT", color | random.Next() << 24).value.AsInteger(),
                      CountColor(picture, color));
        }
        const Result result = CountInto(host, source, first, second, third);
        EXPECT_EQ(result.byref[kCount].second.AsInteger(), picture.width * picture.height);
        sum = CountColors(picture, sum);
        EXPECT_EQ(CountersOf(first), sum.red);
        EXPECT_EQ(CountersOf(second), sum.green);
        EXPECT_EQ(CountersOf(third), sum.blue);
    });
}

IN_EVERY_WAY(EveryCount);

/// The second block counts green and the third blue, whatever they are called.
TEST(Histograms, AreMadeWhereThereAreNone) {
    TestHost host;
    const Picture colors = {2, 1, {{10, 20, 30}, {10, 40, 50}}};
    const Ref picture = MakePicture(host, colors);
    const Result result = host.Call(picture, "CountColorsKVT", nullptr, nullptr, nullptr, 77);
    ASSERT_EQ(result.byref.size(), 4u);
    EXPECT_EQ(result.byref[kCount].second.AsInteger(), 2);
    const Histograms wanted = CountColors(colors, {});
    EXPECT_EQ(CountersOf(result.byref[0].second.AsRef()), wanted.red);
    EXPECT_EQ(CountersOf(result.byref[1].second.AsRef()), wanted.green);
    EXPECT_EQ(CountersOf(result.byref[2].second.AsRef()), wanted.blue);

    const Ref one = host.MakeBlock(1024);
    CountInto(host, picture, one, one, one);
    Counters all = {};
    all[10] = 2;
    all[20] = all[30] = all[40] = all[50] = 1;
    EXPECT_EQ(CountersOf(one), all) << "one block for all channels";
}

/// -1 in the count, and no block is touched: the host reports any byte that changes.
TEST(Histograms, OfWhatCannotBeCounted) {
    TestHost host;
    const Value picture = MakePicture(host, Noise(3, 2, 1));
    const Value unreadable = host.Make({.bitsPerPixel = 24});
    const Value nil;
    const Ref block = host.MakeBlock(1024);
    const Ref shorter = host.MakeBlock(1023);
    const Ref nowhere = host.MakeBlock(1024);
    nowhere.block().withoutAddress = true;
    const struct {
        const Value &picture;
        Ref blocks[3];
    } kRefused[] = {
        {nil, {block, block, block}},       {unreadable, {block, block, block}}, {picture, {shorter, block, block}},
        {picture, {block, shorter, block}}, {picture, {block, block, shorter}},  {picture, {nowhere, block, block}},
        {picture, {block, block, nowhere}},
    };
    for (const auto &row : kRefused) {
        const Result result = host.Call(row.picture, "CountColorsKVT", row.blocks[0], row.blocks[1], row.blocks[2], 77);
        EXPECT_EQ(result.byref[kCount].second.AsInteger(), -1) << "row " << &row - kRefused;
    }
    const Ref empty = host.Make({.width = 5, .height = 0});
    EXPECT_EQ(host.Call(empty, "CountColorsKVT", block, block, block, 77).byref[kCount].second.AsInteger(), 0);
    const Result madeInVain = host.Call(nil, "CountColorsKVT", nullptr, block, block, 77);
    EXPECT_EQ(madeInVain.byref[0].second.AsRef().block().memory.size(), 1024u);
    host.Call(picture, "CountColorsKVT", standin::NoVariable{}, block, block, standin::NoVariable{});
}

LookupTable AnyTable(Random &random) {
    LookupTable table;
    for (unsigned char &value : table)
        value = static_cast<unsigned char>(random.Below(256));
    return table;
}

using EveryTransformation = EveryWay;

TEST_P(EveryTransformation, IsExact) {
    highestLevels = {2};
    ForEachSize([&](const Picture &picture, const Ref &source) {
        const LookupTable reds = AnyTable(random);
        const LookupTable greens = AnyTable(random);
        const LookupTable blues = AnyTable(random);
        const Ref red = host.MakeBlock(256, reds);
        const Ref green = host.MakeBlock(256, greens);
        const Ref blue = host.MakeBlock(300, blues);
        const Picture mapped = TransformColors(picture, reds, greens, blues, picture);

        const auto result = host.Call(source, "TransformColorsKVT", red, blue, green);
        EXPECT_PICTURE(result, mapped);
        EXPECT_FALSE(result.picture().description.hasAlphaChannel);
        EXPECT_PICTURE(host.Call(source, "TransformColorsKVT", red, red, red),
                       TransformColors(picture, reds, reds, reds, picture))
            << "one block for all channels";

        // Into a larger picture: beyond the receiver's size every word stays.
        const Ref larger =
            MakeAnyhow(Noise(picture.width + random.Below(3), picture.height + random.Below(3), random.Next()));
        StoredPicture words = WordsOf(larger.picture());
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                words.words[static_cast<std::size_t>(y * words.width + x)] = OpaqueWord(mapped.At(x, y), words.layout);
        host.MayChange(larger);
        EXPECT_EQ(host.Call(source, "TransformColorsKVT", red, blue, green, larger).value.AsRef(), larger);
        EXPECT_PICTURE(larger.picture(), words);

        host.MayChange(source);
        EXPECT_EQ(host.Call(source, "TransformColorsKVT", red, blue, green, source).value.AsRef(), source);
        EXPECT_PICTURE(source.picture(), mapped) << "in place";
    });
}

IN_EVERY_WAY(EveryTransformation);

TEST(Transformation, RefusesArgumentsInOrder) {
    TestHost host;
    const Value picture = MakePicture(host, Noise(3, 2, 1));
    const Value unreadable = host.Make({.bitsPerPixel = 24});
    const Value table = host.MakeBlock(256);
    const Value shorter = host.MakeBlock(255);
    const Value nil;
    const Ref nowhere = host.MakeBlock(256);
    nowhere.block().withoutAddress = true;
    const Value addressless = nowhere;
    const struct {
        const Value &receiver, &red, &blue, &green;
        const char *message; ///< none: nil without an exception
    } kRefused[] = {
        {nil, nil, nil, nil, "picture is nil"},
        {picture, nil, nil, nil, "red memoryblock is nil"},
        {picture, table, nil, nil, "green memoryblock is nil"},
        {picture, table, nil, table, "blue memoryblock is nil"},
        {unreadable, nil, table, table, "red memoryblock is nil"},
        {picture, shorter, nil, table, "blue memoryblock is nil"},
        {picture, shorter, table, table, ""},
        {picture, table, shorter, table, ""},
        {picture, table, table, shorter, ""},
        {picture, table, table, addressless, ""},
        {unreadable, table, table, table, ""},
    };
    for (const auto &row : kRefused) {
        const auto result = host.Call(row.receiver, "TransformColorsKVT", row.red, row.blue, row.green);
        EXPECT_TRUE(result.value.IsNil());
        EXPECT_EQ(result.raised ? result.raised->message : "", row.message);
    }
}

TEST(Transformation, RaisesWhatTheHostKnows) {
    using standin::Fault;
    for (const Fault::What what : {Fault::Fails, Fault::Missing}) {
        TestHost host({.faults = {{"PluginNewInstance", what, 1}}}); // which NilObjectException is asked of first
        const auto raised = host.Call(nullptr, "TransformColorsKVT", nullptr, nullptr, nullptr).raised;
        EXPECT_EQ(raised.has_value(), what == Fault::Fails);
        EXPECT_TRUE(!raised || *raised == (standin::RaisedException{"RuntimeException", "picture is nil"}));
    }
}

/// A color of the picture or one next to it, below a top byte of chance.
std::uint32_t ColorNear(Random &random, const Picture &picture) {
    const Rgb pixel = picture.pixels[static_cast<std::size_t>(random.Below(static_cast<int>(picture.pixels.size())))];
    const int color = pixel.red << 16 | pixel.green << 8 | pixel.blue;
    return static_cast<std::uint32_t>(color ^ (random.Below(4) == 0 ? 1 << random.Below(24) : 0)) | random.Next() << 24;
}

Trial AnyReplacement(Random &random, const Picture &picture) {
    const std::uint32_t search = ColorNear(random, picture);
    const std::uint32_t replacement = random.Next();
    return {{search, replacement},
            [=](const Picture &source, const Picture &) { return ReplaceColor(source, search, replacement); }};
}

Trial AnyExtraction(Random &random, const Picture &picture) {
    const std::uint32_t search = ColorNear(random, picture);
    const std::uint32_t replacement = random.Next();
    const std::uint32_t background = random.Next();
    return {{search, replacement, background}, [=](const Picture &source, const Picture &) {
                return ExtractColor(source, search, replacement, background);
            }};
}

using EveryReplacement = EveryOperation;

TEST_P(EveryReplacement, IsExact) {
    Expect({"ReplaceColorKVT", AnyReplacement});
    Expect({"ExtractColorKVT", AnyExtraction, 1, false});
}

IN_EVERY_WAY(EveryReplacement);

using EveryChannel = EveryWay;

TEST_P(EveryChannel, ComesFromItsOwnPicture) {
    constexpr std::pair<const char *, int Rgb::*> kReplacements[] = {
        {"ReplaceRedChannelKVT", &Rgb::red},
        {"ReplaceGreenChannelKVT", &Rgb::green},
        {"ReplaceBlueChannelKVT", &Rgb::blue},
    };
    ForEachSize([&](const Picture &a, const Ref &first) {
        const Picture b = Noise(a.width, a.height, random.Next());
        const Picture c = Noise(a.width, a.height, random.Next());
        const Ref second = MakeAnyhow(b);
        // Stored as the host stores new ones, so that sources of two layouts meet.
        const Ref third = MakePicture(host, c, {.padding = 4});
        const auto expect = [&](const Result &result, const Picture &wanted) {
            ASSERT_PICTURE(result, wanted);
            EXPECT_FALSE(result.picture().description.hasAlphaChannel);
        };
        const Picture channel = Noise(a.width + random.Below(3), a.height + random.Below(3), random.Next());
        const Ref larger = MakeAnyhow(channel);
        for (const auto &[method, level] : kReplacements) {
            SCOPED_TRACE(method);
            expect(host.Call(first, method, larger), ReplaceChannel(a, level, channel));
            expect(host.Call(first, method, first), a);
        }
        expect(host.CallGlobal("CombinePicturesKVT", first, second, third), CombinePictures(a, c, b));
        expect(host.CallGlobal("CombinePicturesKVT", third, first, first), CombinePictures(c, a, a));
        expect(host.CallGlobal("CombinePicturesKVT", second, second, second), b);
        expect(host.CallGlobal("MergePictureKVT", first, third), MergePictures(a, c));
        expect(host.CallGlobal("MergePictureKVT", third, first), MergePictures(a, c));
        expect(host.CallGlobal("MergePictureKVT", second, second), b);
    });
}

IN_EVERY_WAY(EveryChannel);

TEST(Channels, OfPicturesThatDoNotFitAreNil) {
    TestHost host;
    const Ref picture = MakePicture(host, Noise(10, 10, 1));
    const Ref higher = MakePicture(host, Noise(10, 11, 2));
    const Ref wider = MakePicture(host, Noise(11, 10, 3));
    const Ref empty = host.Make({.width = 0, .height = 0});
    for (const char *method : {"ReplaceRedChannelKVT", "ReplaceGreenChannelKVT", "ReplaceBlueChannelKVT"}) {
        for (const Ref &receiver : {higher, wider, empty}) {
            const auto result = host.Call(receiver, method, picture);
            EXPECT_TRUE(result.value.IsNil() && !result.raised) << method;
        }
        // The channel picture is looked at first, so a nil receiver changes nothing.
        for (const Value &receiver : {Value(picture), Value()})
            EXPECT_EQ(host.Call(receiver, method, nullptr).raised,
                      (standin::RaisedException{"NilObjectException", "The channel picture is nil."}));
    }
    for (const Value &other : {Value(), Value(higher), Value(wider), Value(empty)})
        for (std::size_t place = 0; place < 5; ++place) { // three of one method, two of the other
            std::vector<Value> arguments(place < 3 ? 3 : 2, Value(picture));
            arguments[place % 3] = other;
            const auto result =
                host.CallGlobalWith(place < 3 ? "CombinePicturesKVT" : "MergePictureKVT", std::move(arguments));
            EXPECT_TRUE(result.value.IsNil() && !result.raised) << place;
        }
}

} // namespace
