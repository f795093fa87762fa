#include "tools/gallery/materials.h"

#include "tools/samples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace tools::gallery {
namespace {

constexpr int kLongestSide = 640;

using Color = std::array<int, 3>;

constexpr Color kInk = {0, 0, 0};
constexpr Color kPrint = {64, 64, 64};
constexpr Color kRedPen = {0xD0, 0x3A, 0x2F};
constexpr Color kBluePen = {0x2B, 0x5F, 0xC0};
constexpr Color kMarker = {0xFF, 0xE0, 0x66};

void Put(Image &image, int x, int y, const Color &color) {
    unsigned char *pixel = image.At(x, y);
    for (std::size_t channel = 0; channel < 3; ++channel)
        pixel[channel] = static_cast<unsigned char>(color[channel]);
    pixel[3] = 255;
}

/// A picture whose pixels are what `color` says of their place.
template <class ColorAt> Image Draw(int width, int height, ColorAt color) {
    Image image = MakeImage(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            Put(image, x, y, color(x, y));
    return image;
}

Color ColorOf(const Image &image, int x, int y) {
    const unsigned char *pixel = image.At(x, y);
    return {pixel[0], pixel[1], pixel[2]};
}

/// 255 well inside the oval that the picture holds, 0 outside, soft between.
int OvalAt(const Image &image, int x, int y) {
    const double across = 2 * (x + 0.5) / image.width - 1;
    const double down = 2 * (y + 0.5) / image.height - 1;
    return static_cast<int>(255 * std::clamp((1 - std::sqrt(across * across + down * down)) / 0.35, 0.0, 1.0));
}

/// Three soft lights, red, green and blue, on black.
Color LightsAt(const Image &image, int x, int y) {
    constexpr double kCenters[3][2] = {{0.3, 0.4}, {0.5, 0.65}, {0.7, 0.4}};
    Color color = {};
    for (std::size_t light = 0; light < 3; ++light) {
        const double across = (x + 0.5) / image.width - kCenters[light][0];
        const double down = (y + 0.5) / image.height - kCenters[light][1];
        const double near = std::clamp(1 - std::sqrt(across * across + down * down) / 0.3, 0.0, 1.0);
        color[light] = static_cast<int>(255 * near * (2 - near));
    }
    return color;
}

/// A printed page on which somebody used a red and a blue pen and a yellow marker.
class Page {
  public:
    Page() : image_(Draw(kLongestSide, 480, [](int, int) { return Color{255, 255, 255}; })) {
        Fill(56, 40, 300, 30, kInk);
        for (int line = 0; line < 14; ++line)
            Words(100 + 25 * line, line);
        Fill(260, 146, 180, 22, kMarker); // under the words, which are printed over it again
        Words(150, 2);
        Ring(436, 231, 70, 19);
        Fill(56, 341, 210, 4, kBluePen);
        Fill(580, 390, 4, 42, kBluePen);
        Fill(560, 409, 44, 4, kBluePen);
    }
    const Image &image() const { return image_; }

  private:
    void Fill(int left, int top, int width, int height, const Color &color) {
        for (int y = top; y < top + height; ++y)
            for (int x = left; x < left + width; ++x)
                Put(image_, x, y, color);
    }
    /// One line of print: gray bars as long as words are.
    void Words(int top, int line) {
        std::uint32_t state = 77U + static_cast<std::uint32_t>(line);
        for (int left = 56; left < 520;) {
            state = state * 1664525U + 1013904223U;
            const int width = 18 + static_cast<int>(state >> 26);
            Fill(left, top, std::min(width, 530 - left), 10, kPrint);
            left += width + 9;
        }
    }
    void Ring(int centerX, int centerY, int radiusX, int radiusY) {
        for (int y = centerY - radiusY; y <= centerY + radiusY; ++y)
            for (int x = centerX - radiusX; x <= centerX + radiusX; ++x) {
                const auto reach = [&](int less) {
                    const double across = (x - centerX) / static_cast<double>(radiusX - less);
                    const double down = (y - centerY) / static_cast<double>(radiusY - less);
                    return across * across + down * down;
                };
                if (reach(0) <= 1 && reach(4) > 1)
                    Put(image_, x, y, kRedPen);
            }
    }

    Image image_;
};

/// A lookup table of 256 bytes.
template <class LevelFor> void WriteTable(const std::string &path, LevelFor level) {
    Bytes table;
    for (int from = 0; from < 256; ++from)
        table.push_back(static_cast<unsigned char>(level(from)));
    WriteBytes(path, table);
}

} // namespace

Image PhotoFrom(const Image &picture) {
    const int longest = std::max({picture.width, picture.height, kLongestSide});
    const auto scaled = [&](int side) {
        return std::max(1, static_cast<int>(std::int64_t{side} * kLongestSide / longest));
    };
    const int width = scaled(picture.width);
    const int height = scaled(picture.height);
    return Draw(width, height, [&](int column, int row) {
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
                     static_cast<int>(sums[2] / covered)};
    });
}

void WriteMaterials(const Image &photo) {
    constexpr int kShift = 12;
    const int width = photo.width;
    const int height = photo.height;
    WriteImage("photo.png", photo);
    WriteImage("shifted.png",
               Draw(width, height, [&](int x, int y) { return ColorOf(photo, std::min(x + kShift, width - 1), y); }));
    WriteImage("lights.png", Draw(width, height, [&](int x, int y) { return LightsAt(photo, x, y); }));
    WriteImage("oval.png", Draw(width, height, [&](int x, int y) {
                   const int level = OvalAt(photo, x, y);
                   return Color{level, level, level};
               }));
    WriteImage("stamp.png", Draw((width + 4) / 5, (height + 4) / 5,
                                 [&](int x, int y) { return ColorOf(photo, width * 3 / 5 + x, height / 5 + y); }));
    Image soft = photo;
    soft.hasAlpha = true;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            soft.At(x, y)[3] = static_cast<unsigned char>(OvalAt(photo, x, y));
    WriteImage("soft.png", soft);
    WriteImage("page.png", Page().image());

    WriteTable("same.bin", [](int level) { return level; });
    WriteTable("steps.bin", [](int level) { return level / 64 * 85; });
    WriteTable("bright.bin", [](int level) { return 255 * std::sqrt(level / 255.0); });
    WriteTable("dark.bin", [](int level) { return level * level / 255; });
    WriteBytes("film.cube", AsBytes(CubeText(SampleTable())));
    WriteBytes("voice.wav", WavOf(SampleSound()));
}

} // namespace tools::gallery
