// Operations that take an instruction by name, written once for three widths. Included by each_level.h alone.
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
KVT_INLINE void FinishStreaming() { _mm_sfence(); }

KVT_INLINE V MinU8(V a, V b) { return As<V>(KVT_OP(min_epu8)(R(a), R(b))); }
KVT_INLINE V MaxU8(V a, V b) { return As<V>(KVT_OP(max_epu8)(R(a), R(b))); }
KVT_INLINE V Min16(V a, V b) { return As<V>(KVT_OP(min_epi16)(R(a), R(b))); }
KVT_INLINE V Max16(V a, V b) { return As<V>(KVT_OP(max_epi16)(R(a), R(b))); }
KVT_INLINE V MinU16(V a, V b) {
#if KVT_VECTOR_BYTES == 16
    return As<V>(_mm_sub_epi16(R(a), _mm_subs_epu16(R(a), R(b))));
#else
    return As<V>(KVT_OP(min_epu16)(R(a), R(b)));
#endif
}
KVT_INLINE V AddSaturatedU8(V a, V b) { return As<V>(KVT_OP(adds_epu8)(R(a), R(b))); }
KVT_INLINE V SubSaturatedU8(V a, V b) { return As<V>(KVT_OP(subs_epu8)(R(a), R(b))); }
KVT_INLINE V AddSaturated16(V a, V b) { return As<V>(KVT_OP(adds_epi16)(R(a), R(b))); }
KVT_INLINE V SubSaturated8(V a, V b) { return As<V>(KVT_OP(subs_epi8)(R(a), R(b))); }
KVT_INLINE V AddSaturatedU16(V a, V b) { return As<V>(KVT_OP(adds_epu16)(R(a), R(b))); }
KVT_INLINE V SubSaturatedU16(V a, V b) { return As<V>(KVT_OP(subs_epu16)(R(a), R(b))); }
/// The upper halves of the products.
KVT_INLINE V MulHighU16(V a, V b) { return As<V>(KVT_OP(mulhi_epu16)(R(a), R(b))); }
/// The sums of two neighboring products of signed 16-bit lanes, in 32 bits.
KVT_INLINE V MulAddPairs(V a, V b) { return As<V>(KVT_OP(madd_epi16)(R(a), R(b))); }

inline constexpr bool kShuffles = kBytes > 16; ///< from SSSE3 on

/// Within each 16 bytes, the lower (or higher) eight bytes of a and b in turn, beginning with a's.
KVT_INLINE V InterleaveLow8(V a, V b) { return As<V>(KVT_OP(unpacklo_epi8)(R(a), R(b))); }
KVT_INLINE V InterleaveHigh8(V a, V b) { return As<V>(KVT_OP(unpackhi_epi8)(R(a), R(b))); }
// Likewise for wider lanes.
KVT_INLINE V InterleaveLow16(V a, V b) { return As<V>(KVT_OP(unpacklo_epi16)(R(a), R(b))); }
KVT_INLINE V InterleaveHigh16(V a, V b) { return As<V>(KVT_OP(unpackhi_epi16)(R(a), R(b))); }
KVT_INLINE V InterleaveLow32(V a, V b) { return As<V>(KVT_OP(unpacklo_epi32)(R(a), R(b))); }
KVT_INLINE V InterleaveHigh32(V a, V b) { return As<V>(KVT_OP(unpackhi_epi32)(R(a), R(b))); }
KVT_INLINE V InterleaveLow64(V a, V b) { return As<V>(KVT_OP(unpacklo_epi64)(R(a), R(b))); }
KVT_INLINE V InterleaveHigh64(V a, V b) { return As<V>(KVT_OP(unpackhi_epi64)(R(a), R(b))); }
/// Within each 16 bytes, a's signed 16-bit lanes and behind them b's, as bytes limited to 0..255.
KVT_INLINE V Pack16(V a, V b) { return As<V>(KVT_OP(packus_epi16)(R(a), R(b))); }

#if KVT_VECTOR_BYTES > 16
/// Within each 16 bytes, byte i becomes byte order[i] of v, or 0 where the highest bit of order[i] is set.
KVT_INLINE V Shuffle(V v, V order) { return As<V>(KVT_OP(shuffle_epi8)(R(v), R(order))); }
#endif

/// The lowest byte of each 32-bit lane, whose other bytes are 0, in all four.
KVT_INLINE V Spread(V v) {
#if KVT_VECTOR_BYTES == 16
    v = v | Left32<8>(v);
    return v | Left32<16>(v);
#else
    alignas(KVT_VECTOR_BYTES) static constexpr auto kLowest = [] {
        struct {
            unsigned char order[KVT_VECTOR_BYTES];
        } table{};
        for (unsigned char byte = 0; byte < KVT_VECTOR_BYTES; ++byte)
            table.order[byte] = byte / 4 % 4 * 4;
        return table;
    }();
    return Shuffle(v, Load(kLowest.order));
#endif
}

KVT_INLINE bool IsZero(V v) {
#if KVT_VECTOR_BYTES == 16
    return _mm_movemask_epi8(_mm_cmpeq_epi8(R(v), _mm_setzero_si128())) == 0xFFFF;
#elif KVT_VECTOR_BYTES == 32
    return _mm256_testz_si256(R(v), R(v)) != 0;
#else
    return _mm512_test_epi32_mask(R(v), R(v)) == 0;
#endif
}

} // namespace kvt::KVT_LEVEL

#undef KVT_VECTOR
#undef KVT_OP
#undef KVT_WHOLE
