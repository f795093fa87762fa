#include "pixels/tetrahedral.h"

#include "pixels/walk.h"
#include "support/memory.h"

#include <atomic>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kvt {
namespace {

constexpr std::int32_t kSpacing = 17;
constexpr std::int32_t kLevels = 16; ///< grid points an axis that count

/// Where a level lies on its axis.
struct GridPosition {
    KVT_INLINE GridPosition(std::int32_t level, std::int32_t stride)
        : lower(level / kSpacing * stride), step(level / kSpacing < kLevels - 1 ? stride : 0),
          fraction((level % kSpacing) / 17.0) {}
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

// The fast form works in blocks of pixels: first the places of all corners and weights, in 16-bit numbers and without
// branches, then the sums, four channels at a time.

/// A grid point as the target's pixels want it: a number for every byte of a pixel word.
using Corner [[gnu::vector_size(32)]] = double;
using Sums [[gnu::vector_size(16)]] = std::int32_t;

constexpr std::int32_t kRedStep = kLevels * kLevels;
constexpr std::int32_t kGreenStep = kLevels;
constexpr std::int32_t kBlueStep = 1;
constexpr std::int32_t kToHighest = kRedStep + kGreenStep + kBlueStep; ///< from a cube's lowest corner
/// With the zeros that follow the grid. Steps are taken beyond the end of an axis too: what lies there has weight 0
/// and is finite, so it adds nothing.
constexpr std::int32_t kCorners = kLevels * kLevels * kLevels + kToHighest;

/// Smaller than this, a grid's numbers and their weighted sums fit 32 bits, and may be limited after the truncation.
constexpr double kTame = 1 << 30;

/// Becomes 255 in every weighted sum.
constexpr double kOpaque = 1000.0;

/// From here on the fast form pays: repacking the grid costs about as much as so many pixels of the plain form, and a
/// block, however few of its pixels a row fills, as much as so many of them.
constexpr std::int64_t kWorthwhilePixels = 2048;
constexpr std::int32_t kWorthwhileWidth = 16;

/// The corners of `grid` in the byte order of the layout. False when one of its numbers is not tame.
template <class To> bool Repack(const ColorGrid &grid, Corner *corners) {
    constexpr ByteOrder kOrder = To::kOrder;
    bool tame = true;
    for (std::int32_t r = 0; r < kLevels; ++r)
        for (std::int32_t g = 0; g < kLevels; ++g)
            for (std::int32_t b = 0; b < kLevels; ++b) {
                const double *point = grid[r][g][b];
                Corner &corner = *corners++;
                corner[kOrder.red] = point[0];
                corner[kOrder.green] = point[1];
                corner[kOrder.blue] = point[2];
                corner[kOrder.fourth] = kOrder.opaque ? kOpaque : 0.0;
                for (std::uint32_t x = 0; x < kGridChannels; ++x)
                    tame &= point[x] > -kTame && point[x] < kTame;
            }
    return tame;
}

/// The weights of two corners that follow each other.
using WeightPair [[gnu::vector_size(16)]] = double;

/// The weights by the fractions, in seventeenths, that they are the differences of.
struct CornerWeights {
    WeightPair low[kSpacing][kSpacing];  ///< lowest and second corner, by the largest and the middle fraction
    WeightPair high[kSpacing][kSpacing]; ///< third and highest corner, by the middle and the smallest fraction
};
constexpr CornerWeights kWeights = [] {
    CornerWeights weights = {};
    for (int a = 0; a < kSpacing; ++a) {
        for (int b = 0; b < kSpacing; ++b) {
            weights.low[a][b] = WeightPair{1.0 - a / 17.0, a / 17.0 - b / 17.0};
            weights.high[a][b] = WeightPair{a / 17.0 - b / 17.0, b / 17.0};
        }
    }
    return weights;
}();

constexpr std::int32_t kBlock = 64;

/// Where the pixels of a block find their corners and weights: indices of doubles, so a corner's is four times its
/// number.
struct Block {
    alignas(64) std::uint16_t lowest[kBlock];
    alignas(64) std::uint16_t second[kBlock];
    alignas(64) std::uint16_t third[kBlock];
    alignas(64) std::uint16_t low[kBlock];
    alignas(64) std::uint16_t high[kBlock];
};

constexpr int kFractionShift = 9;
constexpr std::int32_t kStepBits = (1 << kFractionShift) - 1;
static_assert(kRedStep <= kStepBits && kSpacing << kFractionShift <= 0x7FFF);

/// Fills a block. Sorting fractions that carry their axis' step along finds the tetrahedron. Between equal fractions
/// any order will do: the corner that it decides over has weight 0.
template <class From> KVT_INLINE void Locate(const unsigned char *pixels, Block &block) {
    alignas(64) std::int16_t reds[kBlock];
    alignas(64) std::int16_t greens[kBlock];
    alignas(64) std::int16_t blues[kBlock];
    for (std::ptrdiff_t i = 0; i < kBlock; ++i) {
        const Rgb pixel = From::Load(pixels + i * From::kBytes);
        reds[i] = static_cast<std::int16_t>(pixel.red);
        greens[i] = static_cast<std::int16_t>(pixel.green);
        blues[i] = static_cast<std::int16_t>(pixel.blue);
    }
    const auto lower = [](std::int16_t level) KVT_INLINE_LAMBDA { // level / kSpacing
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(level * 241) >> 12);
    };
    const auto key = [](std::int16_t level, std::int16_t point, std::int32_t step) KVT_INLINE_LAMBDA {
        return static_cast<std::int16_t>((level - point * kSpacing) << kFractionShift | step);
    };
    const auto corner = [](std::int32_t number) KVT_INLINE_LAMBDA { return static_cast<std::uint16_t>(number * 4); };
    const auto pair = [](std::int16_t a, std::int16_t b) KVT_INLINE_LAMBDA {
        return static_cast<std::uint16_t>(((a >> kFractionShift) * kSpacing + (b >> kFractionShift)) * 2);
    };
    for (std::ptrdiff_t i = 0; i < kBlock; ++i) {
        const std::int16_t r = lower(reds[i]);
        const std::int16_t g = lower(greens[i]);
        const std::int16_t b = lower(blues[i]);
        const std::int16_t red = key(reds[i], r, kRedStep);
        const std::int16_t green = key(greens[i], g, kGreenStep);
        const std::int16_t blue = key(blues[i], b, kBlueStep);
        const std::int16_t smaller = Lower(red, green);
        const std::int16_t larger = Higher(red, green);
        const std::int16_t smallest = Lower(smaller, blue);
        const std::int16_t middle = Higher(smaller, Lower(larger, blue));
        const std::int16_t largest = Higher(larger, blue);
        const auto lowest = static_cast<std::int16_t>(r * kRedStep + g * kGreenStep + b * kBlueStep);
        block.lowest[i] = corner(lowest);
        block.second[i] = corner(lowest + (largest & kStepBits));
        block.third[i] = corner(lowest + kToHighest - (smallest & kStepBits));
        block.low[i] = pair(largest, middle);
        block.high[i] = pair(middle, smallest);
    }
}

/// Stores the four pixels whose bytes are the sums, each limited to 0..255.
KVT_INLINE void StoreLimited(unsigned char *pixels, Sums first, Sums second, Sums third, Sums fourth) {
#if defined(__SSE2__)
    const auto pack = [](Sums a, Sums b) KVT_INLINE_LAMBDA {
        return _mm_packs_epi32(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b));
    };
    _mm_storeu_si128(reinterpret_cast<__m128i *>(pixels), _mm_packus_epi16(pack(first, second), pack(third, fourth)));
#else
    for (const Sums &sums : {first, second, third, fourth})
        for (int byte = 0; byte < 4; ++byte)
            *pixels++ = static_cast<unsigned char>(ToByte(sums[byte]));
#endif
}

