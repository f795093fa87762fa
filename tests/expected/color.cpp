#include "expected/color.h"

#include <algorithm>
#include <utility>

namespace expected {

namespace {

unsigned char Mapped(const LookupTable &table, int level) { return table[static_cast<std::size_t>(level)]; }

/// Where a level lies between two grid points.
struct GridPosition {
    int lower = 0;
    int upper = 0;
    double fraction = 0;
};

GridPosition PositionOf(int level) {
    const int lower = level / 17;
    return {lower, std::min(lower + 1, 15), (level - 17 * lower) / 17.0};
}

double Interpolated(const ColorCube &cube, GridPosition r, GridPosition g, GridPosition b, int channel) {
    const double fr = r.fraction;
    const double fg = g.fraction;
    const double fb = b.fraction;
    const double c000 = cube.At(r.lower, g.lower, b.lower, channel);
    const double c001 = cube.At(r.lower, g.lower, b.upper, channel);
    const double c010 = cube.At(r.lower, g.upper, b.lower, channel);
    const double c011 = cube.At(r.lower, g.upper, b.upper, channel);
    const double c100 = cube.At(r.upper, g.lower, b.lower, channel);
    const double c101 = cube.At(r.upper, g.lower, b.upper, channel);
    const double c110 = cube.At(r.upper, g.upper, b.lower, channel);
    const double c111 = cube.At(r.upper, g.upper, b.upper, channel);
    if (fr > fg) {
        if (fg > fb)
            return (1 - fr) * c000 + (fr - fg) * c100 + (fg - fb) * c110 + fb * c111;
        if (fr > fb)
            return (1 - fr) * c000 + (fr - fb) * c100 + (fb - fg) * c101 + fg * c111;
        return (1 - fb) * c000 + (fb - fr) * c001 + (fr - fg) * c101 + fg * c111;
    }
    if (fb > fg)
        return (1 - fb) * c000 + (fb - fg) * c001 + (fg - fr) * c011 + fr * c111;
    if (fb > fr)
        return (1 - fg) * c000 + (fg - fb) * c010 + (fb - fr) * c011 + fr * c111;
    return (1 - fg) * c000 + (fg - fr) * c010 + (fr - fb) * c110 + fb * c111;
}

int Output(const ColorCube &cube, Rgb p, int channel) {
    const double value = Interpolated(cube, PositionOf(p.red), PositionOf(p.green), PositionOf(p.blue), channel);
    return Limit(Truncate(value));
}

} // namespace

Rgb RgbOf(std::uint32_t color) {
    return {static_cast<int>(color / 65536 % 256), static_cast<int>(color / 256 % 256), static_cast<int>(color % 256)};
}

int CountColor(const Picture &picture, std::uint32_t color) {
    return static_cast<int>(std::count(picture.pixels.begin(), picture.pixels.end(), RgbOf(color)));
}

Histograms CountColors(const Picture &picture, Histograms before) {
    for (const Rgb &pixel : picture.pixels) {
        ++before.red[static_cast<std::size_t>(pixel.red)];
        ++before.green[static_cast<std::size_t>(pixel.green)];
        ++before.blue[static_cast<std::size_t>(pixel.blue)];
    }
    return before;
}

Picture TransformColors(const Picture &source, const LookupTable &red, const LookupTable &green,
                        const LookupTable &blue, Picture before) {
    return MapArea(source, AreaOf(source, Rectangle{}), std::move(before), [&](Rgb p) {
        return Rgb{Mapped(red, p.red), Mapped(green, p.green), Mapped(blue, p.blue)};
    });
}

Picture ReplaceColor(const Picture &source, std::uint32_t search, std::uint32_t replacement) {
    return MapAll(source, [&](Rgb p) { return p == RgbOf(search) ? RgbOf(replacement) : p; });
}

Picture ExtractColor(const Picture &source, std::uint32_t search, std::uint32_t replacement, std::uint32_t background) {
    return MapAll(source, [&](Rgb p) { return p == RgbOf(search) ? RgbOf(replacement) : RgbOf(background); });
}

Picture ReplaceChannel(Picture source, int Rgb::*level, const Picture &channel) {
    for (int y = 0; y < source.height; ++y)
        for (int x = 0; x < source.width; ++x)
            source.At(x, y).*level = channel.At(x, y).*level;
    return source;
}

Picture CombinePictures(const Picture &red, const Picture &green, const Picture &blue) {
    Picture result = red;
    for (std::size_t i = 0; i < result.pixels.size(); ++i)
        result.pixels[i] = {red.pixels[i].red, green.pixels[i].green, blue.pixels[i].blue};
    return result;
}

Picture MergePictures(const Picture &a, const Picture &b) {
    Picture result = a;
    for (std::size_t i = 0; i < result.pixels.size(); ++i)
        result.pixels[i] = {std::max(a.pixels[i].red, b.pixels[i].red), std::max(a.pixels[i].green, b.pixels[i].green),
                            std::max(a.pixels[i].blue, b.pixels[i].blue)};
    return result;
}

Picture EmbeddedMask(const StoredPicture &picture, bool swap) {
    Picture result{picture.width, picture.height, {}};
    for (const std::uint32_t word : picture.words) {
        const int value = MaskValue(word, picture.layout);
        const int level = swap ? 255 - value : value;
        result.pixels.push_back({level, level, level});
    }
    return result;
}

StoredPicture SetEmbeddedMask(StoredPicture before, bool swap, const Picture &mask) {
    for (int y = 0; y < std::min(before.height, mask.height); ++y) {
        for (int x = 0; x < std::min(before.width, mask.width); ++x) {
            const int red = mask.At(x, y).red;
            std::uint32_t &word = before.words[static_cast<std::size_t>(y * before.width + x)];
            word = WithMaskValue(word, swap ? 255 - red : red, before.layout);
        }
    }
    return before;
}

Picture ThroughCube(const Picture &source, const ColorCube &cube, Bounds bounds, Picture before) {
    return MapArea(source, AreaOf(source, bounds), std::move(before), [&](Rgb p) {
        return Rgb{Output(cube, p, 0), Output(cube, p, 1), Output(cube, p, 2)};
    });
}

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
