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

/// Weights that are not negative, each split by a power of two: parts, and what remains in 1024ths. A sum's quotient by
/// 1024 is that of its parts and of the whole parts in the remainders.
template <int RemainderBits> struct SplitWeights {
    explicit SplitWeights(Channels weights) : red(weights.red), green(weights.green), blue(weights.blue) {}

    KVT_INLINE std::uint16_t Gray(RgbBytes pixel) const {
        const auto remainders = static_cast<std::uint16_t>(pixel.red * red.remainder + pixel.green * green.remainder +
                                                           pixel.blue * blue.remainder);
        const auto sum = static_cast<std::uint16_t>(pixel.red * red.parts + pixel.green * green.parts +
                                                    pixel.blue * blue.parts + (remainders >> RemainderBits));
        return static_cast<std::uint16_t>(sum >> (10 - RemainderBits));
    }

    struct Channel {
        explicit Channel(std::int32_t weight)
            : parts(static_cast<std::uint16_t>(weight >> RemainderBits)),
              remainder(static_cast<std::uint16_t>(weight & ((1 << RemainderBits) - 1))) {}
        std::uint16_t parts;
        std::uint16_t remainder;
    };
    Channel red;
    Channel green;
    Channel blue;
};

/// The same in 16-bit integers, for weights that are not negative and in sum at most kLargestSum.
class ModerateSepia {
  public:
    static constexpr std::int32_t kLargestSum = 250 * 16;

    ModerateSepia(Channels weights, Channels offsets)
        : weights_(weights), red_(Limited(offsets.red)), green_(Limited(offsets.green)), blue_(Limited(offsets.blue)) {}

    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        const auto gray = static_cast<std::int16_t>(weights_.Gray(pixel));
        return {Toned(gray, red_), Toned(gray, green_), Toned(gray, blue_)};
    }

  private:
    /// To where every gray ends at 0 or 255.
    static std::int16_t Limited(std::int32_t offset) {
        return static_cast<std::int16_t>(std::clamp(offset, -2000, 2000));
    }
    KVT_INLINE static std::uint8_t Toned(std::int16_t gray, std::int16_t offset) {
        return static_cast<std::uint8_t>(ToByte(static_cast<std::int16_t>(gray + offset)));
    }

    SplitWeights<4> weights_;
    std::int16_t red_;
    std::int16_t green_;
    std::int16_t blue_;
};

/// The same for weights that are in sum at most 1: then a gray is a byte, and so are the steps of its toning.
class PlainSepia {
  public:
    static constexpr std::int32_t kLargestSum = 1024;

    PlainSepia(Channels weights, Channels offsets)
        : weights_(weights), red_(offsets.red), green_(offsets.green), blue_(offsets.blue) {}

    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        const auto gray = static_cast<std::uint8_t>(weights_.Gray(pixel));
        return {red_.Toned(gray), green_.Toned(gray), blue_.Toned(gray)};
    }

  private:
    struct Offset {
        explicit Offset(std::int32_t offset)
            : down(static_cast<std::uint8_t>(-std::clamp(offset, -255, 0))),
              up(static_cast<std::uint8_t>(std::clamp(offset, 0, 255))), room(static_cast<std::uint8_t>(255 - up)) {}
        KVT_INLINE std::uint8_t Toned(std::uint8_t gray) const {
            const std::uint8_t lowered = Difference(Higher(gray, down), down);
            return static_cast<std::uint8_t>(Lower(lowered, room) + up);
        }
        std::uint8_t down; ///< what is taken off
        std::uint8_t up;   ///< what is added; one of the two is 0
        std::uint8_t room; ///< the largest level that can be raised in full
    };

    SplitWeights<2> weights_;
    Offset red_;
    Offset green_;
    Offset blue_;
};

/// Puts the toned picture in the place of the last one, which it yields; null, with that one kept, when there is none.
REALpictureStruct *ReplaceToned(PictureSepiaData &data) {
    const Channels weights{Truncate(data.redWeight * 1024.0), Truncate(data.greenWeight * 1024.0),
                           Truncate(data.blueWeight * 1024.0)};
    const Channels offsets{data.sepiaRed, data.sepiaGreen, data.sepiaBlue};
    const auto replace = [&](REALpictureStruct *toned) {
        ReleasePicture(data.destinationPicture);
        return data.destinationPicture = toned;
    };
    const auto map = [&](auto op) {
        const Bounds bounds{data.minX, data.minY, data.maxX, data.maxY};
        return MapPicture(data.sourcePicture, NewPicture::SameSize, bounds, op, replace);
    };
    if (weights.red >= 0 && weights.green >= 0 && weights.blue >= 0) {
        const std::int64_t sum = std::int64_t{weights.red} + weights.green + weights.blue;
        if (sum <= PlainSepia::kLargestSum)
            return map(PlainSepia(weights, offsets));
        if (sum <= ModerateSepia::kLargestSum)
            return map(ModerateSepia(weights, offsets));
    }
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

unsigned char PictureSepiaRun(REALobjectStruct *instance) { return ReplaceToned(DataOf(instance)) != nullptr; }

double GetFactorR(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).redWeight; }
double GetFactorG(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).greenWeight; }
double GetFactorB(REALobjectStruct *instance, std::int32_t) { return DataOf(instance).blueWeight; }
void SetFactorR(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).redWeight = value; }
void SetFactorG(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).greenWeight = value; }
void SetFactorB(REALobjectStruct *instance, std::int32_t, double value) { DataOf(instance).blueWeight = value; }

} // namespace kvt
