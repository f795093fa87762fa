#include "pixels/packed_rgb.h"

#include "pixels/area.h"
#include "pixels/instruction_set.h"
#include "pixels/layout.h"
#include "pixels/rows.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kvt {
namespace {

/// Converts a row of `count` pixels.
using RowKernel = void(const unsigned char *from, unsigned char *to, std::ptrdiff_t count);

template <class Layout> void PackPixels(const unsigned char *from, unsigned char *to, std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; ++x)
        PackedRgb::Store(to + x * kPackedBytes, Layout::Load(from + x * Layout::kBytes));
}

template <class Layout> void UnpackPixels(const unsigned char *from, unsigned char *to, std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; ++x)
        Layout::Store(to + x * Layout::kBytes, PackedRgb::Load(from + x * kPackedBytes));
}

#if defined(__x86_64__) || defined(__i386__)

/// A step converts four pixels. Of the 16 packed bytes that it loads or stores, four belong to the next pixels; so
/// there must be six pixels left in the row.
constexpr std::ptrdiff_t kStep = 4;
constexpr std::ptrdiff_t kPixelsOfStep = 6;

KVT_INLINE __m128i Load(const unsigned char *bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
}
KVT_INLINE void Store(unsigned char *bytes, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes), value);
}

/// The fourth bytes become 0.
KVT_INLINE __m128i RedAndBlueSwapped(__m128i words) {
    const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(words, 0xB1), 0xB1);
    return _mm_or_si128(_mm_and_si128(words, _mm_set1_epi32(0x00FF00)),
                        _mm_and_si128(halves, _mm_set1_epi32(0xFF00FF)));
}

/// Words of a layout with the channels where AlphaHigh has them, the fourth byte being anything.
template <class Layout> KVT_INLINE __m128i ToHigh(__m128i words) {
    if constexpr (Layout::kRedShift > Layout::kBlueShift)
        return RedAndBlueSwapped(words);
    else
        return _mm_srli_epi32(words, Layout::kRedShift);
}
/// The way back. Fourth bytes of 0 stay 0.
template <class Layout> KVT_INLINE __m128i FromHigh(__m128i words) {
    if constexpr (Layout::kRedShift > Layout::kBlueShift)
        return RedAndBlueSwapped(words);
    else
        return _mm_slli_epi32(words, Layout::kRedShift);
}

// Without byte shuffles: first the pixels of each half of a vector move together, then the halves.

template <class Layout> void PackRowBaseline(const unsigned char *from, unsigned char *to, std::ptrdiff_t count) {
    const __m128i even = _mm_setr_epi32(0xFFFFFF, 0, 0xFFFFFF, 0);
    const __m128i odd = _mm_slli_epi64(even, 24);
    for (; count >= kPixelsOfStep; count -= kStep, from += kStep * 4, to += kStep * kPackedBytes) {
        const __m128i words = ToHigh<Layout>(Load(from));
        const __m128i pairs = _mm_or_si128(_mm_and_si128(words, even), _mm_and_si128(_mm_srli_epi64(words, 8), odd));
        Store(to, _mm_or_si128(_mm_move_epi64(pairs), _mm_slli_si128(_mm_srli_si128(pairs, 8), 6)));
    }
    PackPixels<Layout>(from, to, count);
}

template <class Layout> void UnpackRowBaseline(const unsigned char *from, unsigned char *to, std::ptrdiff_t count) {
    const __m128i even = _mm_setr_epi32(0xFFFFFF, 0, 0xFFFFFF, 0);
    const __m128i odd = _mm_slli_epi64(even, 32);
    const __m128i opaque = _mm_set1_epi32(static_cast<std::int32_t>(Layout::kOpaqueBits));
    for (; count >= kPixelsOfStep; count -= kStep, from += kStep * kPackedBytes, to += kStep * 4) {
        const __m128i packed = Load(from);
        const __m128i pairs = _mm_unpacklo_epi64(packed, _mm_srli_si128(packed, 6));
        const __m128i words = _mm_or_si128(_mm_and_si128(pairs, even), _mm_and_si128(_mm_slli_epi64(pairs, 8), odd));
        Store(to, _mm_or_si128(FromHigh<Layout>(words), opaque));
    }
    UnpackPixels<Layout>(from, to, count);
}

/// Where each byte comes from in one shuffle; -1 gives 0.
struct alignas(16) Shuffle {
    signed char from[16];
};

