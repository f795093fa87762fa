#include "color/replacement.h"

#include "pixels/map_picture.h"

namespace kvt {
namespace {

struct Replace {
    Rgb search;
    Rgb replacement;
    KVT_INLINE Rgb operator()(Rgb pixel) const { return pixel == search ? replacement : pixel; }
};

struct Extract {
    Rgb search;
    Rgb replacement;
    Rgb background;
    KVT_INLINE Rgb operator()(Rgb pixel) const { return pixel == search ? replacement : background; }
};

} // namespace

REALpictureStruct *ReplaceColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture,
                      Replace{RgbOfColor(searchColor), RgbOfColor(replaceWithColor)});
}

REALpictureStruct *ExtractColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor, std::uint32_t backGroundColor) {
    return MapPicture(picture, NewPicture::SameSize, kWholePicture,
                      Extract{RgbOfColor(searchColor), RgbOfColor(replaceWithColor), RgbOfColor(backGroundColor)});
}

} // namespace kvt
