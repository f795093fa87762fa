#include "expected/rectangle_mask.h"

#include <cstddef>
#include <vector>

namespace expected {

namespace {

/// A cell a pixel, with a border of one cell around them that stays false.
class Grid {
  public:
    explicit Grid(const Picture &picture)
        : width_(picture.width + 2),
          cells_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(picture.height + 2)) {}
    char &At(int x, int y) {
        return cells_[static_cast<std::size_t>(y + 1) * static_cast<std::size_t>(width_) +
                      static_cast<std::size_t>(x + 1)];
    }
    bool AnyInRow(int y, int left, int right) {
        for (int x = left; x <= right; ++x)
            if (At(x, y))
                return true;
        return false;
    }
    bool AnyInColumn(int x, int top, int bottom) {
        for (int y = top; y <= bottom; ++y)
            if (At(x, y))
                return true;
        return false;
    }

  private:
    int width_;
    std::vector<char> cells_;
};

bool FindMark(const Picture &picture, Grid &marks, int &x, int &y) {
    for (y = 0; y < picture.height; ++y)
        for (x = 0; x < picture.width; ++x)
            if (marks.At(x, y))
                return true;
    return false;
}

} // namespace

Picture ColorRectangleMask(const Picture &picture, Rectangle rectangle) {
    Grid marks(picture);
    Grid boxes(picture);
    const Area area = AreaOf(picture, rectangle);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const Rgb &pixel = picture.At(x, y);
            marks.At(x, y) = area.Contains(x, y) && (pixel.red != pixel.green || pixel.green != pixel.blue);
        }
    }
    int seedX = 0;
    int seedY = 0;
    while (FindMark(picture, marks, seedX, seedY)) {
        int boxLeft = seedX;
        int boxRight = seedX;
        int boxTop = seedY;
        int boxBottom = seedY;
        for (bool moved = true; moved;) {
            const bool up = marks.AnyInRow(boxTop - 1, boxLeft, boxRight);
            const bool down = marks.AnyInRow(boxBottom + 1, boxLeft, boxRight);
            boxTop -= up;
            boxBottom += down;
            const bool toLeft = marks.AnyInColumn(boxLeft - 1, boxTop, boxBottom);
            const bool toRight = marks.AnyInColumn(boxRight + 1, boxTop, boxBottom);
            boxLeft -= toLeft;
            boxRight += toRight;
            moved = up || down || toLeft || toRight;
        }
        for (int y = boxTop; y <= boxBottom; ++y) {
            for (int x = boxLeft; x <= boxRight; ++x) {
                marks.At(x, y) = 0;
                boxes.At(x, y) = 1;
            }
        }
    }
    Picture mask = picture;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            mask.At(x, y) = boxes.At(x, y) ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
    return mask;
}

} // namespace expected
