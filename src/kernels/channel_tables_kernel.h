namespace kvt::KVT_LEVEL {

/// The tables of a pixel's bytes but the other one, in their order. The other byte is the lowest or the highest one,
/// in all layouts.
struct BytesTables {
    const unsigned char *of[3];
    int first; ///< the byte that the first table is for

    BytesTables(const Layout &layout, const ChannelTables &tables) : first(layout.other == 0 ? 1 : 0) {
        of[layout.red - first] = tables.red.levels;
        of[layout.green - first] = tables.green.levels;
        of[layout.blue - first] = tables.blue.levels;
    }
};

#if !defined(KVT_PORTABLE_BYTES) && KVT_VECTOR_BYTES > 16
/// Keeps loads through `at` where they stand: there are more of them than registers, and compilers that move them out
/// of a loop store them again.
template <class T> KVT_INLINE const T *InMemory(const T *at) {
    __asm__ volatile("" : "+r"(at));
    return at;
}
#endif

#if defined(KVT_PORTABLE_BYTES) || KVT_VECTOR_BYTES == 16
/// Looks words up that hold the new level at its place and, in the first table, the opaque byte.
struct ThroughTables : Reads<1> {
    struct Prepared {
        std::uint32_t words[3][256];
        int shift;

        Prepared(const Layout &layout, const ChannelTables &tables) {
            const BytesTables bytes(layout, tables);
            shift = 8 * bytes.first;
            for (int table = 0; table < 3; ++table)
                for (int level = 0; level < 256; ++level)
                    words[table][level] = std::uint32_t{bytes.of[table][level]} << (8 * table + shift) |
                                          (table == 0 ? layout.OpaqueBits() : 0);
        }
    };
    const Prepared &prepared;

    KVT_INLINE V operator()(V v) const {
        std::uint32_t words[std::size_t{kBytes} / 4];
        Store(words, Right32By(v, prepared.shift));
        WordsU result;
        KVT_UNROLLED
        for (int i = 0; i < kBytes / 4; ++i)
            result[i] = prepared.words[0][words[i] & 255] | prepared.words[1][words[i] >> 8 & 255] |
                        prepared.words[2][words[i] >> 16 & 255];
        return As<V>(result);
    }
};
#elif KVT_VECTOR_BYTES == 32
/// Deals 32 pixels out to a vector for each byte and looks these up by shuffles of 16 levels at a time. What a table
/// holds for 16 levels is kept as its difference from the 16 before: a shuffle gives 0 where the index is negative,
/// which it is for all levels below its 16, so that the differences up to a level's own 16 meet.
struct ThroughTables : Reads<1> {
    static constexpr int kVectors = 4;
    struct Rows {
        V low[8];  ///< differences within levels 0 to 127
        V both[8]; ///< those xor the ones within levels 128 to 255
    };
    struct Prepared {
        Rows rows[3];
        V deal;   ///< the three bytes of four pixels, then the other ones
        V gather; ///< a pixel's bytes, from the three and the other one
        V opaque;

        Prepared(const Layout &layout, const ChannelTables &tables) : opaque(All8(layout.opaque)) {
            const BytesTables bytes(layout, tables);
            for (int table = 0; table < 3; ++table) {
                const auto sixteen = [&](int row) KVT_INLINE_LAMBDA {
                    const auto *levels = reinterpret_cast<const __m128i *>(bytes.of[table] + row * 16);
                    return As<V>(_mm256_broadcastsi128_si256(_mm_load_si128(levels)));
                };
                V low = sixteen(0);
                V high = sixteen(8);
                rows[table].low[0] = low;
                rows[table].both[0] = low ^ high;
                for (int row = 1; row < 8; ++row) {
                    const V nextLow = sixteen(row);
                    const V nextHigh = sixteen(row + 8);
                    rows[table].low[row] = low ^ nextLow;
                    rows[table].both[row] = low ^ nextLow ^ high ^ nextHigh;
                    low = nextLow;
                    high = nextHigh;
                }
            }
            for (int at = 0; at < kBytes; ++at) {
                deal[at] = static_cast<std::uint8_t>(at % 4 * 4 + (at % 16 / 4 + bytes.first) % 4);
                gather[at] = static_cast<std::uint8_t>(at % 16 / 4 * 4 + (at + 4 - bytes.first) % 4);
            }
        }
    };
    const Prepared &prepared;

    KVT_INLINE V LookUp(const Rows &rows, V levels) const {
        const V isHigh = As<V>(As<SignedBytes>(levels) < 0);
        V index = levels & All8(127);
        V low = Shuffle(rows.low[0], index);
        V both = Shuffle(rows.both[0], index);
#pragma GCC unroll 8
        for (int row = 1; row < 8; ++row) {
            index = SubSaturated8(index, All8(16));
            low = low ^ Shuffle(rows.low[row], index);
            both = both ^ Shuffle(rows.both[row], index);
        }
        return low ^ (both & isHigh);
    }
    KVT_INLINE void operator()(V (&block)[kVectors]) const {
        const Prepared *const constants = InMemory(&prepared);
        const V deal = constants->deal;
        const V gather = constants->gather;
        for (V &v : block)
            v = Shuffle(v, deal);
        const V low01 = InterleaveLow32(block[0], block[1]);
        const V low23 = InterleaveLow32(block[2], block[3]);
        const V high01 = InterleaveHigh32(block[0], block[1]);
        const V high23 = InterleaveHigh32(block[2], block[3]);
        const V first = LookUp(constants->rows[0], InterleaveLow64(low01, low23));
        const V second = LookUp(constants->rows[1], InterleaveHigh64(low01, low23));
        const V third = LookUp(constants->rows[2], InterleaveLow64(high01, high23));
        const V low12 = InterleaveLow8(first, second);
        const V high12 = InterleaveHigh8(first, second);
        const V low34 = InterleaveLow8(third, constants->opaque);
        const V high34 = InterleaveHigh8(third, constants->opaque);
        block[0] = Shuffle(InterleaveLow16(low12, low34), gather);
        block[1] = Shuffle(InterleaveHigh16(low12, low34), gather);
        block[2] = Shuffle(InterleaveLow16(high12, high34), gather);
        block[3] = Shuffle(InterleaveHigh16(high12, high34), gather);
    }
};
#else
/// Deals 64 pixels out to a vector for each byte, each looked up by two permutations of 128 levels.
struct ThroughTables : Reads<1> {
    static constexpr int kVectors = 4;
    struct Prepared {
        BytesTables tables;
        V deal[3];
        V gather[4];
        V opaque;
        __mmask64 firstTwo; ///< bytes of a pixel
        __mmask64 third;

        Prepared(const Layout &layout, const ChannelTables &given)
            : tables(layout, given), opaque(All32(layout.OpaqueBits())) {
            constexpr __mmask64 kPixels = 0x1111111111111111;
            firstTwo = kPixels * 3 << tables.first;
            third = kPixels * 4 << tables.first;
            for (int at = 0; at < kBytes; ++at) {
                for (int table = 0; table < 3; ++table)
                    deal[table][at] = static_cast<std::uint8_t>(at % 32 * 4 + table + tables.first);
                const int second = at % 4 == tables.first + 1 ? 64 : 0;
                for (int vector = 0; vector < 4; ++vector)
                    gather[vector][at] = static_cast<std::uint8_t>(second + vector * 16 + at / 4);
            }
        }
    };
    const Prepared &prepared;

    KVT_INLINE void operator()(V (&block)[kVectors]) const {
        const Prepared *const constants = InMemory(&prepared);
        Register levels[3];
        for (int table = 0; table < 3; ++table) {
            const Register deal = R(constants->deal[table]);
            const Register index =
                _mm512_mask_blend_epi8(0xFFFFFFFF00000000, _mm512_permutex2var_epi8(R(block[0]), deal, R(block[1])),
                                       _mm512_permutex2var_epi8(R(block[2]), deal, R(block[3])));
            const auto from = [&](int level) KVT_INLINE_LAMBDA { return R(Load(constants->tables.of[table] + level)); };
            levels[table] =
                _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), _mm512_permutex2var_epi8(from(0), index, from(64)),
                                       _mm512_permutex2var_epi8(from(128), index, from(192)));
        }
        for (int i = 0; i < kVectors; ++i) {
            const Register gather = R(constants->gather[i]);
            const Register two = _mm512_maskz_permutex2var_epi8(constants->firstTwo, levels[0], gather, levels[1]);
            block[i] =
                As<V>(_mm512_mask_permutexvar_epi8(two, constants->third, gather, levels[2])) | constants->opaque;
        }
    }
};
#endif

inline void LookUp(const MapJob &job, const ChannelTables &tables) {
    const ThroughTables::Prepared prepared(job.target.layout, tables);
    Map(job, ThroughTables{{}, prepared});
}

} // namespace kvt::KVT_LEVEL
