#include "tone/tint.h"

#include "pixels/map_picture.h"
#include "pixels/tinted_gray.h"

namespace kvt {

REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase) {
    return MapPicture(source, NewPicture::LikeSource, kWholePicture,
                      TintedGray{RgbOfColor(greyBase), RgbOfColor(sepiaBase)});
}

} // namespace kvt
