#include "output/wu_line.h"

#include "expected/output.h"
#include "inside/plain_picture.h"

#include <gtest/gtest.h>

namespace {

using namespace kvt;
using expected::Rgb;

/// What is drawn becomes opaque, everything else stays, to the byte. A pixel that is drawn in its own color may do
/// either.
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
    for (const auto &[x0, y0, x1, y1] : lines) {
        SCOPED_TRACE(testing::Message() << "(" << x0 << ", " << y0 << ") to (" << x1 << ", " << y1 << ")");
        const Rgb ink = {random.Below(256), random.Below(256), random.Below(256)};
        gOutLineColorR = ink.red;
        gOutLineColorG = ink.green;
        gOutLineColorB = ink.blue;
        const expected::Picture paper = expected::Noise(23, 14, random.Next());
        expected::Picture wanted = paper;
        expected::DrawWuLine(wanted, ink, x0, y0, x1, y1);
        for (const std::int32_t format : kFormats) {
            Memory picture(paper, format);
            Memory after = picture;
            DrawWuLine(picture.Opened(), x0, y0, x1, y1);
            for (int y = 0; y < paper.height; ++y)
                for (int x = 0; x < paper.width; ++x) {
                    const std::uint32_t opaque = expected::OpaqueWord(wanted.At(x, y), picture.layout);
                    if (wanted.At(x, y) != paper.At(x, y) || picture.Word(x, y) == opaque)
                        after.SetWord(x, y, opaque);
                }
            ASSERT_EQ(picture.bytes, after.bytes) << "format " << format;
        }
    }
}

} // namespace
