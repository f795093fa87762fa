#include "kernels/channel_tables.h"
#include "kernels/map_picture.h"
#include "tone/methods.h"
#include "tone/straight_line.h"

#include <cmath>

#define KVT_KERNELS "tone/straight_line_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

/// An adjustment of a channel's level by straight lines, each step in doubles and rounded: first the contrast around
/// 127, then scale and offset, truncated toward zero and limited to 0..255.
struct Adjustment {
    double contrast; ///< the factor of the distance to 127; 1 changes no bit, as a scale of 1 and an offset of 0
    double scale;
    double offset;
};
using Adjustments = Channelwise<Adjustment>;

Adjustment Absolute(double contrast, double brightness) { return {contrast + 1.0, 1.0, brightness}; }

Adjustment Linear(double contrast, double brightness) {
    return {contrast + 1.0, (255.0 - std::fabs(brightness)) / 255.0, brightness < 0.0 ? 0.0 : brightness};
}

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

REALpictureStruct *Adjust(REALpictureStruct *picture, const Adjustments &adjustments) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, MapAdjusted, adjustments);
}

REALpictureStruct *AdjustAll(REALpictureStruct *picture, const Adjustment &all) {
    return Adjust(picture, {all, all, all});
}

} // namespace

REALpictureStruct *ContrastPicture1(REALpictureStruct *picture, double contrast) {
    return AdjustAll(picture, Absolute(contrast, 0.0));
}
REALpictureStruct *ContrastPicture3(REALpictureStruct *picture, double red, double green, double blue) {
    return Adjust(picture, {Absolute(red, 0.0), Absolute(green, 0.0), Absolute(blue, 0.0)});
}
REALpictureStruct *AbsBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return AdjustAll(picture, Absolute(0.0, brightness));
}
REALpictureStruct *AbsBrightnessPicture3(REALpictureStruct *picture, double red, double green, double blue) {
    return Adjust(picture, {Absolute(0.0, red), Absolute(0.0, green), Absolute(0.0, blue)});
}
REALpictureStruct *LinBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return AdjustAll(picture, Linear(0.0, brightness));
}
REALpictureStruct *LinBrightnessPicture3(REALpictureStruct *picture, double red, double green, double blue) {
    return Adjust(picture, {Linear(0.0, red), Linear(0.0, green), Linear(0.0, blue)});
}
REALpictureStruct *ContrastAbsBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness) {
    return AdjustAll(picture, Absolute(contrast, brightness));
}
REALpictureStruct *ContrastAbsBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    return Adjust(picture, {Absolute(contrastRed, brightnessRed), Absolute(contrastGreen, brightnessGreen),
                            Absolute(contrastBlue, brightnessBlue)});
}
REALpictureStruct *ContrastLinBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness) {
    return AdjustAll(picture, Linear(contrast, brightness));
}
REALpictureStruct *ContrastLinBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    return Adjust(picture, {Linear(contrastRed, brightnessRed), Linear(contrastGreen, brightnessGreen),
                            Linear(contrastBlue, brightnessBlue)});
}
REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b) {
    return AdjustAll(picture, {1.0, a, b});
}

} // namespace kvt
