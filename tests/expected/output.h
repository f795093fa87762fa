#pragma once

#include "expected/picture.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace expected {

/// The byte string of a picture.
std::string BytesOf(const Picture &picture);

/// The picture of a byte string; none for a string that is refused.
std::optional<Picture> PictureOf(const std::string &bytes);

/// The arguments of the script method, with its defaults.
struct WaveformArguments {
    int sampleCount = 0;
    int smooth = 1;
    int width = 0;
    int height = 0;
    int outlineWidth = 0;
    std::uint32_t backColor = 0x88B5C4;
    std::uint32_t foreColor = 0x274C5A;
    std::uint32_t outlineColor = 0x203F4E;
    int bits = 8;
    bool autoScale = false;
};

/// A line that the host is asked to draw.
struct Segment {
    std::int64_t x0, y0, x1, y1;
};

struct Waveform {
    bool made = false;
    Picture picture;               ///< without the host's lines
    std::vector<Segment> segments; ///< for an outline of width 2 or more, in drawing order
};

/// The overview of the samples in `block`, computed the slow way: sample by sample, column by column, and with lines
/// that step through every point.
Waveform RenderSamples(const std::vector<unsigned char> &block, const WaveformArguments &arguments);

/// One line, in `color`; coordinates are 16-bit.
void DrawWuLine(Picture &picture, Rgb color, int x0, int y0, int x1, int y1);

} // namespace expected
