#include "kernels/paint.h"

#define KVT_KERNELS "kernels/paint_kernel.h"
#include "kernels/each_level.h"

namespace kvt {

void Paint(const PictureEditor &target, Area area, std::uint32_t back, std::uint32_t fore, const std::int32_t *tops,
           const std::int32_t *ends) {
    if (!area.Empty())
        KVT_SELECT(PaintSpans)(PixelsOf(target), area, back, fore, tops, ends);
}

} // namespace kvt
