namespace kvt::KVT_LEVEL {

KVT_INLINE void PackPixel(const Layout &layout, const unsigned char *from, unsigned char *to) {
    to[0] = from[layout.red];
    to[1] = from[layout.green];
    to[2] = from[layout.blue];
}

KVT_INLINE void UnpackPixel(const Layout &layout, const unsigned char *from, unsigned char *to) {
    StoreWord(to, layout.Word(from[0], from[1], from[2], layout.opaque));
}

#ifdef KVT_PORTABLE_BYTES

KVT_INLINE void PackRow(const Layout &layout, const unsigned char *from, unsigned char *to, std::ptrdiff_t count,
                        bool) {
    for (; count > 0; --count, from += 4, to += 3)
        PackPixel(layout, from, to);
}

KVT_INLINE void UnpackRow(const Layout &layout, const unsigned char *from, unsigned char *to, std::ptrdiff_t count,
                          bool) {
    for (; count > 0; --count, from += 3, to += 4)
        UnpackPixel(layout, from, to);
}

#else

// Four pixels at a time: wider vectors gain nothing.

KVT_INLINE __m128i LoadFour(const unsigned char *from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
}
template <bool kStream> KVT_INLINE void StoreFour(unsigned char *to, __m128i v) {
    if constexpr (kStream)
        _mm_stream_si128(reinterpret_cast<__m128i *>(to), v);
    else
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to), v);
}

#if KVT_VECTOR_BYTES == 16
/// Moves the colors of four pixels to the lowest three bytes of their words, red first, and back; the other bytes
/// become 0.
struct Colors {
    int shift;
    bool swapped;
    explicit Colors(const Layout &layout) : shift(layout.other == 0 ? 8 : 0), swapped(layout.red > layout.blue) {}
    KVT_INLINE static __m128i Swapped(__m128i v) {
        const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0xB1), 0xB1);
        return _mm_or_si128(_mm_and_si128(v, _mm_set1_epi32(0x00FF00)),
                            _mm_and_si128(halves, _mm_set1_epi32(0xFF00FF)));
    }
    KVT_INLINE __m128i Low(__m128i v) const {
        return swapped ? Swapped(v) : _mm_srl_epi32(v, _mm_cvtsi32_si128(shift));
    }
    KVT_INLINE __m128i InPlace(__m128i v) const {
        return swapped ? Swapped(v) : _mm_sll_epi32(v, _mm_cvtsi32_si128(shift));
    }
};

/// Four pixels as twelve bytes, with four zeros behind them. First the pixels of each half of the vector move together,
/// then the halves.
struct Packing {
    Colors colors;
    explicit Packing(const Layout &layout) : colors(layout) {}
    KVT_INLINE __m128i operator()(__m128i v) const {
        const __m128i even = _mm_setr_epi32(0xFFFFFF, 0, 0xFFFFFF, 0);
        const __m128i odd = _mm_slli_epi64(even, 24);
        const __m128i words = colors.Low(v);
        const __m128i pairs = _mm_or_si128(_mm_and_si128(words, even), _mm_and_si128(_mm_srli_epi64(words, 8), odd));
        return _mm_or_si128(_mm_move_epi64(pairs), _mm_slli_si128(_mm_srli_si128(pairs, 8), 6));
    }
};

/// Twelve of sixteen bytes as four opaque pixels.
struct Unpacking {
    Colors colors;
    __m128i opaque;
    explicit Unpacking(const Layout &layout)
        : colors(layout), opaque(_mm_set1_epi32(static_cast<int>(layout.OpaqueBits()))) {}
    KVT_INLINE __m128i operator()(__m128i v) const {
        const __m128i even = _mm_setr_epi32(0xFFFFFF, 0, 0xFFFFFF, 0);
        const __m128i odd = _mm_slli_epi64(even, 32);
        const __m128i pairs = _mm_unpacklo_epi64(v, _mm_srli_si128(v, 6));
        const __m128i words = _mm_or_si128(_mm_and_si128(pairs, even), _mm_and_si128(_mm_slli_epi64(pairs, 8), odd));
        return _mm_or_si128(colors.InPlace(words), opaque);
    }
};
#else
/// The same by a shuffle, which puts 0 where it is told -1.
struct Packing {
    __m128i order;
    explicit Packing(const Layout &layout) {
        signed char from[16];
        for (int byte = 0; byte < 16; ++byte) {
            const int channel[] = {layout.red, layout.green, layout.blue};
            from[byte] = static_cast<signed char>(byte < 12 ? byte / 3 * 4 + channel[byte % 3] : -1);
        }
        order = LoadFour(reinterpret_cast<const unsigned char *>(from));
    }
    KVT_INLINE __m128i operator()(__m128i v) const { return _mm_shuffle_epi8(v, order); }
};

