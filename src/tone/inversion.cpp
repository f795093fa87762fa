#include "tone/methods.h"

#include "kernels/map_picture.h"

#define KVT_KERNELS "tone/inversion_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

std::int32_t WholeWhenZero(std::int32_t extent) { return extent > 0 ? extent : -1; }

} // namespace

REALpictureStruct *InvertPicture(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                                 std::int32_t height) {
    const Rectangle rectangle{left, top, WholeWhenZero(width), WholeWhenZero(height)};
    return MapPicture(picture, NewPicture::LikeSource, rectangle, KVT_SELECT(Invert));
}

REALpictureStruct *InvertPicture2(REALpictureStruct *picture) { return InvertPicture(picture, 0, 0, -1, -1); }

REALpictureStruct *InvertGrayPicture(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                     std::int32_t width, std::int32_t height) {
    return MapPicture(picture, NewPicture::LikeSource, Rectangle{left, top, width, height}, KVT_SELECT(InvertGray));
}

REALpictureStruct *InvertGrayPicture2(REALpictureStruct *picture) { return InvertGrayPicture(picture, 0, 0, -1, -1); }

} // namespace kvt
