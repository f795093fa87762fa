#include "pixels/channel_planes.h"

#include "pixels/instruction_set.h"

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

void TakeStepsApart(const unsigned char *pixels, std::ptrdiff_t first, std::ptrdiff_t end, Plane (&planes)[4]) {
    for (std::ptrdiff_t i = first; i < end; i += 16, pixels += 64) {
        const Bytes a = Load(pixels);
        const Bytes b = Load(pixels + 16);
        const Bytes c = Load(pixels + 32);
        const Bytes d = Load(pixels + 48);
        const Bytes evensFront = Evens(a, b);
        const Bytes evensBack = Evens(c, d);
        const Bytes oddsFront = Odds(a, b);
        const Bytes oddsBack = Odds(c, d);
        Store(planes[0] + i, Evens(evensFront, evensBack));
        Store(planes[1] + i, Evens(oddsFront, oddsBack));
        Store(planes[2] + i, Odds(evensFront, evensBack));
        Store(planes[3] + i, Odds(oddsFront, oddsBack));
    }
}

void JoinSteps(const std::uint8_t *const (&planes)[4], std::ptrdiff_t first, std::ptrdiff_t end,
               unsigned char *pixels) {
    for (std::ptrdiff_t i = first; i < end; i += 16, pixels += 64) {
        const Bytes a = Load(planes[0] + i);
        const Bytes b = Load(planes[1] + i);
        const Bytes c = Load(planes[2] + i);
        const Bytes d = Load(planes[3] + i);
        const Bytes abFront = ZipLow(a, b);
        const Bytes abBack = ZipHigh(a, b);
        const Bytes cdFront = ZipLow(c, d);
        const Bytes cdBack = ZipHigh(c, d);
        Store(pixels, ZipPairsLow(abFront, cdFront));
        Store(pixels + 16, ZipPairsHigh(abFront, cdFront));
        Store(pixels + 32, ZipPairsLow(abBack, cdBack));
        Store(pixels + 48, ZipPairsHigh(abBack, cdBack));
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
KVT_TARGET_AVX2 void TakeStepsApartAvx2(const unsigned char *pixels, std::ptrdiff_t first, std::ptrdiff_t end,
                                        Plane (&planes)[4]) {
    const __m256i byPlace =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    for (std::ptrdiff_t i = first; i < end; i += 32, pixels += 128) {
        const __m256i a = _mm256_shuffle_epi8(Load32(pixels), byPlace);
        const __m256i b = _mm256_shuffle_epi8(Load32(pixels + 32), byPlace);
        const __m256i c = _mm256_shuffle_epi8(Load32(pixels + 64), byPlace);
        const __m256i d = _mm256_shuffle_epi8(Load32(pixels + 96), byPlace);
        const __m256i abFront = _mm256_unpacklo_epi32(a, b);
        const __m256i abBack = _mm256_unpackhi_epi32(a, b);
        const __m256i cdFront = _mm256_unpacklo_epi32(c, d);
        const __m256i cdBack = _mm256_unpackhi_epi32(c, d);
        Store32(planes[0] + i, _mm256_unpacklo_epi64(abFront, cdFront));
        Store32(planes[1] + i, _mm256_unpackhi_epi64(abFront, cdFront));
        Store32(planes[2] + i, _mm256_unpacklo_epi64(abBack, cdBack));
        Store32(planes[3] + i, _mm256_unpackhi_epi64(abBack, cdBack));
    }
}

KVT_TARGET_AVX2 void JoinStepsAvx2(const std::uint8_t *const (&planes)[4], std::ptrdiff_t first, std::ptrdiff_t end,
                                   unsigned char *pixels) {
    for (std::ptrdiff_t i = first; i < end; i += 32, pixels += 128) {
        const __m256i a = Load32(planes[0] + i);
        const __m256i b = Load32(planes[1] + i);
        const __m256i c = Load32(planes[2] + i);
        const __m256i d = Load32(planes[3] + i);
        const __m256i abFront = _mm256_unpacklo_epi8(a, b);
        const __m256i abBack = _mm256_unpackhi_epi8(a, b);
        const __m256i cdFront = _mm256_unpacklo_epi8(c, d);
        const __m256i cdBack = _mm256_unpackhi_epi8(c, d);
        Store32(pixels, _mm256_unpacklo_epi16(abFront, cdFront));
        Store32(pixels + 32, _mm256_unpackhi_epi16(abFront, cdFront));
        Store32(pixels + 64, _mm256_unpacklo_epi16(abBack, cdBack));
        Store32(pixels + 96, _mm256_unpackhi_epi16(abBack, cdBack));
    }
}

bool UsesAvx2() { return ActiveInstructionSet() >= InstructionSet::Avx2; }
#else
constexpr auto TakeStepsApartAvx2 = TakeStepsApart;
constexpr auto JoinStepsAvx2 = JoinSteps;
constexpr bool UsesAvx2() { return false; }
#endif

} // namespace

void TakeApart(const unsigned char *pixels, std::ptrdiff_t count, Plane (&planes)[4]) {
    const auto takeApart = UsesAvx2() ? TakeStepsApartAvx2 : TakeStepsApart;
    const std::ptrdiff_t whole = count / kPlaneStep * kPlaneStep;
    takeApart(pixels, 0, whole, planes);
    if (whole == count)
        return;
    unsigned char rest[kPlaneStep * 4] = {};
    std::memcpy(rest, pixels + whole * 4, static_cast<std::size_t>(count - whole) * 4);
    takeApart(rest, whole, whole + kPlaneStep, planes);
}

void JoinPlanes(const std::uint8_t *const (&planes)[4], unsigned char *pixels, std::ptrdiff_t count) {
    const auto join = UsesAvx2() ? JoinStepsAvx2 : JoinSteps;
    const std::ptrdiff_t whole = count / kPlaneStep * kPlaneStep;
    join(planes, 0, whole, pixels);
    if (whole == count)
        return;
    unsigned char rest[kPlaneStep * 4];
    join(planes, whole, whole + kPlaneStep, rest);
    std::memcpy(pixels + whole * 4, rest, static_cast<std::size_t>(count - whole) * 4);
}

} // namespace kvt
