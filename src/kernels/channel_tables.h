#pragma once

#include "kernels/map_picture.h"
#include "kernels/rgb.h"

namespace kvt {

/// What becomes of each of a channel's 256 levels.
struct ChannelTable {
    unsigned char levels[256];
};

/// One table a channel.
struct ChannelTables {
    ChannelTable red;
    ChannelTable green;
    ChannelTable blue;
};

/// Maps every channel of a pixel through its table.
void MapThroughTables(const MapJob &job, const ChannelTables &tables);

/// An adjustment of a channel's level by straight lines, each step in doubles and rounded: first the contrast around
/// 127, then scale and offset, truncated toward zero and limited to 0..255. What is left out changes no bit.
struct Adjustment {
    double contrast = 1.0; ///< the factor of the distance to 127
    double scale = 1.0;
    double offset = 0.0;
};

/// MapPicture for an adjustment of each channel.
REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustment &red, const Adjustment &green,
                                 const Adjustment &blue);

/// The same adjustment for all channels.
inline REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustment &adjustment) {
    return AdjustPicture(picture, adjustment, adjustment, adjustment);
}

} // namespace kvt
