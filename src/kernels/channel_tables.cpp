#include "kernels/channel_tables.h"

#define KVT_KERNELS "kernels/channel_tables_kernel.h"
#define KVT_WITH_AVX512
#include "kernels/each_level.h"

namespace kvt {

void MapThroughTables(const MapJob &job, const ChannelTables &tables) { KVT_SELECT(LookUp)(job, tables); }

} // namespace kvt
