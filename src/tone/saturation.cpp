#include "tone/methods.h"

#include "kernels/map_picture.h"

#define KVT_KERNELS "tone/saturation_kernel.h"
#define KVT_WITH_AVX512
#include "kernels/each_level.h"

namespace kvt {

REALpictureStruct *SaturationPicture(REALpictureStruct *picture, std::int32_t amount) {
    return MapPicture(picture, NewPicture::LikeSource, kWholePicture, KVT_SELECT(Saturate), amount);
}

} // namespace kvt