struct Unpacking {
    __m128i order;
    __m128i opaque;
    explicit Unpacking(const Layout &layout) : opaque(_mm_set1_epi32(static_cast<int>(layout.OpaqueBits()))) {
        signed char from[16];
        for (int pixel = 0; pixel < 4; ++pixel) {
            from[pixel * 4 + layout.red] = static_cast<signed char>(pixel * 3);
            from[pixel * 4 + layout.green] = static_cast<signed char>(pixel * 3 + 1);
            from[pixel * 4 + layout.blue] = static_cast<signed char>(pixel * 3 + 2);
            from[pixel * 4 + layout.other] = -1;
        }
        order = LoadFour(reinterpret_cast<const unsigned char *>(from));
    }
    KVT_INLINE __m128i operator()(__m128i v) const { return _mm_or_si128(_mm_shuffle_epi8(v, order), opaque); }
};
#endif

template <bool kStream>
KVT_INLINE void PackSixteens(const Packing &packing, const unsigned char *from, unsigned char *to,
                             std::ptrdiff_t sixteens) {
    for (; sixteens > 0; --sixteens, from += 64, to += 48) {
        __builtin_prefetch(from + kAhead);
        const __m128i a = packing(LoadFour(from));
        const __m128i b = packing(LoadFour(from + 16));
        const __m128i c = packing(LoadFour(from + 32));
        const __m128i d = packing(LoadFour(from + 48));
        StoreFour<kStream>(to, _mm_or_si128(a, _mm_slli_si128(b, 12)));
        StoreFour<kStream>(to + 16, _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)));
        StoreFour<kStream>(to + 32, _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(d, 4)));
    }
}

inline void PackRow(const Layout &layout, const unsigned char *from, unsigned char *to, std::ptrdiff_t count,
                    bool stream) {
    const Packing packing(layout);
    for (; stream && reinterpret_cast<std::uintptr_t>(to) % 16 != 0 && count > 0; --count, from += 4, to += 3)
        PackPixel(layout, from, to);
    const std::ptrdiff_t sixteens = count / 16;
    if (stream)
        PackSixteens<true>(packing, from, to, sixteens);
    else
        PackSixteens<false>(packing, from, to, sixteens);
    from += sixteens * 64;
    to += sixteens * 48;
    for (count %= 16; count > 0; --count, from += 4, to += 3)
        PackPixel(layout, from, to);
}

template <bool kStream>
KVT_INLINE void UnpackFours(const Unpacking &unpacking, const unsigned char *from, unsigned char *to,
                            std::ptrdiff_t fours) {
    KVT_UNROLLED
    for (; fours > 0; --fours, from += 12, to += 16) {
        __builtin_prefetch(from + kAhead);
        StoreFour<kStream>(to, unpacking(LoadFour(from)));
    }
}

inline void UnpackRow(const Layout &layout, const unsigned char *from, unsigned char *to, std::ptrdiff_t count,
                      bool stream) {
    const Unpacking unpacking(layout);
    stream = stream && reinterpret_cast<std::uintptr_t>(to) % 4 == 0;
    for (; stream && reinterpret_cast<std::uintptr_t>(to) % 16 != 0 && count > 0; --count, from += 3, to += 4)
        UnpackPixel(layout, from, to);
    const std::ptrdiff_t fours = count >= 6 ? (count - 2) / 4 : 0; // two more pixels' bytes are loaded
    if (stream)
        UnpackFours<true>(unpacking, from, to, fours);
    else
        UnpackFours<false>(unpacking, from, to, fours);
    from += fours * 12;
    to += fours * 16;
    for (count -= fours * 4; count > 0; --count, from += 3, to += 4)
        UnpackPixel(layout, from, to);
}

#endif

inline void Pack(const Pixels &source, Area area, unsigned char *packed) {
    const bool stream = area.Pixels() >= kStreamedPixels;
    for (std::int32_t row = 0; row < area.bottom; ++row, packed += area.right * std::ptrdiff_t{3})
        PackRow(source.layout, source.rows[row], packed, area.right, stream);
    if (stream)
        FinishStreaming();
}

inline void Unpack(const unsigned char *packed, std::ptrdiff_t packedRow, const Pixels &target, Area area) {
    const bool stream = area.Pixels() >= kStreamedPixels;
    for (std::int32_t row = 0; row < area.bottom; ++row, packed += packedRow)
        UnpackRow(target.layout, packed, target.rows[row], area.right, stream);
    if (stream)
        FinishStreaming();
}

} // namespace kvt::KVT_LEVEL
