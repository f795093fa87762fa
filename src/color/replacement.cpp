#include "color/replacement.h"

#include "pixels/map_picture.h"

namespace kvt {
namespace {

struct Replace {
    Rgb search;
    Rgb replacement;
    template <class Layout> KVT_INLINE WholePixel<Layout> operator()(WholePixel<Layout> pixel) const {
        return pixel.Is(search) ? pixel.Of(replacement) : pixel;
    }
};

struct Extract {
    Rgb search;
    Rgb replacement;
    Rgb background;
    template <class Layout> KVT_INLINE WholePixel<Layout> operator()(WholePixel<Layout> pixel) const {
        return pixel.Is(search) ? pixel.Of(replacement) : pixel.Of(background);
    }
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
