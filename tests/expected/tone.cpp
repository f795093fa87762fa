#include "expected/tone.h"

#include <utility>

namespace expected {

namespace {

double Contrasted(int x, double contrast) {
    const double d = x - 127;
    const double t = d * (contrast + 1.0);
    return t + 127.0;
}

double Brightened(double value, double brightness) {
    double scale = (255.0 - brightness) / 255.0;
    double offset = brightness;
    if (brightness < 0.0) {
        scale = (brightness + 255.0) / 255.0;
        offset = 0.0;
    }
    const double scaled = value * scale;
    return scaled + offset;
}

int Byte(double value) { return Limit(Truncate(value)); }

/// Each channel with its own two parameters.
template <class Op> Picture MapLevels(const Picture &source, PerChannel first, PerChannel second, Op op) {
    return MapAll(source, [&](Rgb p) {
        return Rgb{Byte(op(p.red, first.red, second.red)), Byte(op(p.green, first.green, second.green)),
                   Byte(op(p.blue, first.blue, second.blue))};
    });
}

double Share(std::uint32_t color, int shift) { return static_cast<double>((color >> shift) & 0xFF) / 255.0; }

int Tinted(double factor, double gray) {
    const double value = factor * gray;
    return value > 255.0 ? 255 : Truncate(value);
}

int Saturated(int channel, int gray, int amount) {
    const long long factor = static_cast<long long>(amount) + 255;
    const long long distance = (channel - gray) * factor;
    return Limit(gray + distance / 255);
}

} // namespace

Picture Invert(const Picture &source, Rectangle rectangle, Picture before) {
    if (rectangle.width == 0) // in an inversion alone
        rectangle.width = source.width;
    if (rectangle.height == 0)
        rectangle.height = source.height;
    return MapArea(source, AreaOf(source, rectangle), std::move(before), [](Rgb p) {
        return Rgb{255 - p.red, 255 - p.green, 255 - p.blue};
    });
}

Picture InvertGray(const Picture &source, Rectangle rectangle, Picture before) {
    return MapArea(source, AreaOf(source, rectangle), std::move(before), [](Rgb p) {
        if (p.red == p.green && p.green == p.blue)
            return Rgb{255 - p.red, 255 - p.red, 255 - p.red};
        return p;
    });
}

Picture AdjustLinear(const Picture &source, PerChannel contrast, PerChannel brightness) {
    return MapLevels(source, contrast, brightness,
                     [](int level, double c, double b) { return Brightened(Contrasted(level, c), b); });
}

Picture AdjustAbsolute(const Picture &source, PerChannel contrast, PerChannel brightness) {
    return MapLevels(source, contrast, brightness,
                     [](int level, double c, double b) { return Contrasted(level, c) + b; });
}

Picture AdjustCustom(const Picture &source, PerChannel factor, PerChannel sum) {
    return MapLevels(source, factor, sum, [](int level, double f, double s) { return level * f + s; });
}

Picture Saturation(const Picture &source, int amount) {
    return MapAll(source, [&](Rgb p) {
        const int gray = (p.red + p.blue + 2 * p.green) / 4;
        return Rgb{Saturated(p.red, gray, amount), Saturated(p.green, gray, amount), Saturated(p.blue, gray, amount)};
    });
}

Picture Tint(const Picture &source, std::uint32_t greyBase, std::uint32_t sepiaBase) {
    const double gR = Share(greyBase, 16);
    const double gG = Share(greyBase, 8);
    const double gB = Share(greyBase, 0);
    const double sR = Share(sepiaBase, 16);
    const double sG = Share(sepiaBase, 8);
    const double sB = Share(sepiaBase, 0);
    return MapAll(source, [&](Rgb p) {
        const double gray = (p.red * gR + p.green * gG) + p.blue * gB;
        return Rgb{Tinted(sR, gray), Tinted(sG, gray), Tinted(sB, gray)};
    });
}

Picture Sepia(const Picture &source, const SepiaSettings &settings, Picture before) {
    const long long weightR = Truncate(settings.weights.red * 1024.0);
    const long long weightG = Truncate(settings.weights.green * 1024.0);
    const long long weightB = Truncate(settings.weights.blue * 1024.0);
    return MapArea(source, AreaOf(source, settings.bounds), std::move(before), [&](Rgb p) {
        const long long sum = p.red * weightR + p.green * weightG + p.blue * weightB;
        const long long gray = sum / 1024;
        return Rgb{Limit(gray + settings.red), Limit(gray + settings.green), Limit(gray + settings.blue)};
    });
}

} // namespace expected
