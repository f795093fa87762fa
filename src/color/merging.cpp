#include "color/merging.h"

#include "pixels/open.h"
#include "pixels/walk.h"

#include <algorithm>

namespace kvt {
namespace {

struct Lighter {
    KVT_INLINE Rgb operator()(Rgb a, Rgb b) const {
        return {std::max(a.red, b.red), std::max(a.green, b.green), std::max(a.blue, b.blue)};
    }
};

} // namespace

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
    Combine(*result, AreaOf(*first, kWholePicture), Lighter{}, *first, *second);
    return result.Render();
}

} // namespace kvt
