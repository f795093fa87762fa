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

/// What was printed or drawn on a page, as methods.json has it: over an area (left, top, width, height) a rectangle, a
/// ring that touches its sides, or lines of print, whose words are bars.
void Mark(Image &page, const Json &mark) {
    constexpr int kThickness = 4;
    constexpr int kLine = 25;
    constexpr int kHeight = 10; ///< of a letter
    constexpr int kWidth = 7;
    const int rgb = std::stoi(mark["color"].get<std::string>(), nullptr, 16);
    const Color color = {rgb >> 16, rgb >> 8 & 255, rgb & 255, 255};
    const auto area = mark["area"].get<std::array<int, 4>>();
    const auto isInside = [&](int x, int y, int border) {
        return std::hypot((2 * x + 1 - area[2]) / (area[2] - 1.0 - 2 * border),
                          (2 * y + 1 - area[3]) / (area[3] - 1.0 - 2 * border)) <= 1;
    };
    const auto lines = mark.value("lines", std::vector<std::string>());
    const auto isPrinted = [&](int x, int y) {
        const std::string &line = lines[static_cast<std::size_t>(y / kLine)];
        return y % kLine < kHeight && x / kWidth < static_cast<int>(line.size()) &&
               line[static_cast<std::size_t>(x / kWidth)] != ' ';
    };
    for (int y = 0; y < area[3]; ++y)
        for (int x = 0; x < area[2]; ++x)
            if (mark.contains("ring") ? isInside(x, y, 0) && !isInside(x, y, kThickness)
                                      : lines.empty() || isPrinted(x, y))
                page.Put(area[0] + x, area[1] + y, color);
}

Bytes LevelTable(const Json &material) {
    const int steps = material.value("steps", 256);
    Bytes table;
    for (int level = 0; level < 256; ++level) {
        const int step = level * steps / 256;
        const double part = std::pow(step / (steps - 1.0), material["power"].get<double>());
        table.push_back(static_cast<unsigned char>(std::lround(255 * part)));
    }
    return table;
}

Image PictureFor(const Json &material, const Image &photo) {
    const auto make = material["make"].get<std::string>();
    if (make == "page") {
        Image page = Draw(material["size"][0], material["size"][1], false, [](int, int) {
            return Color{255, 255, 255, 255};
        });
        for (const Json &mark : material["marks"])
            Mark(page, mark);
        return page;
    }
    if (make == "lights") // red, green and blue, on black
        return Draw(photo.width, photo.height, false, [&](int x, int y) {
            Color color = {0, 0, 0, 255};
            for (std::size_t light = 0; light < 3; ++light) {
                const Json &center = material["centers"][light];
                const double near = Nearness(photo, x, y, center[0], center[1], material["radius"]);
                color[light] = static_cast<int>(255 * near * (2 - near));
            }
            return color;
        });
    const double edge = material.value("edge", 1.0);
    if (make == "oval")
        return Draw(photo.width, photo.height, false, [&](int x, int y) {
            const int level = OvalAt(photo, x, y, edge);
            return Color{level, level, level, 255};
        });
    // A piece of the photo, or all of it; what lies to the right of it is its last column.
    const auto from = material.value("from", std::array{0.0, 0.0});
    const auto size = material.value("size", std::array{1.0, 1.0});
    const int left = static_cast<int>(from[0] * photo.width) + material.value("columns", 0);
    const int top = static_cast<int>(from[1] * photo.height);
    return Draw(static_cast<int>(std::ceil(size[0] * photo.width)), static_cast<int>(std::ceil(size[1] * photo.height)),
                make == "soft", [&](int x, int y) {
                    Color color = photo.ColorOf(std::min(left + x, photo.width - 1), top + y);
                    color[3] = make == "soft" ? OvalAt(photo, x, y, edge) : 255;
                    return color;
                });
}

} // namespace

Image PhotoFrom(const Image &picture) {
    const int longest = std::max({picture.width, picture.height, kLongestSide});
    const int width = std::max(1, picture.width * kLongestSide / longest);
    const int height = std::max(1, picture.height * kLongestSide / longest);
    return Draw(width, height, false, [&](int column, int row) {
        const int left = column * picture.width / width;
        const int right = (column + 1) * picture.width / width;
        const int top = row * picture.height / height;
        const int bottom = (row + 1) * picture.height / height;
        Color color = {0, 0, 0, 255};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            std::int64_t sum = 0;
            for (int y = top; y < bottom; ++y)
                for (int x = left; x < right; ++x)
                    sum += picture.At(x, y)[channel] * picture.At(x, y)[3] + 255 * (255 - picture.At(x, y)[3]);
            color[channel] = static_cast<int>(sum / (std::int64_t{255} * (right - left) * (bottom - top)));
        }
        return color;
    });
}

void WriteMaterials(const Image &photo) {
    for (const Json &material : MethodData()["materials"]) {
        const auto file = material["file"].get<std::string>();
        const std::string ending = EndingOf(file);
        if (ending == ".bin")
            WriteBytes(file, LevelTable(material));
        else if (ending == ".cube")
            WriteBytes(file, AsBytes(SampleTable()));
        else if (ending == ".wav")
            WriteBytes(file, SampleSound());
        else
            WriteBytes(file, FileOf(file, PictureFor(material, photo)));
    }
}

} // namespace tools::gallery
