#include "color/methods.h"

#include "kernels/map_picture.h"

#define KVT_KERNELS "color/replacement_kernel.h"
#include "kernels/each_level.h"

namespace kvt {

REALpictureStruct *ReplaceColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, KVT_SELECT(ReplaceColor), searchColor,
                      replaceWithColor);
}

REALpictureStruct *ExtractColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor, std::uint32_t backGroundColor) {
    return MapPicture(picture, NewPicture::SameSize, kWholePicture, KVT_SELECT(ExtractColor), searchColor,
                      replaceWithColor, backGroundColor);
}

} // namespace kvt