/// The vector that begins at a double.
template <class Vector> KVT_INLINE const Vector &At(const double *first) {
    return *reinterpret_cast<const Vector *>(first);
}

/// The first `count` pixels of a block, in fours: up to three more are written.
KVT_INLINE void StoreBlock(unsigned char *pixels, const Block &block, std::ptrdiff_t count, const Corner *corners) {
    const auto *grid = reinterpret_cast<const double *>(corners);
    const auto *lowWeights = reinterpret_cast<const double *>(&kWeights);
    const double *highWeights = lowWeights + sizeof kWeights.low / sizeof(double);
    const auto sums = [&](std::ptrdiff_t i) KVT_INLINE_LAMBDA {
        // One pixel's places are loaded after another's sum: those of all four would not fit the registers.
        std::atomic_signal_fence(std::memory_order_acq_rel);
        const double *lowest = grid + block.lowest[i];
        const WeightPair &lowPair = At<WeightPair>(lowWeights + block.low[i]);
        const WeightPair &highPair = At<WeightPair>(highWeights + block.high[i]);
        // Loading a pair once and shuffling it twice takes less than loading each weight into four places.
        const Corner low = __builtin_shufflevector(lowPair, lowPair, 0, 1, 0, 1);
        const Corner high = __builtin_shufflevector(highPair, highPair, 0, 1, 0, 1);
        const Corner weight1 = __builtin_shufflevector(low, low, 0, 0, 2, 2);
        const Corner weight2 = __builtin_shufflevector(low, low, 1, 1, 3, 3);
        const Corner weight3 = __builtin_shufflevector(high, high, 0, 0, 2, 2);
        const Corner weight4 = __builtin_shufflevector(high, high, 1, 1, 3, 3);
        const Corner sum = weight1 * At<Corner>(lowest) + weight2 * At<Corner>(grid + block.second[i]) +
                           weight3 * At<Corner>(grid + block.third[i]) +
                           weight4 * At<Corner>(lowest + std::ptrdiff_t{kToHighest} * 4);
        return __builtin_convertvector(sum, Sums);
    };
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        const Sums pixel1 = sums(i);
        const Sums pixel2 = sums(i + 1);
        const Sums pixel3 = sums(i + 2);
        StoreLimited(pixels + i * 4, pixel1, pixel2, pixel3, sums(i + 3));
    }
}

