#include "tone/adjustment.h"

#include "kernels/channel_tables.h"
#include "kernels/map_picture.h"
#include "tone/straight_line.h"

#define KVT_KERNELS "tone/straight_line_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

/// In smaller pictures, finding lines takes longer than looking levels up.
constexpr std::int64_t kPixelsWorthLines = 4096;

ChannelTable TableOf(const Adjustment &adjustment) {
    ChannelTable table;
    for (int level = 0; level < 256; ++level) {
        const double contrasted = (level - 127.0) * adjustment.contrast + 127.0;
        table.levels[level] = static_cast<unsigned char>(ToByte(contrasted * adjustment.scale + adjustment.offset));
    }
    return table;
}

bool FindLines(const ChannelTables &tables, const Adjustments &adjustments, StraightLines &lines) {
    const auto slope = [](const Adjustment &adjustment) { return adjustment.contrast * adjustment.scale; };
    return FindLine(tables.red, slope(adjustments.red), lines.red) &&
           FindLine(tables.green, slope(adjustments.green), lines.green) &&
           FindLine(tables.blue, slope(adjustments.blue), lines.blue);
}

void MapAdjusted(const MapJob &job, const Adjustments &adjustments) {
    const ChannelTables tables{TableOf(adjustments.red), TableOf(adjustments.green), TableOf(adjustments.blue)};
    StraightLines lines;
    if (job.area.Pixels() < kPixelsWorthLines || !FindLines(tables, adjustments, lines) ||
        !KVT_SELECT(MapAlongLines)(job, lines, tables))
        MapThroughTables(job, tables);
}

} // namespace

Adjustment Contrast(double contrast) { return {.contrast = contrast + 1.0}; }

Adjustment AbsBrightness(double brightness) { return {.offset = brightness}; }

Adjustment LinBrightness(double brightness) {
    if (brightness < 0.0)
        return {.scale = (brightness + 255.0) / 255.0};
    return {.scale = (255.0 - brightness) / 255.0, .offset = brightness};
}

Adjustment ContrastAbsBrightness(double contrast, double brightness) { return {contrast + 1.0, 1.0, brightness}; }

Adjustment ContrastLinBrightness(double contrast, double brightness) {
    const Adjustment linear = LinBrightness(brightness);
    return {contrast + 1.0, linear.scale, linear.offset};
}

Adjustment Custom(double a, double b) { return {.scale = a, .offset = b}; }

REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustments &adjustments) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, MapAdjusted, adjustments);
}

} // namespace kvt
