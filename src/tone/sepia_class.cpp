#include "tone/sepia_class.h"

#include "kernels/map_picture.h"
#include "kernels/rgb.h"
#include "support/instance_data.h"

namespace kvt {

/// Weights in 1024ths, and what is added to a pixel's gray, for red, green and blue.
struct SepiaToning {
    Rgb weights;
    Rgb offsets;
};

} // namespace kvt

#define KVT_KERNELS "tone/sepia_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

PictureSepiaData &DataOf(REALobjectStruct *instance) {
    return InstanceData<PictureSepiaData>(instance, gPictureSepiaClass);
}

/// Puts the toned picture in the place of the last one, which it yields; null, with that one kept, when there is none.
REALpictureStruct *ReplaceToned(PictureSepiaData &data) {
    const SepiaToning toning{
        {Truncate(data.redWeight * 1024.0), Truncate(data.greenWeight * 1024.0), Truncate(data.blueWeight * 1024.0)},
        {data.sepiaRed, data.sepiaGreen, data.sepiaBlue}};
    const auto replace = [&](REALpictureStruct *toned) {
        ReleasePicture(data.destinationPicture);
        return data.destinationPicture = toned;
    };
    return MapPictureAndKeep(replace, data.sourcePicture, NewPicture::SameSize,
                             Bounds{data.minX, data.minY, data.maxX, data.maxY}, KVT_SELECT(Tone), toning);
}

} // namespace

void PictureSepiaClassConstructor(REALobjectStruct *instance) {
    PictureSepiaData &data = DataOf(instance);
    data.redWeight = 0.299;
    data.greenWeight = 0.587;
    data.blueWeight = 0.114;
}

void PictureSepiaClassDestructor(REALobjectStruct *instance) {
    PictureSepiaData &data = DataOf(instance);
    ReleasePicture(data.sourcePicture);
    ReleasePicture(data.destinationPicture);
}

unsigned char PictureSepiaRun(REALobjectStruct *instance) { return ReplaceToned(DataOf(instance)) != nullptr; }

double GetFactorR(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).redWeight; }
double GetFactorG(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).greenWeight; }
double GetFactorB(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).blueWeight; }
void SetFactorR(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).redWeight = value; }
void SetFactorG(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).greenWeight = value; }
void SetFactorB(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).blueWeight = value; }

} // namespace kvt
