#include "tone/methods.h"

#include "kernels/picture_class.h"
#include "kernels/rgb.h"

#include <iterator>

namespace kvt {

/// Weights in 1024ths, and what is added to a pixel's gray, for red, green and blue.
struct SepiaToning {
    Rgb weights;
    Rgb offsets;
};

/// The gray plus offset of the kernel Sepia, for weights and offsets of 32 bits.
struct WideSepia {
    SepiaToning toning;

    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const std::int64_t gray =
            (std::int64_t{pixel.red} * toning.weights.red + std::int64_t{pixel.green} * toning.weights.green +
             std::int64_t{pixel.blue} * toning.weights.blue) /
            1024;
        const auto toned = [gray](std::int32_t offset) KVT_INLINE_LAMBDA {
            const std::int64_t level = gray + offset;
            return static_cast<std::int32_t>(level < 0 ? 0 : level > 255 ? 255 : level);
        };
        return {toned(toning.offsets.red), toned(toning.offsets.green), toned(toning.offsets.blue)};
    }
};

} // namespace kvt

#define KVT_KERNELS "tone/sepia_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

/// The host reads and writes all but the weights itself.
struct Data {
    double redWeight;
    double greenWeight;
    double blueWeight;
    PictureFields pictures;
    std::int32_t red; ///< added to the gray, as the next two
    std::int32_t green;
    std::int32_t blue;
    std::uint32_t unused;
};

#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(Data) == 64 && offsetof(Data, pictures.source) == 24 &&
              offsetof(Data, pictures.bounds.minX) == 32 && offsetof(Data, red) == 48);
#endif

Data &DataOf(REALobjectStruct *instance) { return InstanceData<Data>(instance, gPictureSepiaClass); }

void PictureSepiaClassConstructor(REALobjectStruct *instance) {
    Data &data = DataOf(instance);
    data.redWeight = 0.299;
    data.greenWeight = 0.587;
    data.blueWeight = 0.114;
}

void PictureSepiaClassDestructor(REALobjectStruct *instance) { Release(DataOf(instance).pictures); }

/// Tones the bounds of SourcePicture into a new DestinationPicture, which replaces the old one. 0 (false), with
/// DestinationPicture as it was, when there is no source, it cannot be read, or no picture can be made.
unsigned char Run(REALobjectStruct *instance) {
    Data &data = DataOf(instance);
    const SepiaToning toning{
        {Truncate(data.redWeight * 1024.0), Truncate(data.greenWeight * 1024.0), Truncate(data.blueWeight * 1024.0)},
        {data.red, data.green, data.blue}};
    const auto replace = [&](REALpictureStruct *toned) {
        ReleasePicture(data.pictures.destination);
        return data.pictures.destination = toned;
    };
    return MapPictureAndKeep(replace, data.pictures.source, NewPicture::SameSize, data.pictures.bounds,
                             KVT_SELECT(Tone), toning) != nullptr;
}

double GetFactorR(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).redWeight; }
void SetFactorR(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).redWeight = value; }
double GetFactorG(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).greenWeight; }
void SetFactorG(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).greenWeight = value; }
double GetFactorB(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).blueWeight; }
void SetFactorB(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).blueWeight = value; }

// clang-format off

/// Scripts know the weight of green as FactorBlue and the weight of blue as FactorGreen; programs rely on that.
REALpropertyDefinition gProperties[] = {
    KVT_PICTURE_PROPERTIES(0),
    KVT_STANDARD_PROPERTY("SepiaRed",   "Integer", 0, red),
    KVT_STANDARD_PROPERTY("SepiaGreen", "Integer", 0, green),
    KVT_STANDARD_PROPERTY("SepiaBlue",  "Integer", 0, blue),
    {0, "FactorRed",   "Double", 0, REALroutine(GetFactorR), REALroutine(SetFactorR), 0, {}},
    {0, "FactorBlue",  "Double", 0, REALroutine(GetFactorG), REALroutine(SetFactorG), 0, {}},
    {0, "FactorGreen", "Double", 0, REALroutine(GetFactorB), REALroutine(SetFactorB), 0, {}},
};

REALmethodDefinition gMethods[] = {
    {REALroutine(PictureSepiaClassDestructor), nullptr, "Close", 0},
    {REALroutine(Run), nullptr, "Run as boolean", 0},
};

// clang-format on

} // namespace

REALclassDefinition gPictureSepiaClass = {
    .version = kInterfaceVersion,
    .name = "PictureSepiaKVT",
    .instanceSize = sizeof(Data),
    .constructor = REALroutine(PictureSepiaClassConstructor),
    .destructor = REALroutine(PictureSepiaClassDestructor),
    .properties = gProperties,
    .propertyCount = std::size(gProperties),
    .methods = gMethods,
    .methodCount = std::size(gMethods),
};

} // namespace kvt
