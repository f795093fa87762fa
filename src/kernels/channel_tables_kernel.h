namespace kvt::KVT_LEVEL {

#if defined(KVT_PORTABLE_BYTES) || KVT_VECTOR_BYTES < 64
/// Looks words up that hold the new level at its place in the target and, in the first table, the opaque byte.
struct ThroughTables : Reads<1, SourceLayout::Own> {
    struct Prepared {
        std::uint32_t words[3][256];
        std::ptrdiff_t first; ///< of a source pixel's color bytes

        Prepared(const Layout &from, const Layout &to, const ChannelTables &tables) : first(from.other == 0 ? 1 : 0) {
            for (std::uint32_t level = 0; level < 256; ++level) {
                words[from.red - first][level] = to.Word(tables.red.levels[level], 0, 0, 0);
                words[from.green - first][level] = to.Word(0, tables.green.levels[level], 0, to.opaque);
                words[from.blue - first][level] = to.Word(0, 0, tables.blue.levels[level], 0);
            }
        }
    };
    const Prepared &prepared;
    std::ptrdiff_t first = prepared.first;

    KVT_INLINE std::uint32_t operator()(const unsigned char *pixel) const {
        const unsigned char *colors = pixel + first;
        return prepared.words[0][colors[0]] | prepared.words[1][colors[1]] | prepared.words[2][colors[2]];
    }
};
#else
/// Deals 64 pixels out to a vector for each channel, each looked up by two permutations of 128 levels.
struct ThroughTables : Reads<1, SourceLayout::Own> {
    static constexpr int kVectors = 4;
    struct Prepared {
        const unsigned char *tables[3];
        V deal[3];
        V gather[4];
        V opaque;
        __mmask64 redAndGreen; ///< bytes of the target
        __mmask64 blue;

        Prepared(const Layout &from, const Layout &to, const ChannelTables &given)
            : tables{given.red.levels, given.green.levels, given.blue.levels}, opaque(All32(to.OpaqueBits())) {
            constexpr __mmask64 kPixels = 0x1111111111111111;
            redAndGreen = kPixels << to.red | kPixels << to.green;
            blue = kPixels << to.blue;
            const int channels[] = {from.red, from.green, from.blue};
            for (int at = 0; at < kBytes; ++at) {
                for (int channel = 0; channel < 3; ++channel)
                    deal[channel][at] = static_cast<std::uint8_t>(at % 32 * 4 + channels[channel]);
                const int second = at % 4 == to.green ? 64 : 0;
                for (int vector = 0; vector < 4; ++vector)
                    gather[vector][at] = static_cast<std::uint8_t>(second + vector * 16 + at / 4);
            }
        }
    };
    const Prepared &prepared;

    KVT_INLINE void operator()(V (&block)[kVectors]) const {
        Register levels[3];
        for (int channel = 0; channel < 3; ++channel) {
            const Register deal = R(prepared.deal[channel]);
            const Register index =
                _mm512_mask_blend_epi8(0xFFFFFFFF00000000, _mm512_permutex2var_epi8(R(block[0]), deal, R(block[1])),
                                       _mm512_permutex2var_epi8(R(block[2]), deal, R(block[3])));
            const auto from = [&](int level) KVT_INLINE_LAMBDA { return R(Load(prepared.tables[channel] + level)); };
            levels[channel] =
                _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), _mm512_permutex2var_epi8(from(0), index, from(64)),
                                       _mm512_permutex2var_epi8(from(128), index, from(192)));
        }
        for (int i = 0; i < kVectors; ++i) {
            const Register gather = R(prepared.gather[i]);
            const Register two = _mm512_maskz_permutex2var_epi8(prepared.redAndGreen, levels[0], gather, levels[1]);
            block[i] = As<V>(_mm512_mask_permutexvar_epi8(two, prepared.blue, gather, levels[2])) | prepared.opaque;
        }
    }
};
#endif

inline void LookUp(const MapJob &job, const ChannelTables &tables) {
    const ThroughTables::Prepared prepared(job.sources[0].layout, job.target.layout, tables);
    Map(job, ThroughTables{{}, prepared});
}

} // namespace kvt::KVT_LEVEL
