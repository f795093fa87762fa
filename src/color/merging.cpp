#include "color/merging.h"

#include "pixels/open.h"

#define KVT_KERNELS "color/merging_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
REALpictureStruct *MergePicture(REALpictureStruct *source1, REALpictureStruct *source2) {
    if (!source1 || !source2)
        return nullptr;
    const OpenReader first{source1};
    if (!first)
        return nullptr;
    const OpenReader second{source2};
    if (!second || !SameSize(*first, *second))
        return nullptr;
    OpenWriter result{*first, NewPicture::SameSize};
    if (!result)
        return nullptr;
    KVT_SELECT(Merge)(JobOf(*result, AreaOf(*first, kWholePicture), *first, *second));
    return result.Render();
}

} // namespace kvt
