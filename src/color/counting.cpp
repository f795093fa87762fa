#include "color/counting.h"

#include "host/entries.h"
#include "pixels/open.h"
#include "pixels/walk.h"

#include <cstring>

namespace kvt {
namespace {

constexpr std::int32_t kHistogramBytes = 1024;

struct Histograms {
    std::uint32_t red[256];
    std::uint32_t green[256];
    std::uint32_t blue[256];
};

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
constexpr std::size_t kTurns = 4;

/// Counters are the host's memory and may lie at any address.
void Add(unsigned char *counters, const Histograms (&counts)[kTurns], std::uint32_t (Histograms::*channel)[256]) {
    for (std::ptrdiff_t level = 0; level < 256; ++level) {
        std::uint32_t counter;
        std::memcpy(&counter, counters + level * 4, sizeof counter);
        for (const Histograms &histograms : counts)
            counter += (histograms.*channel)[level];
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
    Histograms counts[kTurns] = {};
    ForEach<kTurns>(*source, area, [&](Rgb pixel, std::size_t turn) KVT_INLINE_LAMBDA {
        ++counts[turn].red[pixel.red];
        ++counts[turn].green[pixel.green];
        ++counts[turn].blue[pixel.blue];
    });
    Add(reds, counts, &Histograms::red);
    Add(greens, counts, &Histograms::green);
    Add(blues, counts, &Histograms::blue);
    return static_cast<std::int32_t>(area.Pixels());
}

} // namespace

std::int32_t CountColorKVT(REALpictureStruct *picture, std::uint32_t color) {
    const OpenReader source{picture};
    if (!source)
        return 0;
    return static_cast<std::int32_t>(Count(*source, AreaOf(*source, kWholePicture), IsColor{RgbOfColor(color)}));
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