template <class Layout> constexpr Shuffle PackingShuffle() {
    Shuffle shuffle = {{-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}};
    for (std::ptrdiff_t pixel = 0; pixel < kStep; ++pixel) {
        shuffle.from[pixel * 3] = static_cast<signed char>(pixel * 4 + Layout::kRedShift / 8);
        shuffle.from[pixel * 3 + 1] = static_cast<signed char>(pixel * 4 + Layout::kGreenShift / 8);
        shuffle.from[pixel * 3 + 2] = static_cast<signed char>(pixel * 4 + Layout::kBlueShift / 8);
    }
    return shuffle;
}

template <class Layout> constexpr Shuffle UnpackingShuffle() {
    Shuffle shuffle = {{-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}};
    for (std::ptrdiff_t pixel = 0; pixel < kStep; ++pixel) {
        shuffle.from[pixel * 4 + Layout::kRedShift / 8] = static_cast<signed char>(pixel * 3);
        shuffle.from[pixel * 4 + Layout::kGreenShift / 8] = static_cast<signed char>(pixel * 3 + 1);
        shuffle.from[pixel * 4 + Layout::kBlueShift / 8] = static_cast<signed char>(pixel * 3 + 2);
    }
    return shuffle;
}

template <class Layout>
KVT_TARGET_AVX2 void PackRowAvx2(const unsigned char *from, unsigned char *to, std::ptrdiff_t count) {
    static constexpr Shuffle kShuffle = PackingShuffle<Layout>();
    const __m128i shuffle = _mm_load_si128(reinterpret_cast<const __m128i *>(kShuffle.from));
    for (; count >= kPixelsOfStep; count -= kStep, from += kStep * 4, to += kStep * kPackedBytes)
        Store(to, _mm_shuffle_epi8(Load(from), shuffle));
    PackPixels<Layout>(from, to, count);
}

template <class Layout>
KVT_TARGET_AVX2 void UnpackRowAvx2(const unsigned char *from, unsigned char *to, std::ptrdiff_t count) {
    static constexpr Shuffle kShuffle = UnpackingShuffle<Layout>();
    const __m128i shuffle = _mm_load_si128(reinterpret_cast<const __m128i *>(kShuffle.from));
    const __m128i opaque = _mm_set1_epi32(static_cast<std::int32_t>(Layout::kOpaqueBits));
    for (; count >= kPixelsOfStep; count -= kStep, from += kStep * kPackedBytes, to += kStep * 4)
        Store(to, _mm_or_si128(_mm_shuffle_epi8(Load(from), shuffle), opaque));
    UnpackPixels<Layout>(from, to, count);
}

// Wider vectors were measured not to be faster.
template <class Layout> RowKernel *PackKernel() {
    return ActiveInstructionSet() == InstructionSet::Baseline ? PackRowBaseline<Layout> : PackRowAvx2<Layout>;
}
template <class Layout> RowKernel *UnpackKernel() {
    return ActiveInstructionSet() == InstructionSet::Baseline ? UnpackRowBaseline<Layout> : UnpackRowAvx2<Layout>;
}

#else

template <class Layout> RowKernel *PackKernel() { return PackPixels<Layout>; }
template <class Layout> RowKernel *UnpackKernel() { return UnpackPixels<Layout>; }

#endif

} // namespace

void PackRgb(const PictureEditor &source, unsigned char *packed) {
    RowKernel *pack = WithLayout(source, [](auto layout) { return PackKernel<decltype(layout)>(); });
    const Area area = AreaOf(source, kWholePicture);
    if (area.Empty())
        return;
    const Rows rows = RowsOf(source);
    for (std::int32_t row = 0; row < area.bottom; ++row, packed += area.right * kPackedBytes)
        pack(rows[row], packed, area.right);
}

void UnpackRgb(const unsigned char *packed, std::int32_t width, std::int32_t height, const PictureEditor &target) {
    RowKernel *unpack = WithLayout(target, [](auto layout) { return UnpackKernel<decltype(layout)>(); });
    const Area area = AreaOf(target, Rectangle{0, 0, width, height});
    if (area.Empty())
        return;
    const Rows rows = RowsOf(target);
    for (std::int32_t row = 0; row < area.bottom; ++row, packed += width * kPackedBytes)
        unpack(packed, rows[row], area.right);
}

} // namespace kvt
