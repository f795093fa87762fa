#pragma once

#include "pixels/map_picture.h"

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

/// The table of a function from a level (as a double) to a double, truncated toward zero and limited to 0..255.
template <class Function> ChannelTable TableOf(Function function) {
    ChannelTable table;
    for (int level = 0; level < 256; ++level)
        table.levels[level] = static_cast<unsigned char>(ToByte(function(static_cast<double>(level))));
    return table;
}

/// A pixel operation that maps every channel through its table. The tables outlive the walk.
struct ThroughTables {
    const ChannelTables *tables;
};

/// Map for this operation.
void Map(const PictureEditor &source, const PictureEditor &target, Area area, ThroughTables op);

/// MapPicture for operations whose channels each depend on their own level alone: a function a channel.
template <class Function>
REALpictureStruct *MapChannels(REALpictureStruct *picture, Function red, Function green, Function blue) {
    const ChannelTables tables{TableOf(red), TableOf(green), TableOf(blue)};
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, ThroughTables{&tables});
}

/// The same function for all channels.
template <class Function> REALpictureStruct *MapChannels(REALpictureStruct *picture, Function function) {
    const ChannelTable table = TableOf(function);
    const ChannelTables tables{table, table, table};
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, ThroughTables{&tables});
}

} // namespace kvt
