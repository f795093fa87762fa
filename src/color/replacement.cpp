#include "color/replacement.h"

#include "pixels/map_picture.h"

namespace kvt {
namespace {

struct Replace {
    RgbBytes search;
    RgbBytes replacement;
    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const { return Either(pixel == search, replacement, pixel); }
};

struct Extract {
    RgbBytes search;
    RgbBytes replacement;
    RgbBytes background;
    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const { return Either(pixel == search, replacement, background); }
};

} // namespace

REALpictureStruct *ReplaceColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture,
                      Replace{BytesOfColor(searchColor), BytesOfColor(replaceWithColor)});
}

REALpictureStruct *ExtractColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor, std::uint32_t backGroundColor) {
    return MapPicture(
        picture, NewPicture::SameSize, kWholePicture,
        Extract{BytesOfColor(searchColor), BytesOfColor(replaceWithColor), BytesOfColor(backGroundColor)});
}

} // namespace kvt
