#include "tools/gallery/gallery.h"
#include "tools/samples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

namespace tools::gallery {
namespace {

constexpr int kLongestSide = 640;

/// From 0, at the radius or farther, to 1 at the center, all in widths and heights of the picture.
double Nearness(const Image &image, int x, int y, double centerX, double centerY, double radius) {
    const double distance = std::hypot((x + 0.5) / image.width - centerX, (y + 0.5) / image.height - centerY);
    return std::max(0.0, 1 - distance / radius);
}

/// 255 inside the oval that the picture holds, 0 outside; its soft edge takes that part of its radius.
int OvalAt(const Image &image, int x, int y, double edge) {
    return static_cast<int>(255 * std::min(1.0, Nearness(image, x, y, 0.5, 0.5, 0.5) / edge));
}

void Fill(Image &image, int left, int top, int width, int height, const Color &color) {
    for (int y = top; y < top + height; ++y)
        for (int x = left; x < left + width; ++x)
            image.Put(x, y, color);
}

/// What was printed or drawn on a page, as methods.json has it: filled rectangles, rings, and lines of print, whose
/// words are bars.
void Mark(Image &page, const Json &mark) {
    const int rgb = std::stoi(mark["color"].get<std::string>(), nullptr, 16);
    const Color color = {rgb >> 16, rgb >> 8 & 255, rgb & 255, 255};
    if (const auto fill = mark.find("fill"); fill != mark.end())
        Fill(page, (*fill)[0], (*fill)[1], (*fill)[2], (*fill)[3], color);
    if (const auto ring = mark.find("ring"); ring != mark.end()) {
        constexpr int kThickness = 4;
        const auto inside = [&](int x, int y, int less) {
            return std::hypot((x - (*ring)[0].get<int>()) / ((*ring)[2].get<double>() - less),
                              (y - (*ring)[1].get<int>()) / ((*ring)[3].get<double>() - less)) <= 1;
        };
        for (int y = 0; y < page.height; ++y)
            for (int x = 0; x < page.width; ++x)
                if (inside(x, y, 0) && !inside(x, y, kThickness))
                    page.Put(x, y, color);
    }
    if (const auto lines = mark.find("lines"); lines != mark.end()) {
        int top = mark["print"][1];
        for (const Json &line : *lines) {
            int left = mark["print"][0];
            for (const char c : line.get<std::string>()) {
                if (c != ' ')
                    Fill(page, left, top, 7, 10, color);
                left += 7;
            }
            top += 25;
        }
    }
}

Bytes LevelTable(const Json &material) {
    Bytes table;
    for (int level = 0; level < 256; ++level) {
        const int steps = material.value("steps", 256);
        const double part = level * steps / 256 / (steps - 1.0);
        table.push_back(static_cast<unsigned char>(255 * std::pow(part, material["power"].get<double>()) + 0.5));
    }
    return table;
}

Image PictureFor(const Json &material, const Image &photo) {
    const auto make = material["make"].get<std::string>();
    const int width = photo.width;
    const int height = photo.height;
    if (make == "shift") // to the left; the last column is repeated
        return Draw(width, height, false, [&, by = material["columns"].get<int>()](int x, int y) {
            return photo.ColorOf(std::min(x + by, width - 1), y);
        });
    if (make == "lights") // red, green and blue, on black
        return Draw(width, height, false, [&](int x, int y) {
            Color color = {0, 0, 0, 255};
            for (std::size_t light = 0; light < 3; ++light) {
                const Json &center = material["centers"][light];
                const double near = Nearness(photo, x, y, center[0], center[1], material["radius"]);
                color[light] = static_cast<int>(255 * near * (2 - near));
            }
            return color;
        });
    if (make == "oval")
        return Draw(width, height, false, [&, edge = material["edge"].get<double>()](int x, int y) {
            const int level = OvalAt(photo, x, y, edge);
            return Color{level, level, level, 255};
        });
    if (make == "piece") {
        const auto of = [&](const char *name, std::size_t axis, int side) {
            return material[name][axis].get<double>() * side;
        };
        const int left = static_cast<int>(of("from", 0, width));
        const int top = static_cast<int>(of("from", 1, height));
        return Draw(static_cast<int>(std::ceil(of("size", 0, width))),
                    static_cast<int>(std::ceil(of("size", 1, height))), false,
                    [&](int x, int y) { return photo.ColorOf(left + x, top + y); });
    }
    if (make == "page") {
        Image page = Draw(material["size"][0], material["size"][1], false, [](int, int) {
            return Color{255, 255, 255, 255};
        });
        for (const Json &mark : material["marks"])
            Mark(page, mark);
        return page;
    }
    if (make != "soft")
        return photo;
    return Draw(width, height, true, [&, edge = material["edge"].get<double>()](int x, int y) {
        Color color = photo.ColorOf(x, y);
        color[3] = OvalAt(photo, x, y, edge);
        return color;
    });
}

} // namespace

Image PhotoFrom(const Image &picture) {
    const int longest = std::max({picture.width, picture.height, kLongestSide});
    const auto scaled = [&](int side) {
        return std::max(1, static_cast<int>(std::int64_t{side} * kLongestSide / longest));
    };
    const int width = scaled(picture.width);
    const int height = scaled(picture.height);
    return Draw(width, height, false, [&](int column, int row) {
        const auto start = [](int at, int count, int of) { return static_cast<int>(std::int64_t{at} * of / count); };
        const int left = start(column, width, picture.width);
        const int right = start(column + 1, width, picture.width);
        const int top = start(row, height, picture.height);
        const int bottom = start(row + 1, height, picture.height);
        std::array<std::int64_t, 3> sums = {};
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                for (std::size_t channel = 0; channel < 3; ++channel)
                    sums[channel] +=
                        picture.At(x, y)[channel] * picture.At(x, y)[3] + 255 * (255 - picture.At(x, y)[3]);
        const std::int64_t covered = std::int64_t{255} * (right - left) * (bottom - top);
        return Color{static_cast<int>(sums[0] / covered), static_cast<int>(sums[1] / covered),
                     static_cast<int>(sums[2] / covered), 255};
    });
}

void WriteMaterials(const Image &photo, Folder &folder) {
    for (const Json &material : MethodData()["materials"]) {
        const auto file = material["file"].get<std::string>();
        const auto make = material["make"].get<std::string>();
        if (make == "levels")
            folder.Write(file, LevelTable(material));
        else if (make == "film")
            folder.Write(file, AsBytes(SampleTable()));
        else if (make == "voice")
            folder.Write(file, SampleSound());
        else
            folder.Write(file, FileOf(file, PictureFor(material, photo)));
    }
}

} // namespace tools::gallery
