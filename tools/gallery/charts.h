#pragma once

#include "tools/picture_files.h"
#include "tools/wav_file.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace tools::gallery {

/// An SVG element, colored by the page's style.
struct Chart {
    std::string caption;
    std::string svg;
};

/// What each channel makes of the levels 0..255: `ramp` is the result for a row of 256 grays.
Chart CurveChart(const Image &ramp);

/// How often each level occurs, in the order red, green, blue.
using Histogram = std::array<std::array<std::uint32_t, 256>, 3>;

Histogram HistogramOf(const Image &image);
/// The counters of one block as the module fills it: 32 bits each, the lowest byte first. Counters that the block does
/// not hold are 0.
std::array<std::uint32_t, 256> CountersIn(std::span<const unsigned char> block);
Chart HistogramChart(std::string caption, const Histogram &histogram);

/// The lowest and highest of the samples under each of 800 columns. With a `limit` above 0, only so many samples.
Chart SamplesChart(std::string caption, const Sound &sound, int limit);

} // namespace tools::gallery
