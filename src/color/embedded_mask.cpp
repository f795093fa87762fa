#include "color/embedded_mask.h"

#include "host/entries.h"
#include "pixels/open.h"
#include "pixels/walk.h"

namespace kvt {
namespace {

struct MaybeSwapped {
    std::int32_t flip; ///< 255 or 0: value ^ 255 is 255 - value
    KVT_INLINE Rgb operator()(Rgb pixel) const { return GrayLevel(pixel.red ^ flip); }
};

} // namespace

REALpictureStruct *GetEmbededMask(REALpictureStruct *picture, signed char swap) {
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    OpenWriter result{*source, NewPicture::SameSize};
    if (!result)
        return nullptr;
    MapFromMask(*source, *result, AreaOf(*source, kWholePicture), MaybeSwapped{swap ? 255 : 0});
    return result.Render();
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
    MapToMask(*values, *receiver, AreaOf(*receiver, kWholePicture), MaybeSwapped{swap ? 255 : 0});
}

unsigned char PictureHasMask(REALpictureStruct *picture) {
    REALpictureStruct *mask = picture ? REALGetPictureMask(picture, 0) : nullptr;
    if (!mask)
        return 0;
    REALUnlockObject(mask);
    return 1;
}

} // namespace kvt
