#include "tone/sepia_class.h"

#include "pixels/map_picture.h"
#include "support/instance_data.h"

#include <algorithm>

namespace kvt {
namespace {

PictureSepiaData &DataOf(REALobjectStruct *instance) {
    return InstanceData<PictureSepiaData>(instance, gPictureSepiaClass);
}

struct Channels {
    std::int32_t red;
    std::int32_t green;
    std::int32_t blue;
};

bool AreSmall(Channels channels) {
    const auto isSmall = [](std::int32_t value) { return value > -2'000'000 && value < 2'000'000; };
    return isSmall(channels.red) && isSmall(channels.green) && isSmall(channels.blue);
}

/// Weights in 1024ths; `Integer` is wide enough for the weighted sum and for gray + offset.
template <class Integer> struct Sepia {
    Channels weights;
    Channels offsets;
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const Integer gray = (Integer{pixel.red} * weights.red + Integer{pixel.green} * weights.green +
                              Integer{pixel.blue} * weights.blue) /
                             1024;
        return {Toned(gray + offsets.red), Toned(gray + offsets.green), Toned(gray + offsets.blue)};
    }
    KVT_INLINE static std::int32_t Toned(Integer level) {
        return static_cast<std::int32_t>(level < 0 ? 0 : level > 255 ? 255 : level);
    }
};

/// The same in 16-bit integers, for weights that are not negative and in sum below 4. They are split into 64ths and
/// what remains in 1024ths; a sum's quotient by 1024 is the quotient by 64 of its 64ths and the whole 64ths in the
/// remainders.
class ModerateSepia {
  public:
    static bool Serves(Channels weights) {
        return weights.red >= 0 && weights.green >= 0 && weights.blue >= 0 &&
               std::int64_t{weights.red} + weights.green + weights.blue <= kLargestSum;
    }
    ModerateSepia(Channels weights, Channels offsets)
        : red_(weights.red, offsets.red), green_(weights.green, offsets.green), blue_(weights.blue, offsets.blue) {}

    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        const auto remainders = static_cast<std::uint16_t>(pixel.red * red_.remainder + pixel.green * green_.remainder +
                                                           pixel.blue * blue_.remainder);
        const auto sum = static_cast<std::uint16_t>(pixel.red * red_.weight + pixel.green * green_.weight +
                                                    pixel.blue * blue_.weight + (remainders >> 4));
        const auto gray = static_cast<std::int16_t>(sum >> 6);
        return {Toned(gray, red_.offset), Toned(gray, green_.offset), Toned(gray, blue_.offset)};
    }

  private:
    static constexpr std::int32_t kLargestSum = 250 * 16;

    struct Channel {
        Channel(std::int32_t weight1024, std::int32_t anyOffset)
            : weight(static_cast<std::uint16_t>(weight1024 / 16)),
              remainder(static_cast<std::uint16_t>(weight1024 % 16)),
              offset(static_cast<std::int16_t>(std::clamp(anyOffset, -2000, 2000))) {}
        std::uint16_t weight;    ///< in 64ths
        std::uint16_t remainder; ///< in 1024ths
        std::int16_t offset;     ///< limited to where every gray ends at 0 or 255
    };

    KVT_INLINE static std::uint8_t Toned(std::int16_t gray, std::int16_t offset) {
        return static_cast<std::uint8_t>(ToByte(static_cast<std::int16_t>(gray + offset)));
    }

    Channel red_;
    Channel green_;
    Channel blue_;
};

REALpictureStruct *NewToned(const PictureSepiaData &data) {
    const Channels weights{Truncate(data.redWeight * 1024.0), Truncate(data.greenWeight * 1024.0),
                           Truncate(data.blueWeight * 1024.0)};
    const Channels offsets{data.sepiaRed, data.sepiaGreen, data.sepiaBlue};
    const auto map = [&](auto op) {
        const Bounds bounds{data.minX, data.minY, data.maxX, data.maxY};
        return MapPicture(data.sourcePicture, NewPicture::SameSize, bounds, op);
    };
    if (ModerateSepia::Serves(weights))
        return map(ModerateSepia(weights, offsets));
    if (AreSmall(weights) && AreSmall(offsets))
        return map(Sepia<std::int32_t>{weights, offsets});
    return map(Sepia<std::int64_t>{weights, offsets});
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

unsigned char PictureSepiaRun(REALobjectStruct *instance) {
    PictureSepiaData &data = DataOf(instance);
    REALpictureStruct *result = NewToned(data);
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
