#include "output/wu_line.h"

#include "expected/waveform.h"
#include "inside/plain_picture.h"

#include <gtest/gtest.h>

namespace {

using namespace kvt;
using expected::Filled;
using expected::Rgb;

void SetOutlineColor(Rgb color) {
    gOutLineColorR = color.red;
    gOutLineColorG = color.green;
    gOutLineColorB = color.blue;
}

/// Draws into `before` and compares every byte: what is drawn becomes opaque, everything else stays. A pixel that is
/// drawn in its own color may do either.
template <class Draw> void ExpectDrawn(const expected::Picture &before, const expected::Picture &wanted, Draw draw) {
    for (const std::int32_t format : kFormats) {
        Memory picture(before, format);
        Memory after = picture;
        draw(*Opened(picture));
        for (int y = 0; y < before.height; ++y)
            for (int x = 0; x < before.width; ++x) {
                const std::uint32_t opaque = expected::OpaqueWord(wanted.At(x, y), picture.layout);
                if (wanted.At(x, y) != before.At(x, y) || picture.Word(x, y) == opaque)
                    after.SetWord(x, y, opaque);
            }
        ASSERT_EQ(picture.bytes, after.bytes) << "format " << format;
    }
}

TEST(DrawPixel, WeighsEveryLevelByEveryIntensity) {
    for (const Rgb ink : {Rgb{0, 255, 0}, {255, 0, 254}, {128, 127, 1}}) {
        SetOutlineColor(ink);
        expected::Picture before = Filled(256, 256, {});
        expected::Picture wanted = before;
        for (int intensity = 0; intensity < 256; ++intensity)
            for (int level = 0; level < 256; ++level) {
                const auto blended = [&](int old, int outline) {
                    return (old * intensity + outline * (255 - intensity)) / 255;
                };
                const Rgb old = {level, 255 - level, level ^ 85};
                before.At(level, intensity) = old;
                wanted.At(level, intensity) = {blended(old.red, ink.red), blended(old.green, ink.green),
                                               blended(old.blue, ink.blue)};
            }
        ExpectDrawn(before, wanted, [&](const PictureEditor &editor) {
            for (int intensity = 0; intensity < 256; ++intensity)
                for (int level = 0; level < 256; ++level)
                    if (wanted.At(level, intensity) != before.At(level, intensity))
                        DrawPixel(editor, level, intensity, intensity);
            for (const int outside : {-1, 256, 32767, -32768}) {
                DrawPixel(editor, outside, 0, 0);
                DrawPixel(editor, 0, outside, 0);
            }
        });
    }
}

TEST(WuLine, OfAnyEndsIsTheOneDrawnStepByStep) {
    struct Line {
        std::int16_t x0, y0, x1, y1;
    };
    constexpr std::int16_t kLeast = INT16_MIN;
    constexpr std::int16_t kMost = INT16_MAX;
    std::vector<Line> lines = {{5, 3, 5, 3},   {2, 2, 20, 2},   {20, 2, 2, 2},    {4, 9, 4, 1},
                               {1, 1, 9, 9},   {9, 1, 1, 9},    {-9, -4, 40, 30}, {30, -5, 30, 20},
                               {-1, 0, -1, 9}, {40, 5, -20, 8}, {0, 30, 22, -20}, {5, kLeast, kLeast, -3}};
    for (const std::int16_t from : {kLeast, std::int16_t{4}, kMost})
        for (const std::int16_t to : {kLeast, std::int16_t{6}, kMost})
            for (const Line &line : {Line{from, to, kMost, kMost}, {from, to, kMost, kLeast}, {from, to, 3, kMost}})
                lines.push_back(line);
    expected::Random random(7);
    for (int i = 0; i < 900; ++i) {
        const int reach = i % 3 == 0 ? 20 : i % 3 == 1 ? 60 : 400;
        const auto any = [&] { return static_cast<std::int16_t>(random.Between(-reach / 2, reach * 3 / 2)); };
        lines.push_back({any(), any(), any(), any()});
    }
    constexpr Rgb kInk{250, 3, 120};
    constexpr Rgb kPaper{17, 200, 99};
    SetOutlineColor(kInk);
    for (const auto &[x0, y0, x1, y1] : lines) {
        SCOPED_TRACE(testing::Message() << "(" << x0 << ", " << y0 << ") to (" << x1 << ", " << y1 << ")");
        const expected::Picture paper = Filled(23, 14, kPaper);
        expected::Picture wanted = paper;
        expected::DrawWuLine(wanted, kInk, x0, y0, x1, y1);
        ASSERT_NO_FATAL_FAILURE(
            ExpectDrawn(paper, wanted, [&, x0 = x0, y0 = y0, x1 = x1, y1 = y1](const PictureEditor &editor) {
                DrawWuLine(editor, x0, y0, x1, y1);
            }));
    }
}

} // namespace
