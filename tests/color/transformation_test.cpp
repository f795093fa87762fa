#include "expected/color.h"
#include "support/pictures.h"

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

LookupTable AnyTable(Random &random) {
    LookupTable table;
    for (unsigned char &value : table)
        value = static_cast<unsigned char>(random.Below(256));
    return table;
}

using EveryTransformation = EveryWay;

TEST_P(EveryTransformation, IsExact) {
    for (const auto &[width, height] : OddSizes()) {
        SCOPED_TRACE(fmt::format("{} x {}", width, height));
        const Picture picture = Noise(width, height, random.Next());
        const Ref source = MakeAnyhow(picture);
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
        const Ref larger = MakeAnyhow(Noise(width + random.Below(3), height + random.Below(3), random.Next()));
        StoredPicture words = WordsOf(larger.picture());
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                words.words[static_cast<std::size_t>(y * words.width + x)] = OpaqueWord(mapped.At(x, y), words.layout);
        host.MayChange(larger);
        EXPECT_EQ(host.Call(source, "TransformColorsKVT", red, blue, green, larger).value.AsRef(), larger);
        EXPECT_PICTURE(larger.picture(), words);
        EXPECT_GT(larger.picture().cacheClears, 0);

        host.MayChange(source);
        EXPECT_EQ(host.Call(source, "TransformColorsKVT", red, blue, green, source).value.AsRef(), source);
        EXPECT_PICTURE(source.picture(), mapped) << "in place";
    }
}

IN_EVERY_WAY(EveryTransformation);

TEST(Transformation, MapsInTheOrderRedBlueGreen) {
    TestHost host;
    LookupTable tens;
    LookupTable twenties;
    LookupTable thirties;
    tens.fill(10);
    twenties.fill(20);
    thirties.fill(30);
    const Ref picture = MakePicture(host, Filled(1, 1, {1, 2, 3}));
    EXPECT_PICTURE(host.Call(picture, "TransformColorsKVT", host.MakeBlock(256, tens), host.MakeBlock(256, twenties),
                             host.MakeBlock(256, thirties)),
                   Filled(1, 1, {10, 30, 20}));
}

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
        const std::string message = result.raised ? result.raised->message : "";
        EXPECT_EQ(message, row.message);
        EXPECT_EQ(result.raised ? result.raised->className : "", message.empty() ? "" : "NilObjectException");
    }
}

TEST(Transformation, RaisesWhatTheHostKnows) {
    constexpr const char *kNil = "NilObjectException";
    constexpr const char *kRuntime = "RuntimeException";
    for (const std::vector<std::string> &unknown : {std::vector<std::string>{kNil}, {kNil, kRuntime}}) {
        TestHost host({.unknownExceptions = unknown});
        const auto raised = host.Call(nullptr, "TransformColorsKVT", nullptr, nullptr, nullptr).raised;
        EXPECT_EQ(raised.has_value(), unknown.size() == 1);
        EXPECT_TRUE(!raised || *raised == (standin::RaisedException{kRuntime, "picture is nil"}));
    }
}

} // namespace
