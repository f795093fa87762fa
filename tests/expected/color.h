#pragma once

#include "expected/picture.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace expected {

/// Of a host color 0x00RRGGBB; the top byte does not count.
Rgb RgbOf(std::uint32_t color);

int CountColor(const Picture &picture, std::uint32_t color);

/// The pixels at each level of a channel.
struct Histograms {
    std::array<std::uint32_t, 256> red = {};
    std::array<std::uint32_t, 256> green = {};
    std::array<std::uint32_t, 256> blue = {};
};

/// `before` with the picture's pixels added; counters wrap.
Histograms CountColors(const Picture &picture, Histograms before);

using LookupTable = std::array<unsigned char, 256>;

/// `before`, which is at least as large as the source, with the mapped source at its top left.
Picture TransformColors(const Picture &source, const LookupTable &red, const LookupTable &green,
                        const LookupTable &blue, Picture before);

Picture ReplaceColor(const Picture &source, std::uint32_t search, std::uint32_t replacement);
Picture ExtractColor(const Picture &source, std::uint32_t search, std::uint32_t replacement, std::uint32_t background);

/// The source with the levels of one channel from another picture, which is at least as large.
Picture ReplaceChannel(Picture source, int Rgb::*level, const Picture &channel);

/// One channel from each of three pictures of one size.
Picture CombinePictures(const Picture &red, const Picture &green, const Picture &blue);

/// The lighter of two pictures of one size, channel by channel.
Picture MergePictures(const Picture &a, const Picture &b);

Picture EmbeddedMask(const StoredPicture &picture, bool swap);
/// `before` with the reds of the mask as its mask values; pixels beyond a smaller mask stay.
StoredPicture SetEmbeddedMask(StoredPicture before, bool swap, const Picture &mask);

/// 18 × 18 × 18 entries of three doubles; red is the slowest index, the output channel the fastest.
struct ColorCube {
    std::vector<double> entries = std::vector<double>(18 * 18 * 18 * 3);
    double &At(int red, int green, int blue, int channel) { return entries[Index(red, green, blue, channel)]; }
    double At(int red, int green, int blue, int channel) const { return entries[Index(red, green, blue, channel)]; }

  private:
    static std::size_t Index(int red, int green, int blue, int channel) {
        return static_cast<std::size_t>(((red * 18 + green) * 18 + blue) * 3 + channel);
    }
};

Picture ThroughCube(const Picture &source, const ColorCube &cube, Bounds bounds, Picture before);

/// Black where the boxes around colored areas of a rectangle lie, else white. Boxes grow side by side.
Picture ColorRectangleMask(const Picture &picture, Rectangle rectangle);

} // namespace expected
