#include "tools/gallery/charts.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <utility>

namespace tools::gallery {
namespace {

constexpr const char *kChannels[] = {"red", "green", "blue"};
constexpr int kChartHeight = 100;

std::string Svg(std::string_view name, std::string_view caption, int width, int height, std::string_view content) {
    return fmt::format(
        R"(<svg class="chart {}" viewBox="-1 -1 {} {}" preserveAspectRatio="none" role="img" aria-label="{}">{}</svg>)",
        name, width + 2, height + 2, caption, content);
}

/// Through one point for each value, which count upwards from the chart's lower edge.
template <class Values> std::string Points(const Values &values, double height) {
    std::string points;
    for (std::size_t i = 0; i < values.size(); ++i)
        points += fmt::format("{}{} {:.4g}", i == 0 ? "M" : "L", i, height - values[i]);
    return points;
}

} // namespace

Chart CurveChart(const Image &ramp) {
    std::array<std::array<double, 256>, 3> curves = {};
    for (int level = 0; level < std::min(ramp.width, 256); ++level)
        for (std::size_t channel = 0; channel < 3; ++channel)
            curves[channel][static_cast<std::size_t>(level)] = ramp.At(level, 0)[channel];
    const bool alike = curves[0] == curves[1] && curves[1] == curves[2];
    std::string content = R"(<path class="grid" d="M0 0H255V255H0ZM0 127.5H255M127.5 0V255"/>)"
                          R"(<path class="unchanged" d="M0 255L255 0"/>)";
    for (std::size_t channel = 0; channel < (alike ? 1U : 3U); ++channel)
        content += fmt::format(R"(<path class="trace {}" d="{}"/>)", alike ? "all" : kChannels[channel],
                               Points(curves[channel], 255));
    Chart chart{"a ramp of grays", {}};
    chart.svg = Svg("curve", "What becomes of the gray levels from 0 to 255", 255, 255, content);
    return chart;
}

Histogram HistogramOf(const Image &image) {
    Histogram histogram = {};
    for (std::size_t at = 0; at < image.pixels.size(); at += 4)
        for (std::size_t channel = 0; channel < 3; ++channel)
            ++histogram[channel][image.pixels[at + channel]];
    return histogram;
}

std::array<std::uint32_t, 256> CountersIn(std::span<const unsigned char> block) {
    std::array<std::uint32_t, 256> counters = {};
    for (std::size_t at = 0; at < std::min<std::size_t>(block.size(), 1024); ++at)
        counters[at / 4] |= std::uint32_t{block[at]} << 8 * (at % 4);
    return counters;
}

Chart HistogramChart(std::string caption, const Histogram &histogram) {
    std::uint32_t most = 1;
    for (const auto &channel : histogram)
        most = std::max(most, *std::max_element(channel.begin(), channel.end()));
    std::string content = fmt::format(R"(<path class="grid" d="M0 0H255V{0}H0ZM127.5 0V{0}"/>)", kChartHeight);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        std::array<double, 256> heights; // by square roots, so that one tall level leaves room for the others
        std::transform(histogram[channel].begin(), histogram[channel].end(), heights.begin(), [&](std::uint32_t count) {
            return kChartHeight * std::sqrt(count / static_cast<double>(most));
        });
        content += fmt::format(R"(<path class="area {}" d="{}V{}H0Z"/>)", kChannels[channel],
                               Points(heights, kChartHeight), kChartHeight);
    }
    Chart chart{std::move(caption), {}};
    chart.svg = Svg("histogram", "Histogram: " + chart.caption, 255, kChartHeight, content);
    return chart;
}

Chart SamplesChart(std::string caption, const Sound &sound, int limit) {
    constexpr int kColumns = 800;
    const bool words = sound.bitsPerSample == 16;
    const std::size_t held = sound.samples.size() / (words ? 2 : 1);
    const std::size_t count = limit > 0 ? std::min(held, static_cast<std::size_t>(limit)) : held;
    const auto sample = [&](std::size_t i) { // from -1 to 1
        if (!words)
            return (sound.samples[i] - 128) / 128.0;
        const int word = sound.samples[2 * i] | sound.samples[2 * i + 1] << 8;
        return (word >= 0x8000 ? word - 0x10000 : word) / 32768.0;
    };
    std::string points;
    for (std::size_t column = 0; column < std::size_t{kColumns}; ++column) {
        const std::size_t first = column * count / kColumns;
        const std::size_t last = std::max(first + 1, (column + 1) * count / kColumns);
        double low = 1;
        double high = -1;
        for (std::size_t i = first; i < std::min(last, count); ++i) {
            low = std::min(low, sample(i));
            high = std::max(high, sample(i));
        }
        if (low <= high)
            points += fmt::format("M{} {:.4g}V{:.4g}", column, kChartHeight / 2.0 * (1 - high) - 0.3,
                                  kChartHeight / 2.0 * (1 - low) + 0.3);
    }
    Chart chart{std::move(caption), {}};
    chart.svg = Svg("samples", chart.caption, kColumns, kChartHeight,
                    fmt::format(R"(<path class="grid" d="M0 {0}H{1}"/><path class="trace all" d="{2}"/>)",
                                kChartHeight / 2, kColumns, points));
    return chart;
}

} // namespace tools::gallery
