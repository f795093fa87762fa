#include "color/methods.h"

#include "kernels/picture_class.h"
#include "kernels/rgb.h"
#include "support/memory.h"

#include <iterator>

namespace kvt {
namespace {

/// Grid points an axis that are stored; the first 16 stand for the levels 0, 17, ... 255 and are the ones that count.
constexpr std::uint32_t kGridPoints = 18;
constexpr std::int32_t kGridLevels = 16;
constexpr std::int32_t kGridSpacing = 17;
constexpr std::uint32_t kGridChannels = 3;

/// Outputs by red, green, blue and output channel, on the scale 0..255. Any double will do.
using ColorGrid = double[kGridPoints][kGridPoints][kGridPoints][kGridChannels];

/// Where a level lies on its axis of the grid.
struct GridPosition {
    KVT_INLINE GridPosition(std::int32_t level, std::int32_t stride)
        : lower(level / kGridSpacing * stride), step(level / kGridSpacing < kGridLevels - 1 ? stride : 0),
          fraction((level % kGridSpacing) / 17.0) {}
    std::int32_t lower; ///< offset of the grid point at or below
    std::int32_t step;  ///< from there to the next one; 0 at the end of the axis
    double fraction;    ///< 0 up to, not including, 1
};

/// The plain form, a pixel at a time.
struct Tetrahedral {
    const ColorGrid *grid;

    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const GridPosition r(pixel.red, kGridPoints * kGridPoints * kGridChannels);
        const GridPosition g(pixel.green, kGridPoints * kGridChannels);
        const GridPosition b(pixel.blue, kGridChannels);
        const double *lowest = &(*grid)[0][0][0][0] + r.lower + g.lower + b.lower;
        if (r.fraction > g.fraction) {
            if (g.fraction > b.fraction)
                return Sum(lowest, r, g, b);
            if (r.fraction > b.fraction)
                return Sum(lowest, r, b, g);
            return Sum(lowest, b, r, g);
        }
        if (b.fraction > g.fraction)
            return Sum(lowest, b, g, r);
        if (b.fraction > r.fraction)
            return Sum(lowest, g, b, r);
        return Sum(lowest, g, r, b);
    }

    /// Two of a tetrahedron's corners are the cube's lowest and highest; the others are reached over the axis of the
    /// largest fraction, then over that of the middle one.
    KVT_INLINE static Rgb Sum(const double *lowest, const GridPosition &largest, const GridPosition &middle,
                              const GridPosition &smallest) {
        const double *second = lowest + largest.step;
        const double *third = second + middle.step;
        const double *highest = third + smallest.step;
        const auto channel = [&](int x) KVT_INLINE_LAMBDA {
            return ToByte((1.0 - largest.fraction) * lowest[x] + (largest.fraction - middle.fraction) * second[x] +
                          (middle.fraction - smallest.fraction) * third[x] + smallest.fraction * highest[x]);
        };
        return {channel(0), channel(1), channel(2)};
    }
};

/// A grid point as the target's pixels want it: a number for every byte of a pixel word.
using GridCorner [[gnu::vector_size(32)]] = double;

constexpr std::int32_t kRedStep = kGridLevels * kGridLevels;
constexpr std::int32_t kGreenStep = kGridLevels;
constexpr std::int32_t kBlueStep = 1;
constexpr std::int32_t kToHighest = kRedStep + kGreenStep + kBlueStep; ///< from a cube's lowest corner
/// With the zeros that follow the grid. Steps are taken beyond the end of an axis too: what lies there has weight 0
/// and is finite, so it adds nothing.
constexpr std::int32_t kCorners = kGridLevels * kGridLevels * kGridLevels + kToHighest;

/// What the fast form reads, all from one address: the grid, and the weights of two corners that follow each other by
/// the fractions, in 17ths, that they are the differences of. Aligned by name, since a corner's own alignment depends
/// on the instruction set that code is compiled for.
struct alignas(sizeof(GridCorner)) GridCorners {
    GridCorner corners[kCorners];
    double low[kGridSpacing][kGridSpacing][2];  ///< lowest and second corner, by the largest and the middle fraction
    double high[kGridSpacing][kGridSpacing][2]; ///< third and highest corner, by the middle and the smallest fraction
};

/// False when one of the grid's numbers is not tame. The rest of the corners is zero before.
bool Prepare(const ColorGrid &grid, const Layout &layout, GridCorners &prepared) {
    // Smaller than this, a grid's numbers and their weighted sums fit 32 bits, and may be limited after the truncation.
    constexpr double kTame = 1 << 30;
    constexpr double kOpaque = 1000.0; // becomes 255 in every weighted sum
    bool tame = true;
    GridCorner *corner = prepared.corners;
    for (std::int32_t r = 0; r < kGridLevels; ++r)
        for (std::int32_t g = 0; g < kGridLevels; ++g)
            for (std::int32_t b = 0; b < kGridLevels; ++b) {
                const double *point = grid[r][g][b];
                const auto bytes = layout.InByteOrder(point[0], point[1], point[2], layout.opaque ? kOpaque : 0.0);
                *corner++ = GridCorner{bytes.at[0], bytes.at[1], bytes.at[2], bytes.at[3]};
                for (std::uint32_t x = 0; x < kGridChannels; ++x)
                    tame &= point[x] > -kTame && point[x] < kTame;
            }
    for (int a = 0; a < kGridSpacing; ++a)
        for (int b = 0; b < kGridSpacing; ++b) {
            prepared.low[a][b][0] = 1.0 - a / 17.0;
            prepared.low[a][b][1] = prepared.high[a][b][0] = a / 17.0 - b / 17.0;
            prepared.high[a][b][1] = b / 17.0;
        }
    return tame;
}

} // namespace
} // namespace kvt

