#include "expected/waveform.h"

#include "support/pictures.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace {

using namespace expected;
using standin::Ref;
using standin::Result;
using standin::Value;

constexpr double kTurn = 6.283185307179586;

/// Levels -1..1 of a sample.
using Sound = double (*)(Random &random, int index);

const struct {
    const char *what;
    Sound level;
} kSounds[] = {
    {"silence", [](Random &, int) { return 0.0; }},
    {"the highest level", [](Random &, int) { return 1.0; }},
    {"the lowest level", [](Random &, int) { return -1.0; }},
    {"a sine", [](Random &, int index) { return std::sin(index * kTurn / 90.0); }},
    {"a sine faster than columns", [](Random &, int index) { return 0.7 * std::sin(index * kTurn / 2.9); }},
    {"noise", [](Random &random, int) { return random.Between(-1000, 1000) / 1000.0; }},
    {"words and pauses",
     [](Random &random, int index) {
         const double loudness = std::max(0.0, std::sin(index * kTurn / 300.0)) * std::sin(index * kTurn / 70.0);
         return loudness * std::sin(index * kTurn / 11.0) * random.Between(500, 1000) / 1000.0;
     }},
};

std::vector<unsigned char> Samples(Sound level, int count, int bits) {
    Random random(7);
    std::vector<unsigned char> bytes;
    const bool wide = bits > 8;
    for (int i = 0; i < count; ++i) {
        const double value = level(random, i);
        const int full = wide ? 32767 : 127;
        const int sample = static_cast<int>(std::floor(value * (value < 0 ? full + 1 : full)));
        const int stored = bits % 2 == 0 ? sample + full + 1 : sample; // even kinds are unsigned
        bytes.push_back(static_cast<unsigned char>(stored & 255));
        if (wide)
            bytes.push_back(static_cast<unsigned char>(stored >> 8 & 255));
    }
    return bytes;
}

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
    std::vector<standin::DrawnLine> lines;
    for (const Segment &segment : wanted.segments)
        lines.push_back({static_cast<int>(segment.x0), static_cast<int>(segment.y0), static_cast<int>(segment.x1),
                         static_cast<int>(segment.y1), with.outlineWidth, with.outlineWidth,
                         with.outlineColor & 0xFFFFFF});
    const auto &drawnLines = result.picture().lines;
    ASSERT_EQ(drawnLines.size(), lines.size());
    EXPECT_TRUE(drawnLines == lines) << "the first that differs is number "
                                     << std::mismatch(lines.begin(), lines.end(), drawnLines.begin()).first -
                                            lines.begin();
    EXPECT_FALSE(result.picture().description.hasAlphaChannel);
    const Ref drawn = MakePicture(host, wanted.picture, {.opaque = true});
    standin::Graphics pen;
    pen.picture = &drawn.picture();
    pen.penWidth = pen.penHeight = with.outlineWidth;
    pen.foreColor = with.outlineColor;
    for (const standin::DrawnLine &line : lines)
        DrawLine(pen, line.x1, line.y1, line.x2, line.y2);
    EXPECT_PICTURE(result.picture(), WordsOf(drawn.picture()));
}

using EveryWaveform = EveryWay;

TEST_P(EveryWaveform, IsExact) {
    const struct {
        const char *what;
        WaveformArguments with;
    } kShapes[] = {
        {"a column a sample", {.sampleCount = 90, .height = 90}},
        {"many samples a column", {.smooth = 4, .width = 65, .height = 33}},
        {"more columns than samples", {.sampleCount = 23, .width = 70, .height = 64}},
        {"without smoothing", {.smooth = -2, .width = 31, .height = 1}},
    };
    for (const auto &sound : kSounds) {
        for (const auto &shape : kShapes) {
            for (const int bits : {7, 8, 15, 16}) {
                WaveformArguments with = shape.with;
                with.bits = bits;
                with.outlineWidth = random.Below(3);
                with.autoScale = random.Below(2) == 0;
                with.backColor = random.Next();
                with.foreColor = random.Next();
                with.outlineColor = random.Next();
                SCOPED_TRACE(fmt::format("{}, {}, bits {}, outline {}, auto {}", sound.what, shape.what, bits,
                                         with.outlineWidth, with.autoScale));
                ExpectWaveform(host, Samples(sound.level, 250, bits), with);
            }
        }
    }
}

IN_EVERY_WAY(EveryWaveform);

/// Colors, kind of samples and scale as the declaration leaves them, written down.
TEST(Waveform, OfSilenceByDefault) {
    TestHost host;
    constexpr Rgb kBack{0x88, 0xB5, 0xC4};
    constexpr Rgb kFore{0x27, 0x4C, 0x5A};
    constexpr Rgb kLine{0x20, 0x3F, 0x4E};
    const std::vector<unsigned char> silence(5, 128);
    Picture flat = Filled(5, 500, kBack);
    Picture outlined = flat;
    for (int x = 0; x < 5; ++x) {
        flat.At(x, 250) = kFore;
        outlined.At(x, 250) = kLine;
    }
    const Ref silent = host.MakeBlock(silence.size(), silence);
    EXPECT_PICTURE(host.CallGlobal("RenderSamplesKVT", silent, 0, 1, 0, 0, 0), flat);
    EXPECT_PICTURE(host.CallGlobal("RenderSamplesKVT", silent, 0, 1, 0, 0, 1), outlined);
    const Result thick = host.CallGlobal("RenderSamplesKVT", silent, 3, 1, 0, 0, 5);
    EXPECT_EQ(thick.picture().width, 3);
    ASSERT_EQ(thick.picture().lines.size(), 6u);
    EXPECT_TRUE(thick.picture().lines.back() == (standin::DrawnLine{-1, 248, 0, 248, 5, 5, 0x203F4E}));
}

TEST(Waveform, Refused) {
    TestHost host;
    const Ref block = host.MakeBlock(40);
    const Ref nowhere = host.MakeBlock(40);
    nowhere.block().withoutAddress = true;
    const Result nil = Render(host, nullptr, {.bits = 12});
    EXPECT_TRUE(nil.value.IsNil());
    EXPECT_EQ(nil.raised, (standin::RaisedException{"NilObjectException", "memoryblock is nil"}));
    const struct {
        const Ref &block;
        WaveformArguments with;
    } kRefused[] = {
        {block, {.bits = 12}},     {block, {.bits = 0}},       {block, {.bits = 32}},
        {block, {.width = 32768}}, {block, {.height = 32768}}, {nowhere, {.width = 5, .height = 5}},
    };
    for (const auto &row : kRefused) {
        const Result result = Render(host, row.block, row.with);
        EXPECT_TRUE(result.value.IsNil() && !result.raised) << row.with.bits << ' ' << row.with.width;
    }
    EXPECT_EQ(host.CallsOf("newPicture"), 0);
}

} // namespace
