// Compiled once a level, each time with the options that allow its vectors; see bench/CMakeLists.txt.
#include "bench/limits/loops.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace bench {
namespace {

#if defined(__AVX512F__)
using V = __m512i;
void Stream(V *to, V v) { _mm512_stream_si512(to, v); }
#elif defined(__AVX2__)
using V = __m256i;
void Stream(V *to, V v) { _mm256_stream_si256(to, v); }
#elif defined(__SSE2__)
using V = __m128i;
void Stream(V *to, V v) { _mm_stream_si128(to, v); }
#else
using V [[gnu::vector_size(16), gnu::may_alias]] = unsigned char;
void Stream(V *to, V v) { *to = v; }
#endif

constexpr std::size_t kAhead = 1024; ///< bytes

/// In each step `kRead` vectors of every source are read, out of four that a whole picture has, and `kWritten` stored.
template <std::size_t kSources, std::size_t kRead, std::size_t kWritten, bool kLarge, bool kStream = kLarge>
void Pass(const unsigned char *const *sources, std::size_t bytes, unsigned char *target) {
    const volatile V *from[kSources]; // volatile, for what is read and not stored to be read all the same
    for (std::size_t source = 0; source < kSources; ++source)
        from[source] = reinterpret_cast<const volatile V *>(sources[source]);
    auto *to = reinterpret_cast<V *>(target);
    for (std::size_t at = 0; at < bytes / sizeof(V) * kRead / 4; at += kRead, to += kWritten) {
        V read[kSources][kRead];
        for (std::size_t source = 0; source < kSources; ++source)
            for (std::size_t i = 0; i < kRead; ++i)
                read[source][i] = from[source][at + i];
        if constexpr (kLarge) // what comes out of memory is asked for ahead
            for (std::size_t source = 0; source < kSources; ++source)
                for (std::size_t line = 0; line < kRead * sizeof(V); line += 64)
                    __builtin_prefetch(sources[source] + at * sizeof(V) + line + kAhead);
        for (std::size_t i = 0; i < kWritten; ++i)
            if constexpr (kStream)
                Stream(to + i, read[0][i % kRead]);
            else
                to[i] = read[0][i % kRead];
    }
#if defined(__SSE2__)
    if constexpr (kStream)
        _mm_sfence();
#endif
}

template <bool kLarge>
constexpr LoopFunction *kPasses[] = {
    Pass<1, 4, 0, kLarge>,        Pass<1, 4, 4, kLarge>, Pass<2, 4, 4, kLarge>, Pass<3, 4, 4, kLarge>,
    Pass<2, 4, 4, kLarge, false>, Pass<1, 4, 3, kLarge>, Pass<1, 3, 4, kLarge>,
};

} // namespace

LoopFunction *KVT_LOOPS(Loop loop, bool large) {
    const auto index = static_cast<std::size_t>(loop);
    return large ? kPasses<true>[index] : kPasses<false>[index];
}

} // namespace bench
