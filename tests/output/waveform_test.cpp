#include "expected/output.h"

#include "support/pictures.h"

#include <algorithm>
#include <limits>

namespace {

using namespace expected;
using standin::Ref;
using standin::Result;
using standin::Value;

constexpr int kMost = std::numeric_limits<int>::max();

Result Render(TestHost &host, const Value &block, const WaveformArguments &with) {
    return host.CallGlobal("RenderSamplesKVT", block, with.sampleCount, with.smooth, with.width, with.height,
                           with.outlineWidth, with.backColor, with.foreColor, with.outlineColor, with.bits,
                           with.autoScale);
}

/// The picture, and for a thick outline the lines that the host was asked for with their pen, drawn on it.
void ExpectWaveform(TestHost &host, const std::vector<unsigned char> &bytes, const WaveformArguments &with) {
    const Result result = Render(host, host.MakeBlock(bytes.size(), bytes), with);
    const Waveform wanted = RenderSamples(bytes, with);
    ASSERT_EQ(!result.value.IsNil(), wanted.made);
    if (!wanted.made)
        return;
    EXPECT_FALSE(result.picture().description.hasAlphaChannel);
    const Ref drawn = MakePicture(host, wanted.picture, {.opaque = true});
    standin::Graphics pen;
    pen.picture = &drawn.picture();
    pen.penWidth = pen.penHeight = with.outlineWidth;
    pen.foreColor = with.outlineColor & 0xFFFFFF;
    for (const auto &[x0, y0, x1, y1] : wanted.segments)
        DrawLine(pen, static_cast<int>(x0), static_cast<int>(y0), static_cast<int>(x1), static_cast<int>(y1));
    const auto &lines = result.picture().lines;
    const auto &wantedLines = drawn.picture().lines;
    ASSERT_EQ(lines.size(), wantedLines.size());
    EXPECT_TRUE(lines == wantedLines) << "the first that differs is number "
                                      << std::mismatch(lines.begin(), lines.end(), wantedLines.begin()).first -
                                             lines.begin();
    if (lines.empty())
        EXPECT_PICTURE(result.picture(), wanted.picture);
    else
        EXPECT_PICTURE(result.picture(), WordsOf(drawn.picture()));
}

const struct {
    const char *what;
    int bytes;
    WaveformArguments with;
} kShapes[] = {
    {"a column a sample", 180, {.sampleCount = 90, .height = 90}},
    {"many samples a column", 2000, {.smooth = 4, .width = 65, .height = 33}},
    {"ranges of uneven length", 1000, {.width = 333, .height = 20}},
    {"more columns than samples, thrice over", 1, {.width = 3, .height = 9}},
    {"as many rows as by default", 90, {.width = 40}},
    {"a part of the block", 900, {.sampleCount = 311, .width = 100, .height = 31}},
    {"more samples than the block holds", 100, {.sampleCount = kMost, .height = 31}},
    {"a last half sample is left out", 101, {.height = 31, .bits = 16}},
    {"no samples", 0, {.width = 12, .height = 7}},
    {"smoothed by the largest number", 2000, {.smooth = kMost, .width = 120, .height = 64}},
    {"overshooting", 2000, {.smooth = 0, .width = 300, .height = 64}},
    {"no smoothing by -1", 2000, {.smooth = -1, .width = 120, .height = 64}},
    {"no smoothing by the smallest number", 2000, {.smooth = -kMost - 1, .width = 120, .height = 64}},
    {"a column of more samples than fit one sum of 32 bits", 300000, {.width = 2, .height = 999}},
    {"rows beyond 16 bits", 90, {.width = 4, .height = 32767}},
    {"the widest picture", 70000, {.width = 32767, .height = 3}},
};

/// Loud, quiet and at full scale.
std::vector<unsigned char> Sound(Random &random, int bytes) {
    std::vector<unsigned char> sound;
    for (int i = 0; i < bytes; ++i)
        sound.push_back(static_cast<unsigned char>(i / 64 % 3 == 0 ? random.Below(256) : i / 64 % 3 == 1 ? 128 : 255));
    return sound;
}

using EveryWaveform = EveryWay;

TEST_P(EveryWaveform, IsExact) {
    constexpr int kBits[] = {7, 8, 15, 16};
    constexpr int kOutlineWidths[] = {0, 1, 2, 7};
    random = Random(GetParam().newAlphaInfo * 3 + static_cast<unsigned>(GetParam().level));
    const auto expect = [&](const char *what, int bytes, WaveformArguments with, int bits) {
        with.bits = bits;
        with.outlineWidth = kOutlineWidths[random.Below(bytes > 10000 ? 2 : 4)]; // the host draws slowly
        with.autoScale = random.Below(2) == 0;
        with.backColor = random.Next();
        with.foreColor = random.Next();
        with.outlineColor = random.Next();
        SCOPED_TRACE(fmt::format("{}: {} of {} bytes, smooth {}, {} x {}, bits {}, outline {}, auto {}", what,
                                 with.sampleCount, bytes, with.smooth, with.width, with.height, bits, with.outlineWidth,
                                 with.autoScale));
        ExpectWaveform(host, Sound(random, bytes), with);
    };
    for (const auto &shape : kShapes)
        for (const int bits : kBits)
            expect(shape.what, shape.bytes, shape.with, bits);
    for (int round = 0; round < 100; ++round)
        expect("by chance", random.Below(900),
               {.sampleCount = AnyInteger(random, 400),
                .smooth = AnyInteger(random, 20),
                .width = random.Between(1, 60),
                .height = random.Between(1, 60)},
               kBits[random.Below(4)]);
}

IN_EVERY_WAY(EveryWaveform);

using Bytes = std::vector<unsigned char>;

/// Written down: the rows of a column's bar.
TEST(Waveform, OfPlainSignals) {
    const struct {
        const char *what;
        Bytes samples;
        WaveformArguments with;
        int column, top, bottom;
    } kBars[] = {
        {"silence is the center row", Bytes(2000, 0), {.bits = 15}, 999, 250, 250},
        {"silence stays silence", Bytes(30, 128), {.height = 9, .autoScale = true}, 29, 4, 4},
        {"full scale", Bytes(30, 127), {.height = 100, .bits = 7}, 7, 50, 99},
        {"sums beyond 32 bits", Bytes(300000, 0), {.width = 1, .height = 100, .bits = 16}, 0, 0, 50},
        {"-4530 is 60 rows when its product is formed first", {0x4E, 0xEE}, {.height = 217, .bits = 15}, 0, 48, 108},
        {"scales are averaged as levels are", Bytes(4, 25), {.smooth = 23, .height = 127, .bits = 7}, 3, 63, 113},
        {"an average may round to less", {0xE1, 0xF9, 22}, {.smooth = 19, .height = 254, .bits = 7}, 0, 2, 127},
        {"every sample of a long column counts", Bytes(70000, 129), {.width = 1, .height = 127}, 0, 63, 65},
        {"the loudest reaches the edge", {0, 2, 254, 0}, {.height = 101, .bits = 7, .autoScale = true}, 1, 50, 100},
        {"50 - 50.5 is cut off to 0", {0, 2, 254, 0}, {.height = 101, .bits = 7, .autoScale = true}, 2, 0, 50},
    };
    for (const auto &row : kBars) {
        TestHost host;
        const Result result = Render(host, host.MakeBlock(row.samples.size(), row.samples), row.with);
        ASSERT_FALSE(result.value.IsNil()) << row.what;
        for (int y = 0; y < result.picture().height; ++y)
            EXPECT_EQ(result.picture().ColorAt(row.column, y), y >= row.top && y <= row.bottom ? 0x274C5Au : 0x88B5C4u)
                << row.what << ", row " << y;
    }
}

TEST(Waveform, Refused) {
    TestHost host;
    const Ref block = host.MakeBlock(40);
    const Ref nowhere = host.MakeBlock(40);
    nowhere.block().withoutAddress = true;
    const Ref wide = host.MakeBlock(32768); // one column a sample is too wide
    const Ref none = host.MakeBlock(0);
    const Ref one = host.MakeBlock(1);
    const Result nil = Render(host, nullptr, {.bits = 12});
    EXPECT_TRUE(nil.value.IsNil());
    EXPECT_EQ(nil.raised, (standin::RaisedException{"NilObjectException", "memoryblock is nil"}));
    const struct {
        const Ref &block;
        WaveformArguments with;
    } kRefused[] = {
        {block, {.bits = 12}},     {block, {.bits = 0}},       {block, {.bits = 32}},
        {block, {.width = 32768}}, {block, {.height = 32768}}, {nowhere, {.width = 5, .height = 5}},
        {wide, {.height = 5}},     {none, {.height = 5}},      {one, {.height = 5, .bits = 16}},
    };
    for (const auto &row : kRefused) {
        const Result result = Render(host, row.block, row.with);
        EXPECT_TRUE(result.value.IsNil() && !result.raised) << row.with.bits << ' ' << row.with.width;
    }
    EXPECT_EQ(host.CallsOf("newPicture"), 0);
}

} // namespace
