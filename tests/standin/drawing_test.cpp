#include "standin/objects.h"

#include <climits>
#include <gtest/gtest.h>

/// What the host draws by itself, pixel by pixel.
namespace {

using namespace standin;

constexpr ColorValue kPaper = 0xFFFFFF;
constexpr ColorValue kInk = 0x123456;

/// A line a row: '#' ink, '.' paper, '?' anything else.
std::string Look(const Picture &picture) {
    std::string look;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const ColorValue color = picture.ColorAt(x, y);
            look += color == kInk ? '#' : color == kPaper ? '.' : '?';
        }
        look += '/';
    }
    return look;
}

constexpr struct {
    const char *what;
    int x1, y1, x2, y2, penWidth, penHeight;
    const char *look; ///< of 6 x 4 pixels
} kLines[] = {
    {"a point", 1, 2, 1, 2, 1, 1, "....../....../.#..../....../"},
    {"flat", 0, 0, 5, 2, 1, 1, "###.../...##./.....#/....../"},
    {"the pen hangs down to the right", 1, 0, 2, 0, 2, 3, ".###../.###../.###../....../"},
    {"a pen from outside reaches in", -2, -1, -2, 1, 3, 2, "#...../#...../#...../....../"},
    {"a pen without size draws nothing", 0, 0, 5, 3, 0, 0, "....../....../....../....../"},
    {"across the whole plane", INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1, 1, "#...../.#..../..#.../...#../"},
    {"a pen as large as can be", INT_MIN, INT_MIN, 3, 2, INT_MAX, INT_MAX, "######/######/######/######/"},
    {"upwards", 4, 3, 1, 0, 1, 2, ".#..../.##.../..##../...##./"},
    {"ends far away", 0, 0, 3000000, 1500000, 1, 1, "##..../..##../....##/....../"},
};

TEST(DrawLine, FollowsItsPenAndKeepsToThePicture) {
    for (const auto &row : kLines) {
        SCOPED_TRACE(row.what);
        Picture picture;
        picture.Build({.width = 6, .height = 4, .form = Form::Bitmap, .alphaInfo = 1, .rowPadding = 4}, Guard::After,
                      true, 0xFFFFFFFF);
        Graphics graphics;
        graphics.picture = &picture;
        graphics.foreColor = kInk;
        graphics.penWidth = row.penWidth;
        graphics.penHeight = row.penHeight;
        DrawLine(graphics, row.x1, row.y1, row.x2, row.y2);
        EXPECT_EQ(Look(picture), row.look);
        EXPECT_TRUE(picture.BordersIntact());
    }
}

} // namespace
