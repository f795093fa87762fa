#include "color/methods.h"

#include "host/entries.h"
#include "pixels/open.h"

#include <cstring>

#define KVT_KERNELS "color/counting_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

constexpr std::int32_t kHistogramBytes = 1024;

/// The block in one of the caller's three variables.
struct Block {
    /// The block's counters; null when it has no address or is too short. A block made here has the size asked for.
    unsigned char *Counters() const {
        const bool longEnough = isNew || REALMemoryBlockGetSize(block) >= kHistogramBytes;
        return longEnough ? static_cast<unsigned char *>(REALMemoryBlockGetPtr(block)) : nullptr;
    }
    REALmemoryBlockStruct *block;
    bool isNew;
};

/// A variable without a block is given a new one, if the host makes it.
Block BlockIn(REALmemoryBlockStruct **variable) {
    if (!variable)
        return {nullptr, false};
    const bool isNew = !*variable;
    if (isNew)
        *variable = REALNewMemoryBlock(kHistogramBytes);
    return {*variable, isNew};
}

/// Neighbors count in turn into histograms of their own: they often have the same levels, and a counter that was just
/// written is read again with a delay.
constexpr std::ptrdiff_t kTurns = 8;

/// How often each level occurs in each of a pixel's color bytes, which are numbered from the lowest.
struct Counts {
    std::uint32_t turns[kTurns][3][256];
};

void CountPixels(const Pixels &source, Area area, std::ptrdiff_t lowest, Counts &counts) {
    const std::ptrdiff_t count = std::ptrdiff_t{area.right} - area.left;
    for (std::int32_t row = area.top; row < area.bottom && count > 0; ++row) {
        const unsigned char *colors = source.rows[row] + std::ptrdiff_t{area.left} * 4 + lowest;
        const auto add = [&](std::ptrdiff_t x, std::ptrdiff_t turn) KVT_INLINE_LAMBDA {
            for (std::ptrdiff_t byte = 0; byte < 3; ++byte)
                ++counts.turns[turn][byte][colors[x * 4 + byte]];
        };
        std::ptrdiff_t x = 0;
        for (; x + kTurns <= count; x += kTurns)
            for (std::ptrdiff_t turn = 0; turn < kTurns; ++turn)
                add(x + turn, turn);
        for (; x < count; ++x)
            add(x, x % kTurns);
    }
}

/// Adds a color byte's counts. Counters are the host's memory and may lie at any address.
void Add(unsigned char *counters, const Counts &counts, int byte) {
    for (std::ptrdiff_t level = 0; level < 256; ++level) {
        std::uint32_t counter;
        std::memcpy(&counter, counters + level * 4, sizeof counter);
        for (const auto &turn : counts.turns)
            counter += turn[byte][level];
        std::memcpy(counters + level * 4, &counter, sizeof counter);
    }
}

std::int32_t AddHistograms(REALpictureStruct *picture, const Block &first, const Block &second, const Block &third) {
    if (!first.block || !second.block || !third.block)
        return -1;
    const OpenReader source{picture};
    if (!source)
        return -1;
    unsigned char *reds = first.Counters();
    unsigned char *greens = second.Counters();
    unsigned char *blues = third.Counters();
    if (!reds || !greens || !blues)
        return -1;
    const Area area = AreaOf(*source, kWholePicture);
    const Layout &layout = LayoutOf(*source);
    const int lowest = layout.other == 0 ? 1 : 0;
    Counts counts = {};
    CountPixels(PixelsOf(*source), area, lowest, counts);
    Add(reds, counts, layout.red - lowest);
    Add(greens, counts, layout.green - lowest);
    Add(blues, counts, layout.blue - lowest);
    return static_cast<std::int32_t>(area.Pixels());
}

} // namespace

std::int32_t CountColorKVT(REALpictureStruct *picture, std::uint32_t color) {
    const OpenReader source{picture};
    if (!source)
        return 0;
    return static_cast<std::int32_t>(KVT_SELECT(CountColor)(PixelsOf(*source), AreaOf(*source, kWholePicture), color));
}

void CountColorsKVT(REALpictureStruct *picture, REALmemoryBlockStruct **red, REALmemoryBlockStruct **blue,
                    REALmemoryBlockStruct **green, std::int32_t *count) {
    const Block first = BlockIn(red);
    const Block second = BlockIn(blue);
    const Block third = BlockIn(green);
    const std::int32_t counted = AddHistograms(picture, first, second, third);
    if (count)
        *count = counted;
}

} // namespace kvt
