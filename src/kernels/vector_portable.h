// What vector_x86.h offers, without any processor's instructions. Included by one_level.h alone.
namespace kvt::KVT_LEVEL {

KVT_INLINE void Stream(void *to, V v) { Store(to, v); }
KVT_INLINE void StreamWord(unsigned char *to, std::uint32_t word) { StoreWord(to, word); }
KVT_INLINE void FinishStreaming() {}

KVT_INLINE V Min16(V a, V b) { return As<V>(As<Halves>(a) < As<Halves>(b) ? As<Halves>(a) : As<Halves>(b)); }
KVT_INLINE V Max16(V a, V b) { return As<V>(As<Halves>(a) > As<Halves>(b) ? As<Halves>(a) : As<Halves>(b)); }
KVT_INLINE V AddSaturatedU8(V a, V b) {
    const V sum = a + b;
    return sum | As<V>(sum < a);
}
KVT_INLINE V SubSaturatedU8(V a, V b) { return (a - b) & As<V>(a > b); }
KVT_INLINE V AddSaturated16(V a, V b) {
    const V sum = Add16(a, b);
    const V overflow = As<V>(As<Halves>((a ^ sum) & (b ^ sum)) < 0);
    const V limit = As<V>((As<Halves>(a) >> 15) ^ 0x7FFF);
    return (overflow & limit) | (~overflow & sum);
}
KVT_INLINE V AddSaturatedU16(V a, V b) {
    const V sum = Add16(a, b);
    return sum | As<V>(As<HalvesU>(sum) < As<HalvesU>(a));
}
KVT_INLINE V SubSaturatedU16(V a, V b) {
    return As<V>((As<HalvesU>(a) - As<HalvesU>(b)) & (As<HalvesU>(a) > As<HalvesU>(b)));
}
KVT_INLINE V MulHighU16(V a, V b) {
    const WordsU low = (As<WordsU>(a) & 0xFFFF) * (As<WordsU>(b) & 0xFFFF);
    const WordsU high = (As<WordsU>(a) >> 16) * (As<WordsU>(b) >> 16);
    return As<V>(low >> 16 | (high & 0xFFFF0000u));
}
KVT_INLINE V MulAddPairs(V a, V b) {
    const Words low = (As<Words>(As<WordsU>(a) << 16) >> 16) * (As<Words>(As<WordsU>(b) << 16) >> 16);
    const Words high = (As<Words>(a) >> 16) * (As<Words>(b) >> 16);
    return Add32(As<V>(low), As<V>(high));
}
template <int kLane> KVT_INLINE V Interleave(V a, V b, int from) {
    V result;
    for (int at = 0; at < kBytes; ++at) {
        const int byte = at / 16 * 16 + from + at % 16 / (2 * kLane) * kLane + at % kLane;
        result[at] = at / kLane % 2 ? b[byte] : a[byte];
    }
    return result;
}
KVT_INLINE V InterleaveLow8(V a, V b) { return Interleave<1>(a, b, 0); }
KVT_INLINE V InterleaveHigh8(V a, V b) { return Interleave<1>(a, b, 8); }
KVT_INLINE V InterleaveLow32(V a, V b) { return Interleave<4>(a, b, 0); }
KVT_INLINE V InterleaveHigh32(V a, V b) { return Interleave<4>(a, b, 8); }
KVT_INLINE V Pack16(V a, V b) {
    V result;
    for (int at = 0; at < kBytes; ++at) {
        const int half = at % 16 < 8 ? As<Halves>(a)[at / 16 * 8 + at % 8] : As<Halves>(b)[at / 16 * 8 + at % 8];
        result[at] = static_cast<std::uint8_t>(half < 0 ? 0 : half > 255 ? 255 : half);
    }
    return result;
}
using AllDoubles [[gnu::vector_size(2 * KVT_VECTOR_BYTES)]] = double;
KVT_INLINE Doubles ToDoubles(V v, std::ptrdiff_t first) {
    const auto all = __builtin_convertvector(As<Words>(v), AllDoubles);
    Doubles half;
    std::memcpy(&half, reinterpret_cast<const unsigned char *>(&all) + first, sizeof half);
    return half;
}
KVT_INLINE Doubles LowToDoubles(V v) { return ToDoubles(v, 0); }
KVT_INLINE Doubles HighToDoubles(V v) { return ToDoubles(v, kBytes); }
KVT_INLINE V Truncated(Doubles low, Doubles high) {
    const Doubles halves[] = {low, high};
    AllDoubles all;
    std::memcpy(&all, halves, sizeof all);
    return As<V>(__builtin_convertvector(all, Words));
}
KVT_INLINE void StoreLimited(void *to, FourWords a, FourWords b, FourWords c, FourWords d) {
    auto *byte = static_cast<unsigned char *>(to);
    for (const FourWords &words : {a, b, c, d})
        for (int lane = 0; lane < 4; ++lane)
            *byte++ = static_cast<unsigned char>(words[lane] < 0 ? 0 : words[lane] > 255 ? 255 : words[lane]);
}
KVT_INLINE std::uint32_t HighestBits(V v) {
    std::uint32_t bits = 0;
    for (int lane = 0; lane < kBytes / 4; ++lane)
        bits |= As<WordsU>(v)[lane] >> 31 << lane;
    return bits;
}

} // namespace kvt::KVT_LEVEL
