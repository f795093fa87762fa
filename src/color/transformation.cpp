#include "color/methods.h"

#include "kernels/channel_tables.h"
#include "kernels/map_picture.h"
#include "support/exceptions.h"
#include "support/rb_data.h"

#include <cstring>

namespace kvt {
namespace {

const char *FirstNil(const REALpictureStruct *picture, const REALmemoryBlockStruct *red,
                     const REALmemoryBlockStruct *blue, const REALmemoryBlockStruct *green) {
    return !picture ? "picture is nil"
           : !red   ? "red memoryblock is nil"
           : !green ? "green memoryblock is nil"
           : !blue  ? "blue memoryblock is nil"
                    : nullptr;
}

bool IsTable(const rbData &view) { return view.data && view.length >= sizeof(ChannelTable); }

ChannelTable TableIn(const rbData &view) {
    ChannelTable table;
    std::memcpy(&table, view.data, sizeof table);
    return table;
}

} // namespace

REALpictureStruct *TransformColorsKVT(REALpictureStruct *picture, REALmemoryBlockStruct *red,
                                      REALmemoryBlockStruct *blue, REALmemoryBlockStruct *green,
                                      REALpictureStruct *dest) {
    if (const char *message = FirstNil(picture, red, blue, green)) {
        RaiseNilObject(message);
        return nullptr;
    }
    const rbData reds(red, 0, 0);
    const rbData greens(green, 0, 0);
    const rbData blues(blue, 0, 0);
    if (!IsTable(reds) || !IsTable(greens) || !IsTable(blues))
        return nullptr;
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    OpenWriter result{dest, source->width, source->height};
    if (!result)
        return nullptr;
    const ChannelTables tables{TableIn(reds), TableIn(greens), TableIn(blues)};
    MapThroughTables(JobOf(*result, AreaOf(*source, kWholePicture), *source), tables);
    return result.Render();
}

} // namespace kvt
