#include "output/wu_line.h"

#include "kernels/paint.h"

#include <algorithm>
#include <utility>

namespace kvt {
namespace {

/// The steps of a line from `first` up to and including `last`; step 0 is its start.
struct Steps {
    std::int32_t first;
    std::int32_t last;
};

/// Those steps at which start + step * direction lies in 0..size - 1. A line ends before 32768, where larger pictures
/// may end for it, too.
Steps Inside(Steps steps, std::int32_t start, std::int32_t direction, std::int32_t size) {
    const std::int32_t last = std::min(size, 32768) - 1;
    if (direction == 0)
        return start >= 0 && start <= last ? steps : Steps{0, -1};
    const Steps inside = direction > 0 ? Steps{-start, last - start} : Steps{start - last, start};
    return {std::max(steps.first, inside.first), std::min(steps.last, inside.last)};
}

/// How far a line is off its start across its main direction, in 65536ths of a pixel: the 16-bit accumulator of the
/// error and, above it, how often it has wrapped. `Slope` is 1..65535 and there are less than 65536 steps, so that the
/// product is exact and the accumulator wraps just when it comes out not above its old value. That makes every step
/// known without those before it.
struct Slope {
    /// A line of `across` pixels on `along` pixels, 0 < across < along < 65536.
    Slope(std::int32_t across, std::int32_t along)
        : perStep((static_cast<std::uint32_t>(across) << 16) / static_cast<std::uint32_t>(along)) {}
    std::int32_t Pixels(std::int32_t step) const { return static_cast<std::int32_t>(Offset(step) >> 16); }
    std::uint32_t Intensity(std::int32_t step) const { return Offset(step) >> 8 & 255; }
    std::uint32_t Offset(std::int32_t step) const { return static_cast<std::uint32_t>(step) * perStep; }
    std::uint32_t perStep;
};

Blender OutlineBlender(const PictureEditor &editor) {
    return {editor, Rgb{gOutLineColorR, gOutLineColorG, gOutLineColorB}};
}

} // namespace

void DrawPixel(const PictureEditor &editor, std::int32_t x, std::int32_t y, std::int32_t intensity) {
    OutlineBlender(editor)(x, y, static_cast<std::uint32_t>(intensity));
}

void DrawWuLine(const PictureEditor &editor, std::int16_t x0, std::int16_t y0, std::int16_t x1, std::int16_t y1) {
    const Blender plot = OutlineBlender(editor);
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    const std::int32_t xDirection = x1 < x0 ? -1 : 1;
    const std::int32_t dx = (x1 - x0) * xDirection;
    const std::int32_t dy = y1 - y0;
    plot(x0, y0, 0);
    if (dx == 0 || dy == 0 || dx == dy) {
        const std::int32_t xStep = dx == 0 ? 0 : xDirection;
        const std::int32_t yStep = dy == 0 ? 0 : 1;
        const Steps columns = Inside({1, std::max(dx, dy)}, x0, xStep, editor.width);
        const Steps steps = Inside(columns, y0, yStep, editor.height);
        for (std::int32_t step = steps.first; step <= steps.last; ++step)
            plot(x0 + step * xStep, y0 + step * yStep, 0);
        return;
    }
    const bool steep = dy > dx;
    const Slope slope(std::min(dx, dy), std::max(dx, dy));
    const Steps steps =
        steep ? Inside({1, dy - 1}, y0, 1, editor.height) : Inside({1, dx - 1}, x0, xDirection, editor.width);
    for (std::int32_t step = steps.first; step <= steps.last; ++step) {
        const std::int32_t across = slope.Pixels(step);
        const std::int32_t x = x0 + (steep ? across : step) * xDirection;
        const std::int32_t y = y0 + (steep ? step : across);
        const std::uint32_t intensity = slope.Intensity(step);
        plot(x, y, intensity);
        plot(steep ? x + xDirection : x, steep ? y : y + 1, intensity ^ 255);
    }
    plot(x1, y1, 0);
}

} // namespace kvt
