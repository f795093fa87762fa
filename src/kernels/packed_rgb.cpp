#include "kernels/packed_rgb.h"

#include <type_traits>

#define KVT_KERNELS "kernels/packed_rgb_kernel.h"
#include "kernels/each_level.h"

namespace kvt {

void PackRgb(const PictureEditor &source, unsigned char *packed) {
    const Area area = AreaOf(source, kWholePicture);
    if (!area.Empty())
        KVT_SELECT(Pack)(PixelsOf(source), area, packed);
}

void UnpackRgb(const unsigned char *packed, std::int32_t width, std::int32_t height, const PictureEditor &target) {
    const Area area = AreaOf(target, Rectangle{0, 0, width, height});
    if (!area.Empty())
        KVT_SELECT(Unpack)(packed, width * kPackedBytes, PixelsOf(target), area);
}

} // namespace kvt
