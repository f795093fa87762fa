#include "color/methods.h"

#include "host/entries.h"
#include "kernels/map_picture.h"

#define KVT_KERNELS "color/embedded_mask_kernel.h"
#include "kernels/each_level.h"

namespace kvt {

REALpictureStruct *GetEmbededMask(REALpictureStruct *picture, signed char swap) {
    return MapPicture(picture, NewPicture::SameSize, kWholePicture, KVT_SELECT(ReadMask), swap != 0);
}

void SetEmbededMask(REALpictureStruct *picture, signed char swap, REALpictureStruct *mask) {
    if (!mask)
        return;
    const OpenEditor receiver{picture};
    if (!receiver)
        return;
    const OpenReader values{mask};
    if (!values)
        return;
    KVT_SELECT(WriteMask)(JobOf(*receiver, AreaOf(*receiver, kWholePicture), *values, *receiver), swap != 0);
}

unsigned char PictureHasMask(REALpictureStruct *picture) {
    REALpictureStruct *mask = picture ? REALGetPictureMask(picture, 0) : nullptr;
    if (!mask)
        return 0;
    REALUnlockObject(mask);
    return 1;
}

} // namespace kvt
