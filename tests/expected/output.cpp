#include "expected/output.h"

#include "expected/color.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace expected {
namespace {

std::string BigEndian(std::size_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>((value >> shift) & 0xFF);
    return bytes;
}

int ByteAt(const std::string &bytes, std::size_t offset) { return static_cast<unsigned char>(bytes[offset]); }

/// The unsigned big-endian number at `offset`.
long long NumberAt(const std::string &bytes, std::size_t offset) {
    long long number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number * 256 + ByteAt(bytes, offset + i);
    return number;
}

int BytesPerSample(int bits) { return bits == 7 || bits == 8 ? 1 : 2; }

/// The sample's value around silence.
double Centered(const std::vector<unsigned char> &block, std::int64_t index, int bits) {
    const auto byte = [&](std::int64_t at) { return static_cast<int>(block[static_cast<std::size_t>(at)]); };
    const int low = bits <= 8 ? byte(index) : byte(index * 2) + 256 * byte(index * 2 + 1);
    switch (bits) {
    case 7:
        return low < 128 ? low : low - 256;
    case 8:
        return low - 128;
    case 15:
        return low < 32768 ? low : low - 65536;
    default:
        return low - 32768;
    }
}

/// A double as a 32-bit row, cut off toward zero.
std::int64_t Row(double value) {
    if (std::isnan(value))
        return 0;
    return static_cast<std::int64_t>(std::trunc(std::min(std::max(value, -2147483648.0), 2147483647.0)));
}

int Short(std::int64_t value) {
    return static_cast<int>(std::min<std::int64_t>(std::max<std::int64_t>(value, -32768), 32767));
}

void DrawPixel(Picture &picture, Rgb color, int x, int y, int intensity) {
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height)
        return;
    Rgb &pixel = picture.At(x, y);
    pixel.red = (pixel.red * intensity + color.red * (255 - intensity)) / 255;
    pixel.green = (pixel.green * intensity + color.green * (255 - intensity)) / 255;
    pixel.blue = (pixel.blue * intensity + color.blue * (255 - intensity)) / 255;
}

void DrawBar(Picture &picture, std::int64_t middle, std::int64_t row, Rgb color, int x) {
    const std::int64_t last = picture.height - 1;
    std::int64_t low = std::min(middle, row);
    std::int64_t high = std::max(middle, row);
    low = low < 0 ? 0 : low > last ? last : low;
    high = high < 0 ? 0 : high > last ? last : high;
    for (std::int64_t y = low; y <= high; ++y)
        picture.At(x, static_cast<int>(y)) = color;
}

} // namespace

std::string BytesOf(const Picture &picture) {
    const auto width = static_cast<std::size_t>(picture.width);
    const auto height = static_cast<std::size_t>(picture.height);
    std::string bytes = "PPIC" + BigEndian(40 + width * height * 3) + BigEndian(width) + BigEndian(height) +
                        BigEndian(32) + BigEndian(40) + std::string(16, '\0');
    for (const Rgb &pixel : picture.pixels) {
        bytes += static_cast<char>(pixel.red);
        bytes += static_cast<char>(pixel.green);
        bytes += static_cast<char>(pixel.blue);
    }
    return bytes;
}

std::optional<Picture> PictureOf(const std::string &bytes) {
    const auto length = static_cast<long long>(bytes.size());
    if (length < 24 || bytes.substr(0, 4) != "PPIC" || NumberAt(bytes, 4) != length)
        return std::nullopt;
    const long long width = NumberAt(bytes, 8); // negative ones read as too large
    const long long height = NumberAt(bytes, 12);
    const long long offset = NumberAt(bytes, 20);
    if (width < 1 || width > 32767 || height < 1 || height > 32767 || offset + width * height * 3 > length)
        return std::nullopt;
    Picture picture{static_cast<int>(width), static_cast<int>(height), {}};
    auto at = static_cast<std::size_t>(offset);
    for (long long i = 0; i < width * height; ++i, at += 3)
        picture.pixels.push_back({ByteAt(bytes, at), ByteAt(bytes, at + 1), ByteAt(bytes, at + 2)});
    return picture;
}

void DrawWuLine(Picture &picture, Rgb color, int x0, int y0, int x1, int y1) {
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    DrawPixel(picture, color, x0, y0, 0);
    const int xdir = x1 < x0 ? -1 : 1;
    const int dx = (x1 - x0) * xdir;
    const int dy = y1 - y0;
    int x = x0;
    int y = y0;
    if (dy == 0 || dx == 0 || dx == dy) {
        for (int step = 0; step < std::max(dx, dy); ++step)
            DrawPixel(picture, color, dx == 0 ? x : x += xdir, dy == 0 ? y : ++y, 0);
        return;
    }
    std::uint16_t accumulator = 0;
    const bool steep = dy > dx;
    const std::uint32_t shorter = static_cast<std::uint32_t>(steep ? dx : dy);
    const std::uint32_t longer = static_cast<std::uint32_t>(steep ? dy : dx);
    const auto adjustment = static_cast<std::uint16_t>(shorter * 65536u / longer);
    for (std::uint32_t step = 1; step < longer; ++step) {
        const std::uint16_t old = accumulator;
        accumulator = static_cast<std::uint16_t>(accumulator + adjustment);
        const bool wrapped = accumulator <= old;
        x += steep && !wrapped ? 0 : xdir;
        y += steep || wrapped ? 1 : 0;
        const int weight = accumulator >> 8;
        DrawPixel(picture, color, x, y, weight);
        DrawPixel(picture, color, steep ? x + xdir : x, steep ? y : y + 1, weight ^ 255);
    }
    DrawPixel(picture, color, x1, y1, 0);
}

