#pragma once

#include "kernels/job.h"

namespace kvt {

/// What becomes of each of a channel's 256 levels.
struct ChannelTable {
    alignas(64) unsigned char levels[256];
};

/// One table a channel.
struct ChannelTables {
    ChannelTable red;
    ChannelTable green;
    ChannelTable blue;
};

/// Maps every channel of a pixel through its table.
void MapThroughTables(const MapJob &job, const ChannelTables &tables);

} // namespace kvt
