// Operations that take an instruction by name, written once for three widths. Included by one_level.h alone.
#if KVT_VECTOR_BYTES == 16
#define KVT_VECTOR __m128i
#define KVT_OP(name) _mm_##name
#define KVT_WHOLE(name) _mm_##name##_si128
#elif KVT_VECTOR_BYTES == 32
#define KVT_VECTOR __m256i
#define KVT_OP(name) _mm256_##name
#define KVT_WHOLE(name) _mm256_##name##_si256
#else
#define KVT_VECTOR __m512i
#define KVT_OP(name) _mm512_##name
#define KVT_WHOLE(name) _mm512_##name##_si512
#endif

namespace kvt::KVT_LEVEL {

/// As intrinsics want it.
using Register = KVT_VECTOR;
KVT_INLINE Register R(V v) { return As<Register>(v); }

/// A non-temporal store, to a multiple of kBytes. Other threads may see it late, until FinishStreaming.
KVT_INLINE void Stream(void *to, V v) { KVT_WHOLE(stream)(static_cast<Register *>(to), R(v)); }
KVT_INLINE void StreamWord(unsigned char *to, std::uint32_t word) {
    _mm_stream_si32(reinterpret_cast<int *>(to), static_cast<int>(word));
}
KVT_INLINE void FinishStreaming() { _mm_sfence(); }

KVT_INLINE V Min16(V a, V b) { return As<V>(KVT_OP(min_epi16)(R(a), R(b))); }
KVT_INLINE V Max16(V a, V b) { return As<V>(KVT_OP(max_epi16)(R(a), R(b))); }
KVT_INLINE V AddSaturatedU8(V a, V b) { return As<V>(KVT_OP(adds_epu8)(R(a), R(b))); }
KVT_INLINE V SubSaturatedU8(V a, V b) { return As<V>(KVT_OP(subs_epu8)(R(a), R(b))); }
KVT_INLINE V AddSaturated16(V a, V b) { return As<V>(KVT_OP(adds_epi16)(R(a), R(b))); }
KVT_INLINE V AddSaturatedU16(V a, V b) { return As<V>(KVT_OP(adds_epu16)(R(a), R(b))); }
KVT_INLINE V SubSaturatedU16(V a, V b) { return As<V>(KVT_OP(subs_epu16)(R(a), R(b))); }
/// The upper halves of the products.
KVT_INLINE V MulHighU16(V a, V b) { return As<V>(KVT_OP(mulhi_epu16)(R(a), R(b))); }
/// The sums of two neighboring products of signed 16-bit lanes, in 32 bits.
KVT_INLINE V MulAddPairs(V a, V b) { return As<V>(KVT_OP(madd_epi16)(R(a), R(b))); }

/// Within each 16 bytes, the lower (or higher) eight bytes of a and b in turn, beginning with a's.
KVT_INLINE V InterleaveLow8(V a, V b) { return As<V>(KVT_OP(unpacklo_epi8)(R(a), R(b))); }
KVT_INLINE V InterleaveHigh8(V a, V b) { return As<V>(KVT_OP(unpackhi_epi8)(R(a), R(b))); }
/// Likewise for 32-bit lanes.
KVT_INLINE V InterleaveLow32(V a, V b) { return As<V>(KVT_OP(unpacklo_epi32)(R(a), R(b))); }
KVT_INLINE V InterleaveHigh32(V a, V b) { return As<V>(KVT_OP(unpackhi_epi32)(R(a), R(b))); }
/// Within each 16 bytes, a's signed 16-bit lanes and behind them b's, as bytes limited to 0..255.
KVT_INLINE V Pack16(V a, V b) { return As<V>(KVT_OP(packus_epi16)(R(a), R(b))); }

#if KVT_SHUFFLES
/// Within each 16 bytes, byte i becomes byte order[i] of v, or 0 where the highest bit of order[i] is set.
KVT_INLINE V Shuffle(V v, V order) { return As<V>(KVT_OP(shuffle_epi8)(R(v), R(order))); }
/// Within each 16 bytes, a's signed 32-bit lanes and behind them b's, limited to 16 bits.
KVT_INLINE V Pack32(V a, V b) { return As<V>(KVT_OP(packs_epi32)(R(a), R(b))); }
/// 16 bytes, repeated.
KVT_INLINE V Repeated(const signed char (&bytes)[16]) {
    unsigned char all[kBytes];
    for (std::ptrdiff_t at = 0; at < kBytes; at += 16)
        std::memcpy(all + at, bytes, 16);
    return Load(all);
}
#endif

#if KVT_VECTOR_BYTES == 16
KVT_INLINE Doubles LowToDoubles(V v) { return _mm_cvtepi32_pd(R(v)); }
KVT_INLINE Doubles HighToDoubles(V v) { return _mm_cvtepi32_pd(_mm_shuffle_epi32(R(v), 0xEE)); }
KVT_INLINE V Truncated(Doubles low, Doubles high) {
    return As<V>(_mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high)));
}
#elif KVT_VECTOR_BYTES == 32
KVT_INLINE Doubles LowToDoubles(V v) { return _mm256_cvtepi32_pd(_mm256_castsi256_si128(R(v))); }
KVT_INLINE Doubles HighToDoubles(V v) { return _mm256_cvtepi32_pd(_mm256_extracti128_si256(R(v), 1)); }
KVT_INLINE V Truncated(Doubles low, Doubles high) {
    return As<V>(_mm256_set_m128i(_mm256_cvttpd_epi32(high), _mm256_cvttpd_epi32(low)));
}
#else // under masks: what has none begins with a vector that is not set, and compilers warn of it
using HalfWords [[gnu::vector_size(32)]] = std::int32_t;
KVT_INLINE Doubles LowToDoubles(V v) {
    const HalfWords half = __builtin_shufflevector(As<Words>(v), As<Words>(v), 0, 1, 2, 3, 4, 5, 6, 7);
    return _mm512_maskz_cvtepi32_pd(0xFF, As<__m256i>(half));
}
KVT_INLINE Doubles HighToDoubles(V v) {
    const HalfWords half = __builtin_shufflevector(As<Words>(v), As<Words>(v), 8, 9, 10, 11, 12, 13, 14, 15);
    return _mm512_maskz_cvtepi32_pd(0xFF, As<__m256i>(half));
}
KVT_INLINE V Truncated(Doubles low, Doubles high) {
    return As<V>(__builtin_shufflevector(As<HalfWords>(_mm512_maskz_cvttpd_epi32(0xFF, low)),
                                         As<HalfWords>(_mm512_maskz_cvttpd_epi32(0xFF, high)), 0, 1, 2, 3, 4, 5, 6, 7,
                                         8, 9, 10, 11, 12, 13, 14, 15));
}
#endif

/// Stores sixteen numbers as bytes, each limited to 0..255.
KVT_INLINE void StoreLimited(void *to, FourWords a, FourWords b, FourWords c, FourWords d) {
    const __m128i low = _mm_packs_epi32(As<__m128i>(a), As<__m128i>(b));
    const __m128i high = _mm_packs_epi32(As<__m128i>(c), As<__m128i>(d));
    _mm_storeu_si128(static_cast<__m128i *>(to), _mm_packus_epi16(low, high));
}

/// The highest bit of each 32-bit lane, the first lane's lowest.
KVT_INLINE std::uint32_t HighestBits(V v) {
#if KVT_VECTOR_BYTES == 16
    return static_cast<std::uint32_t>(_mm_movemask_ps(As<__m128>(v)));
#elif KVT_VECTOR_BYTES == 32
    return static_cast<std::uint32_t>(_mm256_movemask_ps(As<__m256>(v)));
#else
    return _mm512_movepi32_mask(R(v));
#endif
}

} // namespace kvt::KVT_LEVEL

#undef KVT_VECTOR
#undef KVT_OP
#undef KVT_WHOLE
