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

/// One of the caller's three variables, and what is known of the block in it.
struct Block {
    explicit Block(REALmemoryBlockStruct **variable) {
        if (!variable)
            return;
        if (!*variable) {
            *variable = REALNewMemoryBlock(kHistogramBytes);
            isNew = true;
        }
        block = *variable;
    }
    /// The block's counters; null when it has no address or is too short. A block made here has the size asked for.
    unsigned char *Counters() const {
        const bool longEnough = isNew || REALMemoryBlockGetSize(block) >= kHistogramBytes;
        return longEnough ? static_cast<unsigned char *>(REALMemoryBlockGetPtr(block)) : nullptr;
    }
    REALmemoryBlockStruct *block = nullptr;
    bool isNew = false;
};

/// Counters are the host's memory and may lie at any address.
void Add(unsigned char *counters, const std::uint32_t (&counts)[256]) {
    for (std::ptrdiff_t level = 0; level < 256; ++level) {
        std::uint32_t counter;
        std::memcpy(&counter, counters + level * 4, sizeof counter);
        counter += counts[level];
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
    Histograms histograms = {};
    ForEach(*source, area, [&](Rgb pixel) {
        ++histograms.red[pixel.red];
        ++histograms.green[pixel.green];
        ++histograms.blue[pixel.blue];
    });
    Add(reds, histograms.red);
    Add(greens, histograms.green);
    Add(blues, histograms.blue);
    return static_cast<std::int32_t>(area.Pixels());
}

} // namespace

std::int32_t CountColorKVT(REALpictureStruct *picture, std::uint32_t color) {
    const OpenReader source{picture};
    if (!source)
        return 0;
    const auto hasColor = [search = RgbOfColor(color)](Rgb pixel) KVT_INLINE_LAMBDA { return pixel == search; };
    return static_cast<std::int32_t>(Count(*source, AreaOf(*source, kWholePicture), hasColor));
}

void CountColorsKVT(REALpictureStruct *picture, REALmemoryBlockStruct **red, REALmemoryBlockStruct **blue,
                    REALmemoryBlockStruct **green, std::int32_t *count) {
    const Block first{red};
    const Block second{blue};
    const Block third{green};
    const std::int32_t counted = AddHistograms(picture, first, second, third);
    if (count)
        *count = counted;
}

} // namespace kvt
