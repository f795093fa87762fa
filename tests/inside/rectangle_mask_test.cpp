#include "color/rectangle_mask.h"

#include "expected/noise.h"
#include "expected/print.h"
#include "expected/rectangle_mask.h"
#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "pixels/instruction_set.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace kvt;
using expected::Rgb;

expected::Picture MaskOf(const expected::Picture &picture, expected::Rectangle rectangle, std::int32_t from,
                         std::int32_t to) {
    PlainPicture source(picture, from);
    PlainPicture target(expected::Filled(picture.width, picture.height, {1, 2, 3}), to);
    const expected::StoredPicture before = source.Stored();
    const Area area = AreaOf(*source, Rectangle{rectangle.left, rectangle.top, rectangle.width, rectangle.height});
    ColorRectangles rectangles(*source, area);
    EXPECT_TRUE(rectangles);
    rectangles.Draw(*target);
    EXPECT_EQ(source.Stored(), before);
    EXPECT_TRUE(target.GuardsStand());
    const expected::StoredPicture mask = target.Stored();
    EXPECT_EQ(mask, expected::Store(expected::Load(mask), mask.layout)) << "all opaque";
    return expected::Load(mask);
}

/// Rows of text: a dot is gray, anything else colored; in a mask, a dot is white and # black.
std::string Drawn(const expected::Picture &picture) {
    std::string text;
    for (int y = 0; y < picture.height; ++y, text += '\n')
        for (int x = 0; x < picture.width; ++x)
            text += picture.At(x, y) == Rgb{255, 255, 255} ? '.' : picture.At(x, y) == Rgb{} ? '#' : '?';
    return text;
}

expected::Picture FromText(const std::string &text) {
    expected::Picture picture;
    for (const char cell : text) {
        if (cell == '\n')
            ++picture.height;
        else
            picture.pixels.push_back(cell == '.' ? Rgb{90, 90, 90} : Rgb{90, 91, 90});
    }
    picture.width = static_cast<int>(picture.pixels.size()) / picture.height;
    return picture;
}

const struct {
    const char *what;
    const char *picture;
    const char *mask;
    expected::Rectangle rectangle = {};
} kShapes[] = {
    {"all gray is all white", "...\n...\n", "...\n...\n"},
    {"all colored is all black", "xxx\nxxx\n", "###\n###\n"},
    {"neighbors at a corner stay apart", "x..\n.x.\n", "#..\n.#.\n"},
    {"an L is taken with what it encloses", "x...\nx...\nxxx.\n....\n", "###.\n###.\n###.\n....\n"},
    {"a box grows to the left of its seed", "..x.\nxxx.\n....\n", "###.\n###.\n....\n"},
    {"what a box has taken, a later one does not see", ".x.\nx..\nxx.\n", ".#.\n##.\n##.\n"},
    {"boxes overlap", "..x.\nx.x.\nx...\nxxxx\n", "..#.\n####\n####\n####\n"},
    {"a box begins at the border of a word", "...............................xx.\n................................x.\n",
     "...............................##.\n...............................##.\n"},
    {"outside the rectangle nothing is seen", "xxxx\nx..x\nxxxx\n", "....\n..##\n..##\n", {2, 1, 9, 9}},
    {"a left of -2 shortens the width", "xxxx\nxxxx\n", "##..\n##..\n", {-2, 0, 4, -1}},
    {"an empty rectangle", "xxxx\n", "....\n", {0, 0, 0, 1}},
    {"a rectangle beyond the picture", "xxxx\n", "....\n", {9, 0, -1, -1}},
};

TEST(ColorRectangles, BoxWhatBelongsTogether) {
    for (const auto &row : kShapes) {
        SCOPED_TRACE(row.what);
        const expected::Picture picture = FromText(row.picture);
        EXPECT_EQ(Drawn(MaskOf(picture, row.rectangle, 1, 2)), row.mask);
        EXPECT_EQ(Drawn(expected::ColorRectangleMask(picture, row.rectangle)), row.mask);
    }
}

class MaskedPictures : public testing::TestWithParam<int> {};

TEST_P(MaskedPictures, GiveTheMaskOfThePlainForm) {
    gForcedLevel = GetParam();
    expected::Random random(7);
    constexpr int kPerMille[] = {1, 10, 50, 100, 150, 250, 400, 600, 900, 990};
    for (int round = 0; round < 600; ++round) {
        const int density = kPerMille[random.Below(10)];
        const bool lines = random.Below(3) == 0; // strokes instead of single pixels
        expected::Picture picture =
            expected::Filled(random.Between(1, round % 4 ? 40 : 400), random.Between(1, round % 5 ? 40 : 150), {});
        for (Rgb &pixel : picture.pixels) {
            const int gray = random.Below(256);
            pixel = {gray, random.Below(1000) < density && !lines ? gray ^ 1 : gray, gray};
        }
        for (int stroke = lines ? random.Below(12) : 0; stroke > 0; --stroke) {
            const bool down = random.Below(2);
            int x = random.Below(picture.width);
            int y = random.Below(picture.height);
            for (int length = random.Below(80); length > 0 && x < picture.width && y < picture.height; --length)
                picture.At(down ? x : x++, down ? y++ : y).blue ^= 3;
        }
        const expected::Rectangle rectangle =
            random.Below(2) ? expected::AnyRectangle(random, picture.width, picture.height) : expected::Rectangle{};
        ASSERT_EQ(MaskOf(picture, rectangle, kFormats[random.Below(3)], kFormats[random.Below(3)]),
                  expected::ColorRectangleMask(picture, rectangle))
            << "round " << round << ": " << picture.width << " x " << picture.height << ", density " << density;
    }
    gForcedLevel = -1;
}

INSTANTIATE_TEST_SUITE_P(AtEveryLevel, MaskedPictures, testing::Values(0, 1, 2));

TEST(ColorRectangles, RefuseWithoutMemoryOrPixels) {
    const PlainPicture source(FromText("x.x\n"), 1);
    int granted = 0;
    for (bool made = false; !made; ++granted) {
        ASSERT_LT(granted, 20);
        heap::granted = granted;
        const ColorRectangles rectangles(*source, {0, 0, 3, 1});
        made = static_cast<bool>(rectangles);
        EXPECT_TRUE(made || heap::granted == 0);
    }
    heap::granted = -1;
    EXPECT_GT(granted, 1) << "the first grant of none was refused";
    PictureEditor empty = *source;
    empty.height = 0;
    EXPECT_FALSE(ColorRectangles(empty, {0, 0, 0, 0}));
}

} // namespace