Waveform RenderSamples(const std::vector<unsigned char> &block, const WaveformArguments &arguments) {
    const int bits = arguments.bits;
    if (bits != 7 && bits != 8 && bits != 15 && bits != 16)
        return {};
    const auto held = static_cast<std::int64_t>(block.size()) / BytesPerSample(bits);
    const std::int64_t samples =
        arguments.sampleCount >= 1 ? std::min<std::int64_t>(arguments.sampleCount, held) : held;
    const std::int64_t width = arguments.width >= 1 ? arguments.width : samples;
    const std::int64_t height = arguments.height >= 1 ? arguments.height : 500;
    if (width < 1 || width > 32767 || height > 32767)
        return {};

    const auto columns = static_cast<std::size_t>(width);
    std::vector<double> negative(columns, 0.0);
    std::vector<double> positive(columns, 0.0);
    double peak = 0.0;
    for (std::size_t i = 0; i < columns && samples > 0; ++i) {
        const double w = static_cast<double>(width);
        const double n = static_cast<double>(samples);
        const auto start = static_cast<std::int64_t>(static_cast<double>(i) / w * n);
        auto end = static_cast<std::int64_t>(static_cast<double>(i + 1) / w * n);
        if (end <= start) // no sample of its own: the one at its start
            end = start + 1;
        double above = 0.0;
        double below = 0.0;
        for (std::int64_t at = start; at < end; ++at) {
            const double value = Centered(block, at, bits);
            if (value > 0.0)
                above += value;
            else
                below += value;
        }
        const double d = static_cast<double>(end - start) * 0.5;
        negative[i] = below / d;
        positive[i] = above / d;
        peak = std::max(peak, std::max(positive[i], -negative[i]));
    }

    const double scale = arguments.autoScale ? 2.0 * peak : bits <= 8 ? 127.0 : 32767.0;
    double divisor = scale;
    if (arguments.smooth >= 0) {
        const double alpha = 2.0 / (static_cast<double>(arguments.smooth) + 1.0);
        for (std::vector<double> *series : {&negative, &positive}) {
            const std::vector<double> levels = *series;
            (*series)[0] = levels[0] * (1.0 - alpha) + alpha * levels[0];
            for (std::size_t i = 1; i < columns; ++i)
                (*series)[i] = (*series)[i - 1] * (1.0 - alpha) + alpha * levels[i];
        }
        divisor = alpha * scale + (1.0 - alpha) * scale;
    }
    const bool silent = samples < 1 || (arguments.autoScale && peak == 0.0);
    for (std::vector<double> *series : {&negative, &positive})
        for (double &entry : *series)
            entry = silent ? 0.0 : (entry * static_cast<double>(height)) / divisor;

    Waveform result;
    result.made = true;
    const Rgb fore = RgbOf(arguments.foreColor);
    const Rgb outline = RgbOf(arguments.outlineColor);
    result.picture = Filled(static_cast<int>(width), static_cast<int>(height), RgbOf(arguments.backColor));
    Picture &picture = result.picture;
    const std::int64_t middle = height / 2;
    const auto mid = static_cast<double>(middle);
    for (std::size_t i = 0; i < columns; ++i) {
        DrawBar(picture, middle, Row(mid + negative[i]), fore, static_cast<int>(i));
        DrawBar(picture, middle, Row(mid + positive[i]), fore, static_cast<int>(i));
    }

    std::int64_t previous = 0;
    std::int64_t previousA = middle;
    std::int64_t previousB = middle;
    const auto draw = [&](std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1) {
        if (arguments.outlineWidth == 1) {
            DrawWuLine(picture, outline, Short(x0), Short(y0), Short(x1), Short(y1));
        } else if (arguments.outlineWidth >= 2) {
            const std::int64_t half = arguments.outlineWidth / 2;
            const auto lessened = [half](std::int64_t value) {
                return std::max<std::int64_t>(value - half, -2147483648LL);
            };
            result.segments.push_back({lessened(x0), lessened(y0), lessened(x1), lessened(y1)});
        }
    };
    for (std::size_t i = 0; i < columns; ++i) {
        const auto x = static_cast<std::int64_t>(i);
        const std::int64_t a = Row(negative[i] + mid);
        const std::int64_t b = Row(positive[i] + mid);
        draw(previous, previousA, x, a);
        draw(previous, previousB, x, b);
        previous = x;
        previousA = a;
        previousB = b;
    }
    return result;
}

} // namespace expected
