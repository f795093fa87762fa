#include "tone/sepia_class.h"

#include "pixels/map_picture.h"
#include "support/instance_data.h"

#include <algorithm>

namespace kvt {
namespace {

PictureSepiaData &DataOf(REALobjectStruct *instance) {
    return InstanceData<PictureSepiaData>(instance, gPictureSepiaClass);
}

/// Weights in 1024ths; `Integer` is wide enough for the weighted sum and for gray + offset.
template <class Integer> struct Sepia {
    std::int32_t redWeight;
    std::int32_t greenWeight;
    std::int32_t blueWeight;
    std::int32_t redOffset;
    std::int32_t greenOffset;
    std::int32_t blueOffset;
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const Integer gray =
            (Integer{pixel.red} * redWeight + Integer{pixel.green} * greenWeight + Integer{pixel.blue} * blueWeight) /
            1024;
        return {Toned(gray + redOffset), Toned(gray + greenOffset), Toned(gray + blueOffset)};
    }
    KVT_INLINE static std::int32_t Toned(Integer level) {
        return static_cast<std::int32_t>(level < 0 ? 0 : level > 255 ? 255 : level);
    }
};

std::int32_t Fixed(double weight) {
    const double scaled = weight * 1024.0;
    if (scaled != scaled)
        return 0;
    return static_cast<std::int32_t>(std::clamp(scaled, -2147483648.0, 2147483647.0));
}

bool Small(std::int32_t value) { return value > -2'000'000 && value < 2'000'000; }

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

unsigned char PictureSepiaRun(REALobjectStruct *instance) {
    PictureSepiaData &data = DataOf(instance);
    const Sepia<std::int64_t> wide{Fixed(data.redWeight), Fixed(data.greenWeight), Fixed(data.blueWeight),
                                   data.sepiaRed,         data.sepiaGreen,         data.sepiaBlue};
    const Bounds bounds{data.minX, data.minY, data.maxX, data.maxY};
    const bool fits = Small(wide.redWeight) && Small(wide.greenWeight) && Small(wide.blueWeight) &&
                      Small(wide.redOffset) && Small(wide.greenOffset) && Small(wide.blueOffset);
    REALpictureStruct *result = fits
                                    ? MapPicture(data.sourcePicture, NewPicture::SameSize, bounds,
                                                 Sepia<std::int32_t>{wide.redWeight, wide.greenWeight, wide.blueWeight,
                                                                     wide.redOffset, wide.greenOffset, wide.blueOffset})
                                    : MapPicture(data.sourcePicture, NewPicture::SameSize, bounds, wide);
    if (!result)
        return 0;
    ReleasePicture(data.destinationPicture);
    data.destinationPicture = result;
    return 1;
}

double GetFactorR(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).redWeight; }
double GetFactorG(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).greenWeight; }
double GetFactorB(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).blueWeight; }
void SetFactorR(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).redWeight = value; }
void SetFactorG(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).greenWeight = value; }
void SetFactorB(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).blueWeight = value; }

} // namespace kvt
