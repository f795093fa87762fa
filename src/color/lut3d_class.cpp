#include "color/lut3d_class.h"

#include "kernels/map_picture.h"
#include "support/instance_data.h"

#define KVT_KERNELS "color/lut3d_kernel.h"
#define KVT_WITH_AVX512
#include "kernels/each_level.h"

namespace kvt {
namespace {

Lut3DClassData &DataOf(REALobjectStruct *instance) {
    return InstanceData<Lut3DClassData>(instance, gPictureLut3DClass);
}

bool InTable(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x) {
    return r < kGridPoints && g < kGridPoints && b < kGridPoints && x < kGridChannels;
}

} // namespace

void Lut3DClassConstructor(REALobjectStruct *) {}

void Lut3DClassDestructor(REALobjectStruct *instance) {
    Lut3DClassData &data = DataOf(instance);
    ReleasePicture(data.sourcePicture);
    ReleasePicture(data.destinationPicture);
}

unsigned char Lut3DRun(REALobjectStruct *instance) {
    Lut3DClassData &data = DataOf(instance);
    ReleasePicture(data.destinationPicture);
    const auto store = [&](REALpictureStruct *mapped) { return data.destinationPicture = mapped; };
    return MapPictureAndKeep(store, data.sourcePicture, NewPicture::LikeSource,
                             Bounds{data.minX, data.minY, data.maxX, data.maxY}, KVT_SELECT(Interpolate),
                             &data.table) != nullptr;
}

double GetPMX(REALobjectStruct *instance, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x) {
    return InTable(r, g, b, x) ? DataOf(instance).table[r][g][b][x] : 0.0;
}

void SetPMX(REALobjectStruct *instance, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x,
            double value) {
    if (InTable(r, g, b, x))
        DataOf(instance).table[r][g][b][x] = value;
}

} // namespace kvt
