#include "output/wu_line.h"

#include "expected/print.h"
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

/// Draws into `before` and compares every word: what is drawn becomes opaque, everything else stays. A pixel that is
/// drawn in its own color may do either.
template <class Draw> void ExpectDrawn(const expected::Picture &before, const expected::Picture &wanted, Draw draw) {
    for (const std::int32_t format : kFormats) {
        const PlainPicture picture(before, format);
        expected::StoredPicture words = picture.Stored();
        draw(*picture);
        const expected::StoredPicture drawn = picture.Stored();
        for (std::size_t i = 0; i < words.words.size(); ++i) {
            const std::uint32_t opaque = expected::OpaqueWord(wanted.pixels[i], words.layout);
            if (wanted.pixels[i] != before.pixels[i] || drawn.words[i] == opaque)
                words.words[i] = opaque;
        }
        ASSERT_EQ(drawn, words) << "format " << format;
        ASSERT_TRUE(picture.GuardsStand()) << "format " << format;
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
        int x0, y0, x1, y1;
    };
    constexpr int kLeast = INT16_MIN;
    constexpr int kMost = INT16_MAX;
    std::vector<Line> lines = {{5, 3, 5, 3},   {2, 2, 20, 2},   {20, 2, 2, 2},    {4, 9, 4, 1},
                               {1, 1, 9, 9},   {9, 1, 1, 9},    {-9, -4, 40, 30}, {30, -5, 30, 20},
                               {-1, 0, -1, 9}, {40, 5, -20, 8}, {0, 30, 22, -20}, {5, kLeast, kLeast, -3}};
    for (const int x0 : {kLeast, 4, kMost})
        for (const int y0 : {kLeast, 6, kMost})
            for (const auto &[x1, y1] : {std::pair(kMost, kMost), {kMost, kLeast}, {kMost, 6}, {3, kMost}})
                lines.push_back({x0, y0, x1, y1});
    expected::Random random(7);
    for (int i = 0; i < 900; ++i) {
        const int reach = i % 3 == 0 ? 20 : i % 3 == 1 ? 60 : 400;
        const auto any = [&] { return random.Between(-reach / 2, reach * 3 / 2); };
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
        const auto fromX = static_cast<std::int16_t>(x0);
        const auto fromY = static_cast<std::int16_t>(y0);
        const auto toX = static_cast<std::int16_t>(x1);
        const auto toY = static_cast<std::int16_t>(y1);
        ASSERT_NO_FATAL_FAILURE(ExpectDrawn(
            paper, wanted, [&](const PictureEditor &editor) { DrawWuLine(editor, fromX, fromY, toX, toY); }));
    }
}

} // namespace
