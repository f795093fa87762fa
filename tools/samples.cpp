#include "tools/samples.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

/// Plain arithmetic and square roots alone: functions of the C library may differ in the last bit from one to the
/// other.
namespace tools {
namespace {

double Mix(double a, double b, double t) { return a + (b - a) * t; }
Triple Mix(const Triple &a, const Triple &b, double t) {
    return {Mix(a[0], b[0], t), Mix(a[1], b[1], t), Mix(a[2], b[2], t)};
}

/// 0 below `from`, 1 above `to`, smooth between.
double Step(double from, double to, double x) {
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

/// One period a turn, from -1 to 1, close to a sine.
double Wave(double turns) {
    const double x = 2 * (turns - std::floor(turns)) - 1;
    const double arch = 4 * x * (1 - std::fabs(x));
    return -arch * (0.775 + 0.225 * std::fabs(arch));
}

/// 0 up to 1, without any order.
double Hash(std::int64_t x, std::int64_t y) {
    auto mixed = static_cast<std::uint32_t>(x) * 0x9E3779B1U ^ static_cast<std::uint32_t>(y) * 0x85EBCA77U;
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6DU;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39U;
    return (mixed ^ mixed >> 15) / 4294967296.0;
}

/// Smooth noise, 0 to 1, of one hill a unit.
double Noise(double x, double y) {
    const double left = std::floor(x);
    const double top = std::floor(y);
    const auto column = static_cast<std::int64_t>(left);
    const auto row = static_cast<std::int64_t>(top);
    const double tx = Step(0, 1, x - left);
    return Mix(Mix(Hash(column, row), Hash(column + 1, row), tx),
               Mix(Hash(column, row + 1), Hash(column + 1, row + 1), tx), Step(0, 1, y - top));
}

double Clouds(double x, double y) {
    return Noise(x, y) * 0.5 + Noise(2 * x, 2 * y) * 0.25 + Noise(4 * x, 4 * y) * 0.15 + Noise(8 * x, 8 * y) * 0.1;
}

constexpr double kMeadow = 0.56; ///< tops of the stripes, as parts of the height
constexpr double kSkin = 0.76;
constexpr double kGrays = 0.84;
constexpr double kPatches = 0.92;

constexpr Triple kSkinTones[] = {{45, 29, 20}, {104, 66, 47}, {161, 110, 82}, {210, 158, 126}, {241, 205, 181}};
constexpr Triple kPatchColors[] = {{255, 0, 0},   {255, 128, 0}, {255, 255, 0}, {0, 255, 0},
                                   {0, 255, 255}, {0, 0, 255},   {128, 0, 255}, {255, 0, 255}};

/// Everything above the stripes; x and y in heights of the picture, from the top left.
Triple Landscape(double x, double y, int column, int row) {
    Triple color = Mix({38, 92, 176}, {214, 230, 244}, Step(0, kMeadow, y));
    color = Mix(color, {250, 250, 252}, 0.85 * Step(0.52, 0.72, Clouds(3 * x, 6 * y)) * Step(0.5, 0.1, y));
    const double fromSun = std::sqrt((x - 0.95) * (x - 0.95) + (y - 0.17) * (y - 0.17));
    color = Mix(color, {255, 246, 214}, 0.7 * Step(0.3, 0.05, fromSun));
    color = Mix(color, {255, 252, 240}, Step(0.058, 0.05, fromSun));
    if (y > 0.40 + 0.12 * Noise(2.3 * x, 11))
        color = Mix({104, 128, 158}, {132, 152, 170}, Noise(20 * x, 30 * y));
    if (y > 0.47 + 0.1 * Noise(1.6 * x + 5, 23))
        color = Mix({44, 78, 58}, {74, 104, 70}, Noise(60 * x, 60 * y));
    if (y > kMeadow) {
        const Triple grass = Mix({58, 96, 34}, {150, 168, 72}, Noise(9 * x, 40 * y));
        color = Mix(grass, {24, 40, 16}, 0.6 * Hash(column, row) * Step(kMeadow, kSkin, y));
    }
    return color;
}

Triple SkinTone(double across) {
    const double place = across * static_cast<double>(std::size(kSkinTones) - 1);
    const auto lower = std::min(static_cast<std::size_t>(place), std::size(kSkinTones) - 2);
    return Mix(kSkinTones[lower], kSkinTones[lower + 1], place - static_cast<double>(lower));
}

Triple SceneAt(int column, int row, int width, int height) {
    const double across = width > 1 ? column / static_cast<double>(width - 1) : 0;
    const double down = row / static_cast<double>(height);
    if (down >= kPatches)
        return kPatchColors[static_cast<std::size_t>(column) * std::size(kPatchColors) /
                            static_cast<std::size_t>(width)];
    if (down >= kGrays) {
        const double level = std::floor(across * 255);
        return {level, level, level};
    }
    if (down >= kSkin)
        return SkinTone(across);
    return Landscape(column / static_cast<double>(height), down, column, row);
}

/// Of the right edge; 0 beyond it.
double AlphaAt(int column, int row, int width, int height) {
    const double across = (column + 0.5) / width;
    const double edge = 0.92 + 0.03 * Wave(3.0 * row / height);
    return Step(edge + 0.05, edge - 0.05, across);
}

int ToLevel(double level) { return static_cast<int>(std::clamp(level, 0.0, 255.0)); }

} // namespace

Image SamplePicture(int width, int height, bool withAlpha) {
    return Draw(width, height, withAlpha, [&](int column, int row) {
        const Triple color = SceneAt(column, row, width, height);
        return Color{ToLevel(color[0]), ToLevel(color[1]), ToLevel(color[2]),
                     withAlpha ? ToLevel(255 * AlphaAt(column, row, width, height)) : 255};
    });
}

Bytes SampleSound() {
    constexpr int kRate = 16000;
    constexpr int kSamples = 2 * kRate;
    constexpr double kSyllable = 0.22; ///< seconds
    const auto tag = [](std::string_view text) { return LittleEndian(AsBytes(text), 0, 4); };
    Bytes file;
    PutWords(file, {tag("RIFF"), 36 + 2 * kSamples /* what follows */, tag("WAVE"), tag("fmt "), 16,
                    1U | 1U << 16 /* uncompressed, one channel */, kRate, 2 * kRate /* bytes a second */,
                    2U | 16U << 16 /* bytes and bits a sample */, tag("data"), 2 * kSamples});
    double phase = 0;
    for (int i = 0; i < kSamples; ++i) {
        const double time = i / static_cast<double>(kRate);
        const auto syllable = static_cast<std::int64_t>(time / kSyllable);
        const double inside = time / kSyllable - static_cast<double>(syllable);
        const double loudness = Hash(syllable, 1) < 0.2 ? 0 : 0.35 + 0.6 * Hash(syllable, 2);
        const double envelope = loudness * Step(0, 0.15, inside) * Step(1, 0.45, inside);
        phase += (105 + 60 * Hash(syllable, 3) - 25 * inside) / kRate;
        const double vowel = Hash(syllable, 4);
        const double voice = 0.5 * Wave(phase) + Mix(0.1, 0.4, vowel) * Wave(3 * phase) +
                             Mix(0.4, 0.1, vowel) * Wave(7 * phase) + 0.08 * Wave(19 * phase);
        const double breath = Step(0.2, 0, inside) * (Hash(i, 5) - 0.5);
        const int sample = static_cast<int>(32767 * std::clamp(envelope * voice + 0.3 * loudness * breath, -1.0, 1.0));
        file.insert(file.end(), {static_cast<unsigned char>(sample), static_cast<unsigned char>(sample >> 8)});
    }
    return file;
}

std::string SampleTable() {
    constexpr int kPoints = 33;
    std::string text = fmt::format("TITLE \"Film\"\nLUT_3D_SIZE {}\nDOMAIN_MIN 0 0 0\nDOMAIN_MAX 1 1 1\n", kPoints);
    for (int at = 0; at < kPoints * kPoints * kPoints; ++at) { // red runs fastest
        const auto level = [&](int step) { return at / step % kPoints / static_cast<double>(kPoints - 1); };
        const Triple input = {level(1), level(kPoints), level(kPoints * kPoints)};
        const double light = 0.299 * input[0] + 0.587 * input[1] + 0.114 * input[2];
        const Triple tint = Mix({-0.03, 0.015, 0.045}, {0.05, 0.015, -0.06}, light);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const double faded = Mix(light, input[channel], 0.88);
            const double curved = Mix(faded, Step(0, 1, faded), 0.55);
            text += fmt::format("{:.6f}{}", std::clamp(0.03 + 0.94 * curved + tint[channel], 0.0, 1.0),
                                channel == 2 ? '\n' : ' ');
        }
    }
    return text;
}

} // namespace tools
