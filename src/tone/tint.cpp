#include "tone/tint.h"

#include "kernels/map_picture.h"

#define KVT_KERNELS "tone/tint_kernel.h"
#define KVT_WITH_AVX512
#include "kernels/each_level.h"

namespace kvt {

REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase) {
    return MapPicture(source, NewPicture::LikeSource, kWholePicture, KVT_SELECT(Tint), RgbOfColor(greyBase),
                      RgbOfColor(sepiaBase));
}

} // namespace kvt
