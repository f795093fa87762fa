#include "pixels/channel_planes.h"

#include "pixels/instruction_set.h"
#include "pixels/layout.h"

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kvt {
namespace {

using Bytes = std::uint8_t __attribute__((vector_size(16)));

KVT_INLINE Bytes Load(const std::uint8_t *bytes) {
    Bytes vector;
    std::memcpy(&vector, bytes, sizeof vector);
    return vector;
}

KVT_INLINE void Store(std::uint8_t *bytes, Bytes vector) { std::memcpy(bytes, &vector, sizeof vector); }

KVT_INLINE Bytes Evens(Bytes a, Bytes b) {
    return __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}
KVT_INLINE Bytes Odds(Bytes a, Bytes b) {
    return __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
}
KVT_INLINE Bytes ZipLow(Bytes a, Bytes b) {
    return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
KVT_INLINE Bytes ZipHigh(Bytes a, Bytes b) {
    return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
}
KVT_INLINE Bytes ZipPairsLow(Bytes a, Bytes b) {
    return __builtin_shufflevector(a, b, 0, 1, 16, 17, 2, 3, 18, 19, 4, 5, 20, 21, 6, 7, 22, 23);
}
KVT_INLINE Bytes ZipPairsHigh(Bytes a, Bytes b) {
    return __builtin_shufflevector(a, b, 8, 9, 24, 25, 10, 11, 26, 27, 12, 13, 28, 29, 14, 15, 30, 31);
}

/// Pixels `first` up to, not including, `end` of a block, in whole steps; `pixels` is where they lie.
using StepsApart = void(const unsigned char *pixels, std::ptrdiff_t first, std::ptrdiff_t end, ChannelPlanes &planes);
using StepsJoined = void(const ChannelPlanes &planes, std::ptrdiff_t first, std::ptrdiff_t end, unsigned char *pixels);

template <class From>
void TakeStepsApart(const unsigned char *pixels, std::ptrdiff_t first, std::ptrdiff_t end, ChannelPlanes &planes) {
    for (std::ptrdiff_t i = first; i < end; i += 16, pixels += 64) {
        const Bytes a = Load(pixels);
        const Bytes b = Load(pixels + 16);
        const Bytes c = Load(pixels + 32);
        const Bytes d = Load(pixels + 48);
        const Bytes evensFront = Evens(a, b);
        const Bytes evensBack = Evens(c, d);
        const Bytes oddsFront = Odds(a, b);
        const Bytes oddsBack = Odds(c, d);
        const Bytes bytes[4] = {Evens(evensFront, evensBack), Evens(oddsFront, oddsBack), Odds(evensFront, evensBack),
                                Odds(oddsFront, oddsBack)};
        Store(planes.red + i, bytes[From::kOrder.red]);
        Store(planes.green + i, bytes[From::kOrder.green]);
        Store(planes.blue + i, bytes[From::kOrder.blue]);
    }
}

template <class To>
void JoinSteps(const ChannelPlanes &planes, std::ptrdiff_t first, std::ptrdiff_t end, unsigned char *pixels) {
    for (std::ptrdiff_t i = first; i < end; i += 16, pixels += 64) {
        Bytes bytes[4];
        bytes[To::kOrder.red] = Load(planes.red + i);
        bytes[To::kOrder.green] = Load(planes.green + i);
        bytes[To::kOrder.blue] = Load(planes.blue + i);
        bytes[To::kOrder.fourth] = Bytes{} + To::kOrder.opaque;
        const Bytes front01 = ZipLow(bytes[0], bytes[1]);
        const Bytes back01 = ZipHigh(bytes[0], bytes[1]);
        const Bytes front23 = ZipLow(bytes[2], bytes[3]);
        const Bytes back23 = ZipHigh(bytes[2], bytes[3]);
        Store(pixels, ZipPairsLow(front01, front23));
        Store(pixels + 16, ZipPairsHigh(front01, front23));
        Store(pixels + 32, ZipPairsLow(back01, back23));
        Store(pixels + 48, ZipPairsHigh(back01, back23));
    }
}

#if defined(__x86_64__) || defined(__i386__)
KVT_TARGET_AVX2 KVT_INLINE __m256i Load32(const void *bytes) {
    return _mm256_loadu_si256(static_cast<const __m256i *>(bytes));
}
KVT_TARGET_AVX2 KVT_INLINE void Store32(void *bytes, __m256i vector) {
    _mm256_storeu_si256(static_cast<__m256i *>(bytes), vector);
}

// The same in vectors of 32 bytes. These shuffle within their halves alone, so that half a plane's vector holds the
// bytes of four halves; joining does the same the other way round.

template <class From>
KVT_TARGET_AVX2 void TakeStepsApartAvx2(const unsigned char *pixels, std::ptrdiff_t first, std::ptrdiff_t end,
                                        ChannelPlanes &planes) {
    const __m256i byPlace =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    for (std::ptrdiff_t i = first; i < end; i += 32, pixels += 128) {
        const __m256i a = _mm256_shuffle_epi8(Load32(pixels), byPlace);
        const __m256i b = _mm256_shuffle_epi8(Load32(pixels + 32), byPlace);
        const __m256i c = _mm256_shuffle_epi8(Load32(pixels + 64), byPlace);
        const __m256i d = _mm256_shuffle_epi8(Load32(pixels + 96), byPlace);
        const __m256i front01 = _mm256_unpacklo_epi32(a, b);
        const __m256i front23 = _mm256_unpackhi_epi32(a, b);
        const __m256i back01 = _mm256_unpacklo_epi32(c, d);
        const __m256i back23 = _mm256_unpackhi_epi32(c, d);
        const __m256i bytes[4] = {_mm256_unpacklo_epi64(front01, back01), _mm256_unpackhi_epi64(front01, back01),
                                  _mm256_unpacklo_epi64(front23, back23), _mm256_unpackhi_epi64(front23, back23)};
        Store32(planes.red + i, bytes[From::kOrder.red]);
        Store32(planes.green + i, bytes[From::kOrder.green]);
        Store32(planes.blue + i, bytes[From::kOrder.blue]);
    }
}

template <class To>
KVT_TARGET_AVX2 void JoinStepsAvx2(const ChannelPlanes &planes, std::ptrdiff_t first, std::ptrdiff_t end,
                                   unsigned char *pixels) {
    for (std::ptrdiff_t i = first; i < end; i += 32, pixels += 128) {
        __m256i bytes[4];
        bytes[To::kOrder.red] = Load32(planes.red + i);
        bytes[To::kOrder.green] = Load32(planes.green + i);
        bytes[To::kOrder.blue] = Load32(planes.blue + i);
        bytes[To::kOrder.fourth] = _mm256_set1_epi8(static_cast<char>(To::kOrder.opaque));
        const __m256i front01 = _mm256_unpacklo_epi8(bytes[0], bytes[1]);
        const __m256i back01 = _mm256_unpackhi_epi8(bytes[0], bytes[1]);
        const __m256i front23 = _mm256_unpacklo_epi8(bytes[2], bytes[3]);
        const __m256i back23 = _mm256_unpackhi_epi8(bytes[2], bytes[3]);
        Store32(pixels, _mm256_unpacklo_epi16(front01, front23));
        Store32(pixels + 32, _mm256_unpackhi_epi16(front01, front23));
        Store32(pixels + 64, _mm256_unpacklo_epi16(back01, back23));
        Store32(pixels + 96, _mm256_unpackhi_epi16(back01, back23));
    }
}

bool UsesAvx2() { return ActiveInstructionSet() >= InstructionSet::Avx2; }
#else
template <class From> constexpr auto TakeStepsApartAvx2 = TakeStepsApart<From>;
template <class To> constexpr auto JoinStepsAvx2 = JoinSteps<To>;
constexpr bool UsesAvx2() { return false; }
#endif

template <StepsApart *Steps>
void TakeAllApart(const unsigned char *pixels, std::ptrdiff_t count, ChannelPlanes &planes) {
    const std::ptrdiff_t whole = count / kPlaneStep * kPlaneStep;
    Steps(pixels, 0, whole, planes);
    if (whole == count)
        return;
    unsigned char rest[kPlaneStep * 4] = {};
    std::memcpy(rest, pixels + whole * 4, static_cast<std::size_t>(count - whole) * 4);
    Steps(rest, whole, whole + kPlaneStep, planes);
}

template <StepsJoined *Steps> void JoinAll(const ChannelPlanes &planes, unsigned char *pixels, std::ptrdiff_t count) {
    const std::ptrdiff_t whole = count / kPlaneStep * kPlaneStep;
    Steps(planes, 0, whole, pixels);
    if (whole == count)
        return;
    unsigned char rest[kPlaneStep * 4];
    Steps(planes, whole, whole + kPlaneStep, rest);
    std::memcpy(pixels + whole * 4, rest, static_cast<std::size_t>(count - whole) * 4);
}

} // namespace

TakeApart *TakingApart(std::int32_t format) {
    return WithLayoutOf(format, [](auto layout) -> TakeApart * {
        using From = decltype(layout);
        return UsesAvx2() ? TakeAllApart<TakeStepsApartAvx2<From>> : TakeAllApart<TakeStepsApart<From>>;
    });
}

JoinPlanes *Joining(std::int32_t format) {
    return WithLayoutOf(format, [](auto layout) -> JoinPlanes * {
        using To = decltype(layout);
        return UsesAvx2() ? JoinAll<JoinStepsAvx2<To>> : JoinAll<JoinSteps<To>>;
    });
}

} // namespace kvt
