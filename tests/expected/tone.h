#pragma once

#include "expected/picture.h"

#include <cstdint>

namespace expected {

/// One parameter a channel.
struct PerChannel {
    double red = 0;
    double green = 0;
    double blue = 0;
};

/// The same for all channels.
inline PerChannel Each(double value) { return {value, value, value}; }

// `before` is what the new picture holds before the operation writes into it.
Picture Invert(const Picture &source, Rectangle rectangle, Picture before);
Picture InvertGray(const Picture &source, Rectangle rectangle, Picture before);

// A contrast or brightness of 0 changes nothing.
Picture AdjustLinear(const Picture &source, PerChannel contrast, PerChannel brightness);
Picture AdjustAbsolute(const Picture &source, PerChannel contrast, PerChannel brightness);
/// Level x becomes x * factor + sum.
Picture AdjustCustom(const Picture &source, PerChannel factor, PerChannel sum);

Picture Saturation(const Picture &source, int amount);

/// Colors are 0x00RRGGBB.
Picture Tint(const Picture &source, std::uint32_t greyBase, std::uint32_t sepiaBase);

/// The sepia class's settings. The weights are those applied to the channels, whatever the properties' names.
struct SepiaSettings {
    PerChannel weights = {0.299, 0.587, 0.114};
    Bounds bounds = {};
    int red = 0;
    int green = 0;
    int blue = 0;
};

Picture Sepia(const Picture &source, const SepiaSettings &settings, Picture before);

} // namespace expected
