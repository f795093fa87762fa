#include "color/rectangle_mask.h"

#include "expected/rectangle_mask.h"
#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "pixels/instruction_set.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace kvt;
using expected::Rgb;

struct Arguments {
    int left = 0;
    int top = 0;
    int width = -1;
    int height = -1;
};

expected::Picture MaskOf(const expected::Picture &picture, Arguments arguments, std::int32_t from, std::int32_t to) {
    plain::Memory source(picture, from);
    plain::Memory target(
        expected::Picture{picture.width, picture.height, std::vector<Rgb>(picture.pixels.size(), {1, 2, 3})}, to);
    const PictureEditor reader = source.Open();
    const Area area = AreaOf(reader, Rectangle{arguments.left, arguments.top, arguments.width, arguments.height});
    ColorRectangles rectangles(reader, area);
    EXPECT_TRUE(rectangles);
    rectangles.Draw(target.Open());
    EXPECT_EQ(source.Picture(), picture);
    EXPECT_TRUE(target.IsOpaque());
    EXPECT_TRUE(target.GuardsStand());
    return target.Picture();
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
    Arguments arguments = {};
} kShapes[] = {
    {"all gray is all white", "...\n...\n", "...\n...\n"},
    {"all colored is all black", "xxx\nxxx\n", "###\n###\n"},
    {"neighbors at a corner stay apart", "x..\n.x.\n", "#..\n.#.\n"},
    {"an L is taken with what it encloses", "x...\nx...\nxxx.\n....\n", "###.\n###.\n###.\n....\n"},
    {"a box grows to the left of its seed", "..x.\nxxx.\n....\n", "###.\n###.\n....\n"},
    {"what a box has taken, a later one does not see", ".x.\nx..\nxx.\n", ".#.\n##.\n##.\n"},
    {"boxes overlap", "..x.\nx.x.\nx...\nxxxx\n", "..#.\n####\n####\n####\n"},
    {"outside the rectangle nothing is seen", "xxxx\nx..x\nxxxx\n", "....\n..##\n..##\n", {2, 1, 9, 9}},
    {"a left of -2 shortens the width", "xxxx\nxxxx\n", "##..\n##..\n", {-2, 0, 4, -1}},
    {"an empty rectangle", "xxxx\n", "....\n", {0, 0, 0, 1}},
    {"a rectangle beyond the picture", "xxxx\n", "....\n", {9, 0, -1, -1}},
};

TEST(ColorRectangles, BoxWhatBelongsTogether) {
    for (const auto &row : kShapes) {
        SCOPED_TRACE(row.what);
        const auto &a = row.arguments;
        const expected::Picture picture = FromText(row.picture);
        EXPECT_EQ(Drawn(MaskOf(picture, a, plain::kAlphaHigh, plain::kAlphaLow)), row.mask);
        EXPECT_EQ(Drawn(expected::ColorRectangleMask(picture, a.left, a.top, a.width, a.height)), row.mask);
    }
}

class MaskedPictures : public testing::TestWithParam<int> {};

TEST_P(MaskedPictures, GiveTheMaskOfThePlainForm) {
    gForcedLevel = GetParam();
    std::mt19937 random(7);
    const auto below = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    constexpr int kPerMille[] = {1, 10, 50, 100, 150, 250, 400, 600, 900, 990};
    for (int round = 0; round < 600; ++round) {
        const int density = kPerMille[below(10)];
        const bool lines = below(3) == 0; // strokes instead of single pixels
        expected::Picture picture{1 + below(round % 4 ? 40 : 150), 1 + below(round % 5 ? 40 : 150), {}};
        for (int i = 0; i < picture.width * picture.height; ++i) {
            const int gray = below(256);
            picture.pixels.push_back(below(1000) < density && !lines ? Rgb{gray, gray ^ 1, gray}
                                                                     : Rgb{gray, gray, gray});
        }
        for (int stroke = lines ? below(12) : 0; stroke > 0; --stroke) {
            const bool down = below(2);
            int x = below(picture.width);
            int y = below(picture.height);
            for (int length = below(80); length > 0 && x < picture.width && y < picture.height; --length)
                picture.At(down ? x : x++, down ? y++ : y).blue ^= 3;
        }
        Arguments a;
        if (below(2))
            a = {below(60) - 20, below(60) - 20, below(80) - 10, below(80) - 10};
        ASSERT_EQ(MaskOf(picture, a, plain::kFormats[below(3)], plain::kFormats[below(3)]),
                  expected::ColorRectangleMask(picture, a.left, a.top, a.width, a.height))
            << "round " << round << ": " << picture.width << " x " << picture.height << ", density " << density;
    }
    gForcedLevel = -1;
}

INSTANTIATE_TEST_SUITE_P(AtEveryLevel, MaskedPictures, testing::Values(0, 1, 2));

TEST(ColorRectangles, RefuseWithoutMemoryOrPixels) {
    plain::Memory source(FromText("x.x\n"), plain::kAlphaHigh);
    const PictureEditor reader = source.Open();
    int granted = 0;
    for (bool made = false; !made; ++granted) {
        ASSERT_LT(granted, 20);
        heap::granted = granted;
        const ColorRectangles rectangles(reader, {0, 0, 3, 1});
        made = static_cast<bool>(rectangles);
        EXPECT_TRUE(made || heap::granted == 0);
    }
    heap::granted = -1;
    EXPECT_GT(granted, 1) << "the first grant of none was refused";
    PictureEditor empty = reader;
    empty.height = 0;
    EXPECT_FALSE(ColorRectangles(empty, {0, 0, 0, 0}));
}

} // namespace
