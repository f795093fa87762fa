namespace kvt::KVT_LEVEL {

#ifndef KVT_PORTABLE_BYTES
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
struct PackedFour {
    Colors colors;
    explicit PackedFour(const Layout &layout) : colors(layout) {}
    KVT_INLINE __m128i operator()(__m128i v) const {
        const __m128i even = _mm_setr_epi32(0xFFFFFF, 0, 0xFFFFFF, 0);
        const __m128i odd = _mm_slli_epi64(even, 24);
        const __m128i words = colors.Low(v);
        const __m128i pairs = _mm_or_si128(_mm_and_si128(words, even), _mm_and_si128(_mm_srli_epi64(words, 8), odd));
        return _mm_or_si128(_mm_move_epi64(pairs), _mm_slli_si128(_mm_srli_si128(pairs, 8), 6));
    }
};

/// Twelve of sixteen bytes as four opaque pixels.
struct UnpackedFour {
    Colors colors;
    __m128i opaque;
    explicit UnpackedFour(const Layout &layout)
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
struct PackedFour {
    __m128i order;
    explicit PackedFour(const Layout &layout) {
        signed char from[16];
        for (int byte = 0; byte < 16; ++byte) {
            const int channel[] = {layout.red, layout.green, layout.blue};
            from[byte] = static_cast<signed char>(byte < 12 ? byte / 3 * 4 + channel[byte % 3] : -1);
        }
        order = LoadFour(reinterpret_cast<const unsigned char *>(from));
    }
    KVT_INLINE __m128i operator()(__m128i v) const { return _mm_shuffle_epi8(v, order); }
};

struct UnpackedFour {
    __m128i order;
    __m128i opaque;
    explicit UnpackedFour(const Layout &layout) : opaque(_mm_set1_epi32(static_cast<int>(layout.OpaqueBits()))) {
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

#endif

/// What rows go through: a form for one pixel and one for sixteen, which reads no more than `kLeast` pixels.
struct Packing {
    static constexpr std::ptrdiff_t kFrom = 4; ///< bytes a pixel
    static constexpr std::ptrdiff_t kTo = kPackedBytes;
    static constexpr std::ptrdiff_t kLeast = 16;
    Layout layout;

    KVT_INLINE void One(const unsigned char *from, unsigned char *to) const {
        to[0] = from[layout.red];
        to[1] = from[layout.green];
        to[2] = from[layout.blue];
    }
#ifndef KVT_PORTABLE_BYTES
    PackedFour four{layout};
    template <bool kStream> KVT_INLINE void Sixteen(const unsigned char *from, unsigned char *to) const {
        const __m128i a = four(LoadFour(from));
        const __m128i b = four(LoadFour(from + 16));
        const __m128i c = four(LoadFour(from + 32));
        const __m128i d = four(LoadFour(from + 48));
        StoreFour<kStream>(to, _mm_or_si128(a, _mm_slli_si128(b, 12)));
        StoreFour<kStream>(to + 16, _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)));
        StoreFour<kStream>(to + 32, _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(d, 4)));
    }
#endif
};

struct Unpacking {
    static constexpr std::ptrdiff_t kFrom = kPackedBytes;
    static constexpr std::ptrdiff_t kTo = 4;
    static constexpr std::ptrdiff_t kLeast = 18;
    Layout layout;

    KVT_INLINE void One(const unsigned char *from, unsigned char *to) const {
        StoreWord(to, layout.Word(from[0], from[1], from[2], layout.opaque));
    }
#ifndef KVT_PORTABLE_BYTES
    UnpackedFour four{layout};
    template <bool kStream> KVT_INLINE void Sixteen(const unsigned char *from, unsigned char *to) const {
        for (std::ptrdiff_t i = 0; i < 4; ++i)
            StoreFour<kStream>(to + 16 * i, four(LoadFour(from + 12 * i)));
    }
#endif
};

template <class Kernel>
KVT_INLINE void MapPacked(const Kernel &kernel, const unsigned char *from, unsigned char *to, std::ptrdiff_t count,
                          [[maybe_unused]] bool stream) {
    const auto ones = [&](std::ptrdiff_t pixels) KVT_INLINE_LAMBDA {
        for (count -= pixels; pixels > 0; --pixels, from += Kernel::kFrom, to += Kernel::kTo)
            kernel.One(from, to);
    };
#ifndef KVT_PORTABLE_BYTES
    const auto sixteens = [&]<bool kStream>(std::bool_constant<kStream>) KVT_INLINE_LAMBDA {
        for (; count >= Kernel::kLeast; count -= 16, from += 16 * Kernel::kFrom, to += 16 * Kernel::kTo) {
            __builtin_prefetch(from + kAhead);
            kernel.template Sixteen<kStream>(from, to);
        }
    };
    std::ptrdiff_t head = 0; // pixels before the first multiple of 16, which non-temporal stores want
    while (head < 16 && reinterpret_cast<std::uintptr_t>(to + head * Kernel::kTo) % 16)
        ++head;
    if (stream && head < 16) {
        ones(head < count ? head : count);
        sixteens(std::true_type{});
    } else {
        sixteens(std::false_type{});
    }
#endif
    ones(count);
}

inline void Pack(const Pixels &source, Area area, unsigned char *packed) {
    const Packing packing{source.layout};
    const bool stream = area.Pixels() >= kStreamedPixels;
    for (std::int32_t row = 0; row < area.bottom; ++row, packed += area.right * kPackedBytes)
        MapPacked(packing, source.rows[row], packed, area.right, stream);
    if (stream)
        FinishStreaming();
}

inline void Unpack(const unsigned char *packed, std::ptrdiff_t packedRow, const Pixels &target, Area area) {
    const Unpacking unpacking{target.layout};
    const bool stream = area.Pixels() >= kStreamedPixels;
    for (std::int32_t row = 0; row < area.bottom; ++row, packed += packedRow)
        MapPacked(unpacking, packed, target.rows[row], area.right, stream);
    if (stream)
        FinishStreaming();
}

} // namespace kvt::KVT_LEVEL