#define KVT_KERNELS "color/lut3d_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

/// False, with nothing written, when the fast form does not suit the area or the grid, or the heap refuses. Preparing
/// the grid costs about as much as so many pixels of the plain form, and a block, however few of its pixels a row
/// fills, as much as so many of them.
bool MapFast(const MapJob &job, const ColorGrid &grid) {
    constexpr std::int64_t kWorthwhilePixels = 2048;
    constexpr std::int32_t kWorthwhileWidth = 16;
    if (job.area.Pixels() < kWorthwhilePixels || job.area.right - job.area.left < kWorthwhileWidth)
        return false;
    ClearBuffer<unsigned char> memory(sizeof(GridCorners) + alignof(GridCorners) - 1);
    if (!memory)
        return false;
    const auto first = reinterpret_cast<std::uintptr_t>(memory.data());
    auto *prepared = reinterpret_cast<GridCorners *>((first + alignof(GridCorners) - 1) / alignof(GridCorners) *
                                                     alignof(GridCorners));
    if (!Prepare(grid, job.target.layout, *prepared))
        return false;
    KVT_SELECT(Interpolate)(job, prepared);
    return true;
}

void MapThrough(const MapJob &job, const ColorGrid *grid) {
    if (!MapFast(job, *grid))
        MapEachPixel(job, Tetrahedral{grid});
}

/// The host reads and writes all but the table itself, and hands out a black one.
struct Lut3DClassData {
    PictureFields pictures;
    ColorGrid table;
};
using Data = Lut3DClassData;

#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(Data) == 139992 && offsetof(Data, pictures.bounds.minX) == 8 && offsetof(Data, table) == 24);
#endif

Data &DataOf(REALobjectStruct *instance) { return InstanceData<Data>(instance, gPictureLut3DClass); }

void Lut3DClassConstructor(REALobjectStruct *) {}

void Lut3DClassDestructor(REALobjectStruct *instance) { Release(DataOf(instance).pictures); }

/// Maps the bounds of SourcePicture through the table, interpolated in tetrahedra, into a new DestinationPicture. The
/// old one is dropped first, whatever happens then. 0 (false) when there is no source, it cannot be read, or no picture
/// can be made.
unsigned char Run(REALobjectStruct *instance) {
    Data &data = DataOf(instance);
    ReleasePicture(data.pictures.destination);
    const auto store = [&](REALpictureStruct *mapped) { return data.pictures.destination = mapped; };
    return MapPictureAndKeep(store, data.pictures.source, NewPicture::LikeSource, data.pictures.bounds, MapThrough,
                             &data.table) != nullptr;
}

/// A table entry by grid indices and channel; null outside the table.
double *EntryOf(REALobjectStruct *instance, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x) {
    const bool isInside = r < kGridPoints && g < kGridPoints && b < kGridPoints && x < kGridChannels;
    return isInside ? &DataOf(instance).table[r][g][b][x] : nullptr;
}

double GetPMX(REALobjectStruct *instance, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x) {
    const double *entry = EntryOf(instance, r, g, b, x);
    return entry ? *entry : 0.0;
}

void SetPMX(REALobjectStruct *instance, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x,
            double value) {
    if (double *entry = EntryOf(instance, r, g, b, x))
        *entry = value;
}

// clang-format off

REALpropertyDefinition gProperties[] = {KVT_PICTURE_PROPERTIES(kConsoleSafe)};

REALmethodDefinition gMethods[] = {
    {REALroutine(Lut3DClassDestructor), nullptr, "Close", kConsoleSafe},
    {REALroutine(Run), nullptr, "Run as boolean", kConsoleSafe},
    {REALroutine(GetPMX), REALroutine(SetPMX), "Table(r as UInt32, g as UInt32, b as UInt32, x as UInt32) as double", kConsoleSafe},
};

// clang-format on

} // namespace

REALclassDefinition gPictureLut3DClass = {
    .version = kInterfaceVersion,
    .name = "PictureLut3DKVT",
    .instanceSize = sizeof(Data),
    .constructor = REALroutine(Lut3DClassConstructor),
    .destructor = REALroutine(Lut3DClassDestructor),
    .properties = gProperties,
    .propertyCount = std::size(gProperties),
    .methods = gMethods,
    .methodCount = std::size(gMethods),
    .flags = kHostConsole,
};

} // namespace kvt
