#pragma once

#include "kernels/job.h"
#include "kernels/rgb.h"

namespace kvt {

/// What becomes of each of a channel's 256 levels.
struct ChannelTable {
    alignas(64) unsigned char levels[256];
};

using ChannelTables = Channelwise<ChannelTable>;

/// Maps every channel of a pixel through its table.
void MapThroughTables(const MapJob &job, const ChannelTables &tables);

} // namespace kvt
