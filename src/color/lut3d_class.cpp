#include "color/lut3d_class.h"

#include "pixels/map_picture.h"
#include "support/instance_data.h"

namespace kvt {
namespace {

constexpr std::int32_t kSpacing = 17;
constexpr std::int32_t kLastPoint = 15;
constexpr std::int32_t kBlueStride = kLutChannels;
constexpr std::int32_t kGreenStride = kBlueStride * static_cast<std::int32_t>(kLutPoints);
constexpr std::int32_t kRedStride = kGreenStride * static_cast<std::int32_t>(kLutPoints);

Lut3DClassData &DataOf(REALobjectStruct *instance) {
    return InstanceData<Lut3DClassData>(instance, gPictureLut3DClass);
}

/// Where a level lies on its axis.
struct GridPosition {
    KVT_INLINE GridPosition(std::int32_t level, std::int32_t stride)
        : lower(level / kSpacing * stride), step(level / kSpacing < kLastPoint ? stride : 0),
          fraction((level % kSpacing) / 17.0) {}
    std::int32_t lower; ///< offset of the grid point at or below
    std::int32_t step;  ///< from there to the next one; 0 at the end of the axis
    double fraction;    ///< 0 up to, not including, 1
};

struct Tetrahedral {
    const double *table;

    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const GridPosition r(pixel.red, kRedStride);
        const GridPosition g(pixel.green, kGreenStride);
        const GridPosition b(pixel.blue, kBlueStride);
        const double *corner = table + r.lower + g.lower + b.lower;
        // The cube between eight grid points is cut into six tetrahedra, by the order of the three fractions. Two of a
        // tetrahedron's corners are the cube's lowest and highest; the others are reached over one axis, then another.
        const double fr = r.fraction;
        const double fg = g.fraction;
        const double fb = b.fraction;
        if (fr > fg) {
            if (fg > fb)
                return Sum(corner, r.step, g.step, b.step, fr, fg, fb);
            if (fr > fb)
                return Sum(corner, r.step, b.step, g.step, fr, fb, fg);
            return Sum(corner, b.step, r.step, g.step, fb, fr, fg);
        }
        if (fb > fg)
            return Sum(corner, b.step, g.step, r.step, fb, fg, fr);
        if (fb > fr)
            return Sum(corner, g.step, b.step, r.step, fg, fb, fr);
        return Sum(corner, g.step, r.step, b.step, fg, fr, fb);
    }

    /// Steps and fractions of the axes, the largest fraction first.
    KVT_INLINE static Rgb Sum(const double *lowest, std::int32_t step1, std::int32_t step2, std::int32_t step3,
                              double fraction1, double fraction2, double fraction3) {
        const double *second = lowest + step1;
        const double *third = second + step2;
        const double *highest = third + step3;
        const auto channel = [&](int x) KVT_INLINE_LAMBDA {
            return ToByte((1.0 - fraction1) * lowest[x] + (fraction1 - fraction2) * second[x] +
                          (fraction2 - fraction3) * third[x] + fraction3 * highest[x]);
        };
        return {channel(0), channel(1), channel(2)};
    }
};

bool InTable(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x) {
    return r < kLutPoints && g < kLutPoints && b < kLutPoints && x < kLutChannels;
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
    data.destinationPicture =
        MapPicture(data.sourcePicture, NewPicture::LikeSource, Bounds{data.minX, data.minY, data.maxX, data.maxY},
                   Tetrahedral{&data.table[0][0][0][0]});
    return data.destinationPicture != nullptr;
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
