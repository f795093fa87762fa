// The vector of a level: operations that compilers know for vectors of any width. Those that need a processor's
// instructions by name are in vector_x86.h and, in plain code, in vector_portable.h. Included by one_level.h alone.
// "8", "16" and "32" in a name are the bits of a lane, U says that lanes are unsigned. A mask has all or none of a
// lane's bits set.
namespace kvt::KVT_LEVEL {

inline constexpr std::ptrdiff_t kBytes = KVT_VECTOR_BYTES;

/// A vector, as bytes; &, |, ^ and ~ work on its bits. Lanes are little-endian.
using V [[gnu::vector_size(KVT_VECTOR_BYTES)]] = std::uint8_t;
using HalvesU [[gnu::vector_size(KVT_VECTOR_BYTES)]] = std::uint16_t;
using Halves [[gnu::vector_size(KVT_VECTOR_BYTES)]] = std::int16_t;
using WordsU [[gnu::vector_size(KVT_VECTOR_BYTES)]] = std::uint32_t;
using Words [[gnu::vector_size(KVT_VECTOR_BYTES)]] = std::int32_t;
using Singles [[gnu::vector_size(KVT_VECTOR_BYTES)]] = float;
using Doubles [[gnu::vector_size(KVT_VECTOR_BYTES)]] = double;

/// The same bits as lanes of another kind.
template <class To, class From> KVT_INLINE To As(From v) { return reinterpret_cast<To>(v); }

KVT_INLINE V Load(const void *from) {
    V v;
    std::memcpy(&v, from, sizeof v);
    return v;
}
KVT_INLINE void Store(void *to, V v) { std::memcpy(to, &v, sizeof v); }

KVT_INLINE V Zero() { return V{}; }
KVT_INLINE V All8(int byte) { return V{} + static_cast<std::uint8_t>(byte); }
KVT_INLINE V All16(int half) { return As<V>(HalvesU{} + static_cast<std::uint16_t>(half)); }
KVT_INLINE V All32(std::uint32_t word) { return As<V>(WordsU{} + word); }

KVT_INLINE V Add16(V a, V b) { return As<V>(As<HalvesU>(a) + As<HalvesU>(b)); }
KVT_INLINE V Sub16(V a, V b) { return As<V>(As<HalvesU>(a) - As<HalvesU>(b)); }
KVT_INLINE V Add32(V a, V b) { return As<V>(As<WordsU>(a) + As<WordsU>(b)); }
KVT_INLINE V Sub32(V a, V b) { return As<V>(As<WordsU>(a) - As<WordsU>(b)); }
KVT_INLINE V MulLow16(V a, V b) { return As<V>(As<HalvesU>(a) * As<HalvesU>(b)); }
KVT_INLINE V Equal8(V a, V b) { return As<V>(a == b); }
KVT_INLINE V Equal32(V a, V b) { return As<V>(As<WordsU>(a) == As<WordsU>(b)); }
KVT_INLINE V Less32(V a, V b) { return As<V>(As<Words>(a) < As<Words>(b)); }

KVT_INLINE V MinU8(V a, V b) { return a < b ? a : b; }
KVT_INLINE V MaxU8(V a, V b) { return a > b ? a : b; }

// Shifts by less than a lane's bits.
template <int kBits> KVT_INLINE V Left16(V v) { return As<V>(As<HalvesU>(v) << kBits); }
template <int kBits> KVT_INLINE V Right16(V v) { return As<V>(As<HalvesU>(v) >> kBits); }
template <int kBits> KVT_INLINE V Left32(V v) { return As<V>(As<WordsU>(v) << kBits); }
template <int kBits> KVT_INLINE V Right32(V v) { return As<V>(As<WordsU>(v) >> kBits); }
template <int kBits> KVT_INLINE V RightSigned32(V v) { return As<V>(As<Words>(v) >> kBits); }
KVT_INLINE V Left32By(V v, int bits) { return As<V>(As<WordsU>(v) << bits); }
KVT_INLINE V Right32By(V v, int bits) { return As<V>(As<WordsU>(v) >> bits); }

/// The even bytes as 16-bit lanes, and the odd ones.
KVT_INLINE V Evens(V v) { return v & All32(0x00FF00FF); }
KVT_INLINE V Odds(V v) { return Right16<8>(v); }

/// Numbers of signed 32-bit lanes, and those lanes again, truncated toward zero. Beyond 32 bits any lane may result.
/// The doubles of the lower half and of the upper half are apart: LowToDoubles, HighToDoubles and Truncated of two
/// stand with the instructions.
KVT_INLINE Singles ToSingles(V v) { return __builtin_convertvector(As<Words>(v), Singles); }
KVT_INLINE V Truncated(Singles numbers) { return As<V>(__builtin_convertvector(numbers, Words)); }

/// Two 16-bit lanes in every 32 bits.
KVT_INLINE V Pairs(int low, int high) {
    return All32(static_cast<std::uint32_t>(high) << 16 | (static_cast<std::uint32_t>(low) & 0xFFFF));
}
/// A value a byte of a pixel, as 16-bit lanes of one pixel after the other.
KVT_INLINE V PixelLanes(const Layout::ByteOrder<std::int32_t> &values) {
    HalvesU lanes;
    for (int lane = 0; lane < kBytes / 2; ++lane)
        lanes[lane] = static_cast<std::uint16_t>(values.at[lane % 4]);
    return As<V>(lanes);
}

/// Four 32-bit lanes, whatever the level.
using FourWords [[gnu::vector_size(16)]] = std::int32_t;

} // namespace kvt::KVT_LEVEL
