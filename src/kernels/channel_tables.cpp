#include "kernels/channel_tables.h"

#define KVT_KERNELS "kernels/channel_tables_kernel.h"
#define KVT_WITH_AVX512
#include "kernels/each_level.h"

namespace kvt {
namespace {

ChannelTable TableOf(const Adjustment &adjustment) {
    ChannelTable table;
    for (int level = 0; level < 256; ++level) {
        const double contrasted = (level - 127.0) * adjustment.contrast + 127.0;
        table.levels[level] = static_cast<unsigned char>(ToByte(contrasted * adjustment.scale + adjustment.offset));
    }
    return table;
}

} // namespace

void MapThroughTables(const MapJob &job, const ChannelTables &tables) { KVT_SELECT(LookUp)(job, tables); }

REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustment &red, const Adjustment &green,
                                 const Adjustment &blue) {
    const ChannelTables tables{TableOf(red), TableOf(green), TableOf(blue)};
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, MapThroughTables, tables);
}

} // namespace kvt