template <class From> void MapBlocks(Rows from, Rows to, Area area, const Corner *corners) {
    AtActiveLevel([=]() KVT_INLINE_LAMBDA {
        Block block;
        alignas(64) unsigned char rest[kBlock * 4] = {};
        for (std::int32_t row = area.top; row < area.bottom; ++row) {
            for (std::int32_t x = area.left; x < area.right; x += kBlock) {
                const unsigned char *source = from[row] + std::ptrdiff_t{x} * 4;
                unsigned char *target = to[row] + std::ptrdiff_t{x} * 4;
                const std::int32_t count = Lower(area.right - x, kBlock);
                const bool whole = count == kBlock;
                if (!whole)
                    std::memcpy(rest, source, static_cast<std::size_t>(count) * 4);
                Locate<From>(whole ? source : rest, block);
                StoreBlock(whole ? target : rest, block, count, corners);
                if (!whole)
                    std::memcpy(target, rest, static_cast<std::size_t>(count) * 4);
            }
        }
    });
}

/// False, with nothing written, when the fast form does not suit the area or the grid, or the heap refuses.
bool MapFast(const PictureEditor &source, const PictureEditor &target, Area area, const ColorGrid &grid) {
    if (area.Pixels() < kWorthwhilePixels || area.right - area.left < kWorthwhileWidth)
        return false;
    ClearBuffer<unsigned char> memory((kCorners + 1) * sizeof(Corner));
    if (!memory)
        return false;
    const auto first = reinterpret_cast<std::uintptr_t>(memory.data());
    auto *corners = reinterpret_cast<Corner *>((first + sizeof(Corner) - 1) / sizeof(Corner) * sizeof(Corner));
    const auto repack = [&](auto to) { return Repack<decltype(to)>(grid, corners); };
    if (!WithLayout(target, repack))
        return false;
    WithLayout(source, [&](auto from) { MapBlocks<decltype(from)>(RowsOf(source), RowsOf(target), area, corners); });
    return true;
}

} // namespace

void Map(const PictureEditor &source, const PictureEditor &target, Area area, ThroughGrid through) {
    const Area inside = Inside(source, Inside(target, area));
    if (!MapFast(source, target, inside, *through.grid))
        Map(source, target, inside, Tetrahedral{through.grid});
}

} // namespace kvt
