#include "expected/rectangle_mask.h"

#include "expected/noise.h"

#include <vector>

namespace expected {

Picture ColorRectangleMask(const Picture &picture, Rectangle rectangle) {
    constexpr Rgb kBlack{0, 0, 0};
    constexpr Rgb kWhite{255, 255, 255};
    const Area area = AreaOf(picture, rectangle);
    std::vector<bool> marks;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const Rgb &pixel = picture.At(x, y);
            marks.push_back(area.Contains(x, y) && (pixel.red != pixel.green || pixel.green != pixel.blue));
        }
    const auto place = [&](int x, int y) { return static_cast<std::size_t>(y * picture.width + x); };
    /// Whether a column or row of marks, inside the picture or not, holds any.
    const auto any = [&](int left, int top, int right, int bottom) {
        for (int y = top; y <= bottom; ++y)
            for (int x = left; x <= right; ++x)
                if (x >= 0 && y >= 0 && x < picture.width && y < picture.height && marks[place(x, y)])
                    return true;
        return false;
    };
    Picture mask = Filled(picture.width, picture.height, kWhite);
    for (int seedY = 0; seedY < picture.height; ++seedY)
        for (int seedX = 0; seedX < picture.width; ++seedX) {
            if (!marks[place(seedX, seedY)])
                continue;
            int left = seedX, top = seedY, right = seedX, bottom = seedY;
            for (bool moved = true; moved;) {
                const bool up = any(left, top - 1, right, top - 1);
                const bool down = any(left, bottom + 1, right, bottom + 1);
                top -= up;
                bottom += down;
                const bool toLeft = any(left - 1, top, left - 1, bottom);
                const bool toRight = any(right + 1, top, right + 1, bottom);
                left -= toLeft;
                right += toRight;
                moved = up || down || toLeft || toRight;
            }
            for (int y = top; y <= bottom; ++y)
                for (int x = left; x <= right; ++x) {
                    marks[place(x, y)] = false;
                    mask.At(x, y) = kBlack;
                }
        }
    return mask;
}

} // namespace expected
