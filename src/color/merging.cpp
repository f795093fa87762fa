#include "color/merging.h"

#include "pixels/open.h"
#include "pixels/walk.h"

#include <cstdint>

namespace kvt {
namespace {

struct Lighter {
    KVT_INLINE std::uint8_t operator()(std::uint8_t a, std::uint8_t b) const { return Higher(a, b); }
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
    CombineLevels(*result, AreaOf(*first, kWholePicture), Lighter{}, *first, *second);
    return result.Render();
}

} // namespace kvt
