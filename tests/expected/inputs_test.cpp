#include "expected/area.h"
#include "expected/byte_string.h"
#include "expected/color.h"
#include "expected/layout.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace expected {
namespace {

constexpr int kMost = 0x7FFFFFFF;

constexpr struct {
    const char *what;
    Rectangle rectangle;
    Area area;
    bool ofInversion = false;
} kRectangles[] = {
    {"any negative extent is the whole one", {0, 0, -kMost, -7}, {0, 0, 100, 50}},
    {"a width of 0 is empty", {0, 0, 0, 0}, {}},
    {"a width of 0 is the whole one", {0, 0, 0, 0}, {0, 0, 100, 50}, true},
    {"a negative start shortens the whole extent", {-10, -10, 0, 0}, {0, 0, 90, 40}, true},
    {"a negative start shortens a negative extent's", {-10, -10, -1, -1}, {0, 0, 90, 40}},
    {"a negative start shortens a given extent", {-5, 0, 10, 1}, {0, 0, 5, 1}},
    {"clipped at the end", {95, 45, 10, 10}, {95, 45, 100, 50}},
    {"beyond the end", {100, 0, -1, -1}, {}},
    {"ends before the start", {-20, 0, 20, 0}, {}, true},
    {"sums beyond 32 bits", {90, 40, kMost, kMost}, {90, 40, 100, 50}},
    {"starts beyond 32 bits", {-kMost - 1, -kMost - 1, -1, -1}, {}, true},
};

constexpr struct {
    const char *what;
    Bounds bounds;
    Area area;
} kBounds[] = {
    {"zeros are the whole picture", {0, 0, 0, 0}, {0, 0, 100, 50}},
    {"columns alone", {10, 0, 20, 0}, {10, 0, 20, 50}},
    {"an end at the picture's is its end", {0, 0, 100, 50}, {0, 0, 100, 50}},
    {"an end before the start is the picture's", {10, 10, 5, 10}, {10, 10, 100, 50}},
    {"a start outside", {100, 0, 0, 0}, {}},
    {"a negative start is 0", {-5, -5, 3, -9}, {0, 0, 3, 50}},
    {"an end at 0 counts behind a negative start", {-5, 0, 0, 0}, {}},
};

void ExpectArea(Area actual, Area wanted) {
    EXPECT_EQ(actual.Empty(), wanted.Empty());
    if (!wanted.Empty()) {
        EXPECT_EQ(std::tie(actual.left, actual.top, actual.right, actual.bottom),
                  std::tie(wanted.left, wanted.top, wanted.right, wanted.bottom));
    }
}

TEST(Area, FollowsTheRulesOfRectangles) {
    const Picture picture = Filled(100, 50, {});
    for (const auto &row : kRectangles) {
        SCOPED_TRACE(row.what);
        ExpectArea(row.ofInversion ? AreaOfInversion(picture, row.rectangle) : AreaOf(picture, row.rectangle),
                   row.area);
    }
    for (const auto &row : kBounds) {
        SCOPED_TRACE(row.what);
        ExpectArea(AreaOf(picture, row.bounds), row.area);
    }
}

constexpr struct {
    Layout layout;
    std::uint32_t opaque; ///< of (0x11, 0x22, 0x33)
    std::uint32_t word;
    int mask;
    int stored;
    std::uint32_t after;
} kWords[] = {
    {Layout::AlphaHigh, 0xFF332211, 0x80332211, 128, 255, 0xFF332211},
    {Layout::AlphaLow, 0x332211FF, 0x33221180, 128, 1, 0x33221101},
    {Layout::RowTable, 0x00112233, 0x00112233, 0, 255, 0x7F112233},
    {Layout::RowTable, 0x00112233, 0x7F112233, 255, 1, 0x00112233},
    {Layout::RowTable, 0x00112233, 0xC1112233, 131, 131, 0x41112233},
};

TEST(Layouts, HoldColorsAndMaskValues) {
    for (const auto &row : kWords) {
        SCOPED_TRACE(testing::Message() << std::hex << row.word);
        EXPECT_EQ(OpaqueWord({0x11, 0x22, 0x33}, row.layout), row.opaque);
        EXPECT_EQ(ColorOf(row.word, row.layout), (Rgb{0x11, 0x22, 0x33}));
        EXPECT_EQ(MaskValue(row.word, row.layout), row.mask);
        EXPECT_EQ(WithMaskValue(row.word, row.stored, row.layout), row.after);
        const StoredPicture picture = {2, 1, row.layout, {row.word, row.word}};
        EXPECT_EQ(EmbeddedMask(picture, true).At(1, 0).red, 255 - row.mask);
        const Picture smaller = {1, 2, {{255 - row.stored, 7, 7}, {}}};
        EXPECT_EQ(SetEmbeddedMask(picture, true, smaller).words, (std::vector{row.after, row.word}));
    }
    for (const int format : {1, 2, 3, 4, 5, 6})
        EXPECT_EQ(LayoutOf(format), format % 2 ? Layout::AlphaHigh : Layout::AlphaLow);
    EXPECT_EQ(LayoutOf(8), Layout::RowTable);
}

TEST(Histograms, AddUpAndWrap) {
    Histograms counts;
    counts.blue[30] = 0xFFFFFFFF;
    for (int round = 0; round < 2; ++round)
        counts = CountColors({2, 1, {{10, 20, 30}, {10, 40, 50}}}, counts);
    EXPECT_EQ(counts.red[10], 4u);
    EXPECT_EQ(counts.green[20] + counts.green[40], 4u);
    EXPECT_EQ(counts.blue[30], 1u);
}

const std::string
    kOnePixel("PPIC\0\0\0\x2B\0\0\0\1\0\0\0\1\0\0\0\x20\0\0\0\x28\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0A\x14\x1E", 43);

constexpr struct {
    const char *what;
    std::size_t at;
    int byte;
    std::optional<Rgb> pixel;
} kStrings[] = {
    {"as written", 0, 'P', Rgb{10, 20, 30}},
    {"another magic", 3, 'c', {}},
    {"a length one too large", 7, 0x2C, {}},
    {"no width", 11, 0, {}},
    {"a width of 32768", 10, 0x80, {}},
    {"a negative width", 8, 0x80, {}},
    {"a width beyond the bytes", 11, 2, {}},
    {"unread fields", 19, 7, Rgb{10, 20, 30}},
    {"an offset of 0", 23, 0, Rgb{'P', 'P', 'I'}},
    {"an offset one too far", 23, 41, {}},
    {"an offset beyond 31 bits", 20, 0x80, {}},
};

TEST(ByteString, IsWrittenAndReadOrRefused) {
    EXPECT_EQ(BytesOf(Filled(1, 1, {10, 20, 30})), kOnePixel);
    EXPECT_EQ(PictureOf(kOnePixel.substr(0, 23)), std::nullopt);
    for (const auto &row : kStrings) {
        std::string bytes = kOnePixel;
        bytes[row.at] = static_cast<char>(row.byte);
        const std::optional<Picture> none;
        EXPECT_EQ(PictureOf(bytes), row.pixel ? Filled(1, 1, *row.pixel) : none) << row.what;
    }
}

TEST(Noise, HoldsEveryKindOfPixelAndParameter) {
    const Picture picture = Noise(40, 40, 1);
    EXPECT_EQ(picture, Noise(40, 40, 1));
    EXPECT_NE(picture, Noise(40, 40, 2));
    EXPECT_GT(std::ranges::count_if(picture.pixels, [](Rgb p) { return p.red == p.green && p.green == p.blue; }), 300);
    EXPECT_GT(std::ranges::count(picture.pixels, Rgb{255, 255, 255}), 0);
    Random random(1);
    int within = 0, infinite = 0, notNumbers = 0, extremes = 0, empty = 0, whole = 0;
    for (int round = 0; round < 2000; ++round) {
        const double number = AnyDouble(random, 5.0);
        within += std::abs(number) <= 5.0;
        infinite += std::isinf(number);
        notNumbers += std::isnan(number);
        extremes += std::abs(static_cast<double>(AnyInteger(random, 5))) > 1e9;
        const Area area = AreaOf(Filled(30, 20, {}), AnyRectangle(random, 30, 20));
        empty += area.Empty();
        whole += area.left == 0 && area.right == 30;
    }
    for (const int count : {2000 - within, infinite, notNumbers, extremes, empty, whole})
        EXPECT_GT(count, 10);
    EXPECT_GT(within, 1200);
    EXPECT_LT(empty, 1200);
}

} // namespace
} // namespace expected
