#pragma once

#include "kernels/area.h"
#include "kernels/rgb.h"

#include <cstddef>
#include <cstdint>

namespace kvt {

/// The pixels of one open picture.
struct Pixels {
    Rows rows;
    Layout layout;
};

inline Pixels PixelsOf(const PictureEditor &editor) { return {RowsOf(editor), LayoutOf(editor)}; }

/// What a kernel that writes pixels works on: the same area of a target and of up to three sources.
struct MapJob {
    Pixels target;
    Pixels sources[3];
    Area area;   ///< inside all pictures, perhaps empty
    bool stream; ///< results are stored past the caches
};

/// A kernel for such a job: its constants are made once a call from what follows the job.
template <class... Parameters> using MapKernel = void(const MapJob &job, Parameters...);

/// From this many pixels on, a picture is larger than most caches. An ordinary store reads the memory that it replaces;
/// a non-temporal one saves that third of the traffic, but what is read again soon is better left in a cache.
inline constexpr std::int64_t kStreamedPixels = std::int64_t{1} << 21;

/// `area` is cut off at the smallest picture. A source is the target itself or other memory.
template <class... Sources> MapJob JobOf(const PictureEditor &target, Area area, const Sources &...sources) {
    Area inside = Inside(target, area);
    ((inside = Inside(sources, inside)), ...);
    const bool inPlace = ((sources.firstRow == target.firstRow) || ...);
    return {PixelsOf(target), {PixelsOf(sources)...}, inside, !inPlace && inside.Pixels() >= kStreamedPixels};
}

/// Arithmetic on three levels, an operation from Rgb to Rgb, for what vectors of pixels do not suit.
template <class Op> KVT_INLINE void MapEachPixel(const MapJob &job, const Op &constants) {
    const Op op = constants; // copies that no store to a pixel can change
    const Area area = job.area;
    const Layout from = job.sources[0].layout;
    const Layout to = job.target.layout;
    for (std::int32_t row = area.top; row < area.bottom && !area.Empty(); ++row) {
        const unsigned char *source = job.sources[0].rows[row];
        unsigned char *target = job.target.rows[row];
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t x = area.left; x < area.right; ++x)
            StoreWord(target + x * 4, Word(to, op(Channels(from, LoadWord(source + x * 4)))));
    }
}

} // namespace kvt
