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

struct Adjustments {
    Adjustment red;
    Adjustment green;
    Adjustment blue;
};

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

void Adjust(const MapJob &job, const Adjustments &adjustments) {
    const ChannelTables tables{TableOf(adjustments.red), TableOf(adjustments.green), TableOf(adjustments.blue)};
    StraightLines lines;
    if (job.area.Pixels() < kPixelsWorthLines || !FindLines(tables, adjustments, lines) ||
        !KVT_SELECT(MapAlongLines)(job, lines, tables))
        MapThroughTables(job, tables);
}

} // namespace

REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustment &red, const Adjustment &green,
                                 const Adjustment &blue) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, Adjust, Adjustments{red, green, blue});
}

} // namespace kvt
