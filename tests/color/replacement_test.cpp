#include "expected/color.h"
#include "support/pictures.h"

#include <tuple>

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

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
    Expect({"ExtractColorKVT", AnyExtraction, false});
}

IN_EVERY_WAY(EveryReplacement);

using EveryChannel = EveryWay;

TEST_P(EveryChannel, ComesFromItsOwnPicture) {
    constexpr struct {
        const char *method;
        Picture (*replace)(const Picture &, const Picture &);
    } kReplacements[] = {{"ReplaceRedChannelKVT", ReplaceRedChannel},
                         {"ReplaceGreenChannelKVT", ReplaceGreenChannel},
                         {"ReplaceBlueChannelKVT", ReplaceBlueChannel}};
    for (const auto &[width, height] : OddSizes()) {
        SCOPED_TRACE(fmt::format("{} x {}", width, height));
        const Picture a = Noise(width, height, random.Next());
        const Picture b = Noise(width, height, random.Next());
        const Picture c = Noise(width, height, random.Next());
        const Ref first = MakeAnyhow(a);
        const Ref second = MakeAnyhow(b);
        // Stored as the host stores new ones, so that sources of two layouts meet.
        const Ref third = MakePicture(host, c, {.padding = 4});
        const Picture channel = Noise(width + random.Below(3), height + random.Below(3), random.Next());
        const Ref larger = MakeAnyhow(channel);
        for (const auto &row : kReplacements) {
            const auto result = host.Call(first, row.method, larger);
            EXPECT_PICTURE(result, row.replace(a, channel)) << row.method;
            EXPECT_FALSE(result.picture().description.hasAlphaChannel);
            EXPECT_PICTURE(host.Call(first, row.method, first), a) << row.method << " by itself";
        }
        for (const auto &[red, blue, green, wanted] :
             {std::tuple(first, second, third, CombinePictures(a, c, b)),
              std::tuple(third, first, first, CombinePictures(c, a, a)), std::tuple(second, second, second, b)}) {
            const auto result = host.CallGlobal("CombinePicturesKVT", red, blue, green);
            EXPECT_PICTURE(result, wanted);
            EXPECT_FALSE(result.picture().description.hasAlphaChannel);
        }
        const auto merged = host.CallGlobal("MergePictureKVT", first, third);
        EXPECT_PICTURE(merged, MergePictures(a, c));
        EXPECT_FALSE(merged.picture().description.hasAlphaChannel);
        EXPECT_PICTURE(host.CallGlobal("MergePictureKVT", third, first), MergePictures(a, c));
        EXPECT_PICTURE(host.CallGlobal("MergePictureKVT", second, second), b);
    }
}

IN_EVERY_WAY(EveryChannel);

TEST(Channels, AreDeclaredRedBlueGreen) {
    TestHost host;
    const Ref red = MakePicture(host, Filled(1, 1, {1, 2, 3}));
    const Ref blue = MakePicture(host, Filled(1, 1, {4, 5, 6}));
    const Ref green = MakePicture(host, Filled(1, 1, {7, 8, 9}));
    EXPECT_PICTURE(host.CallGlobal("CombinePicturesKVT", red, blue, green), Filled(1, 1, {1, 8, 6}));
}

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
    for (const Value &other : {Value(), Value(higher), Value(wider), Value(empty)}) {
        for (std::size_t place = 0; place < 3; ++place) {
            std::vector<Value> arguments(3, Value(picture));
            arguments[place] = other;
            const auto combined = host.CallGlobalWith("CombinePicturesKVT", arguments);
            EXPECT_TRUE(combined.value.IsNil() && !combined.raised);
            if (place == 2)
                continue;
            arguments.pop_back();
            const auto merged = host.CallGlobalWith("MergePictureKVT", arguments);
            EXPECT_TRUE(merged.value.IsNil() && !merged.raised);
        }
    }
}

} // namespace
