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
    for (const auto &[width, height] : OddSizes()) {
        SCOPED_TRACE(fmt::format("{} x {}", width, height));
        const Picture picture = Noise(width, height, random.Next());
        const Ref source = MakeAnyhow(picture);
        for (const Rgb pixel : {picture.At(0, 0), picture.At(width - 1, height - 1), Rgb{254, 255, 255}}) {
            const auto color = static_cast<std::uint32_t>(pixel.red << 16 | pixel.green << 8 | pixel.blue);
            EXPECT_EQ(host.Call(source, "CountColorKVT", color | random.Next() << 24).value.AsInteger(),
                      CountColor(picture, color));
        }
        const Result result = CountInto(host, source, first, second, third);
        EXPECT_EQ(result.byref[kCount].second.AsInteger(), width * height);
        sum = CountColors(picture, sum);
        EXPECT_EQ(CountersOf(first), sum.red);
        EXPECT_EQ(CountersOf(second), sum.green);
        EXPECT_EQ(CountersOf(third), sum.blue);
    }
}

IN_EVERY_WAY(EveryCount);

/// The second block counts green and the third blue, whatever they are called.
TEST(Histograms, AreMadeWhereThereAreNone) {
    TestHost host;
    const Ref picture = MakePicture(host, {2, 1, {{10, 20, 30}, {10, 40, 50}}});
    const Result result = host.Call(picture, "CountColorsKVT", nullptr, nullptr, nullptr, 77);
    ASSERT_EQ(result.byref.size(), 4u);
    EXPECT_EQ(result.byref[kCount].second.AsInteger(), 2);
    const Ref first = result.byref[0].second.AsRef();
    const Ref second = result.byref[1].second.AsRef();
    const Ref third = result.byref[2].second.AsRef();
    Counters reds = {};
    Counters greens = {};
    Counters blues = {};
    reds[10] = 2;
    greens[20] = greens[40] = 1;
    blues[30] = blues[50] = 1;
    EXPECT_EQ(CountersOf(first), reds);
    EXPECT_EQ(CountersOf(second), greens);
    EXPECT_EQ(CountersOf(third), blues);

    CountInto(host, picture, first, second, third);
    reds[10] = 4;
    EXPECT_EQ(CountersOf(first), reds) << "counts add up";

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
        const char *what;
        const Value &picture;
        Ref blocks[3];
    } kRefused[] = {
        {"no picture", nil, {block, block, block}},
        {"unreadable", unreadable, {block, block, block}},
        {"short first", picture, {shorter, block, block}},
        {"short second", picture, {block, shorter, block}},
        {"short third", picture, {block, block, shorter}},
        {"no first address", picture, {nowhere, block, block}},
        {"no third address", picture, {block, block, nowhere}},
    };
    for (const auto &row : kRefused) {
        const Result result = host.Call(row.picture, "CountColorsKVT", row.blocks[0], row.blocks[1], row.blocks[2], 77);
        EXPECT_EQ(result.byref[kCount].second.AsInteger(), -1) << row.what;
        EXPECT_FALSE(result.raised) << row.what;
    }
    for (const Value &none : {nil, unreadable})
        EXPECT_EQ(host.Call(none, "CountColorKVT", 0).value.AsInteger(), 0);
    const Ref empty = host.Make({.width = 5, .height = 0});
    EXPECT_EQ(host.Call(empty, "CountColorsKVT", block, block, block, 77).byref[kCount].second.AsInteger(), 0);
    const Result madeInVain = host.Call(nil, "CountColorsKVT", nullptr, block, block, 77);
    EXPECT_EQ(madeInVain.byref[0].second.AsRef().block().memory.size(), 1024u);
    host.Call(picture, "CountColorsKVT", standin::NoVariable{}, block, block, standin::NoVariable{});
}

} // namespace
