#pragma once

#include "pixels/area.h"
#include "pixels/inline.h"
#include "pixels/rows.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// How walks write their targets: in portions of rows, and past the caches where a picture is larger than they are. An
/// ordinary store reads the memory that it is going to replace; one past the caches saves that third of the traffic,
/// but what is read again soon should better be in a cache.
namespace kvt {

/// The most pixels of a portion.
inline constexpr std::ptrdiff_t kPortionPixels = 128;

/// From this many pixels of four bytes on, targets are written past the caches.
inline constexpr std::int64_t kPastCachesPixels = std::int64_t{1} << 21;

/// A line of the cache, in bytes.
inline constexpr std::ptrdiff_t kCacheLine = 64;

#if defined(__SSE2__)
inline constexpr bool kWritesPastCaches = true;

/// Whole lines of the cache, both sides at the beginning of one.
KVT_INLINE void StorePastCaches(unsigned char *target, const unsigned char *pixels, std::ptrdiff_t bytes) {
    auto *to = reinterpret_cast<__m128i *>(target);
    const auto *from = reinterpret_cast<const __m128i *>(pixels);
    for (std::ptrdiff_t left = bytes; left > 0; left -= kCacheLine, to += 4, from += 4) {
        _mm_stream_si128(to, _mm_load_si128(from));
        _mm_stream_si128(to + 1, _mm_load_si128(from + 1));
        _mm_stream_si128(to + 2, _mm_load_si128(from + 2));
        _mm_stream_si128(to + 3, _mm_load_si128(from + 3));
    }
}
/// Such stores may be seen late by other threads; this makes them wait.
KVT_INLINE void FinishPastCaches() { _mm_sfence(); }
#else
inline constexpr bool kWritesPastCaches = false;
KVT_INLINE void StorePastCaches(unsigned char *, const unsigned char *, std::ptrdiff_t) {}
KVT_INLINE void FinishPastCaches() {}
#endif

/// Calls produce(row, x, count, pixels) for portions that make up the area: it writes `count` pixels, those from
/// (x, row) on, to `pixels`. That is their place in the target or perhaps, if it `MayPassCaches`, a block beside it, so
/// that what stands there says nothing: for walks that replace whole pixels and are as fast as memory.
template <bool MayPassCaches, class Produce> KVT_INLINE void WriteRows(Rows to, Area area, Produce produce) {
    alignas(kCacheLine) unsigned char block[kPortionPixels * 4];
    const bool pastCaches = kWritesPastCaches && MayPassCaches && area.Pixels() >= kPastCachesPixels;
    for (std::int32_t row = area.top; row < area.bottom; ++row) {
        unsigned char *pixels = to[row];
        std::ptrdiff_t count = 0;
        for (std::ptrdiff_t x = area.left; x < area.right; x += count) {
            unsigned char *target = pixels + x * 4;
            count = std::min(area.right - x, kPortionPixels);
            bool throughBlock = false;
            if (pastCaches) { // whole lines of the cache; what lies before and behind them in a row goes the usual way
                const auto toLine = static_cast<std::ptrdiff_t>(-reinterpret_cast<std::uintptr_t>(target) % kCacheLine);
                if (toLine >= 4) {
                    count = std::min(count, toLine / 4);
                } else if (toLine == 0 && count * 4 >= kCacheLine) {
                    count -= count * 4 % kCacheLine / 4;
                    throughBlock = true;
                }
            }
            produce(row, x, count, throughBlock ? block : target);
            if (throughBlock)
                StorePastCaches(target, block, count * 4);
        }
    }
    if (pastCaches)
        FinishPastCaches();
}

} // namespace kvt
