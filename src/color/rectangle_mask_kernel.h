namespace kvt::KVT_LEVEL {

/// Bit i becomes the highest bit of byte i.
KVT_INLINE std::uint32_t HighestBits(const unsigned char (&bytes)[kWordBits]) {
    std::uint32_t bits = 0;
#if defined(__SSE2__) && !defined(KVT_PORTABLE_BYTES)
    for (std::ptrdiff_t half = 1; half >= 0; --half)
        bits = bits << 16 | static_cast<std::uint32_t>(_mm_movemask_epi8(
                                _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + half * 16))));
#else
    for (int i = kWordBits - 1; i >= 0; --i)
        bits = bits << 1 | bytes[i] >> 7;
#endif
    return bits;
}

/// Sets bit x % kWordBits of words[x / kWordBits] for the pixels of a row that are not gray, of the columns `first` up
/// to, not including, `end`. In a gray pixel no color byte differs from the next one.
inline void MarkColored(const Layout &layout, const unsigned char *pixels, std::int32_t first, std::int32_t end,
                        std::uint32_t *words) {
    const std::uint32_t pairs = layout.ColorBits() & layout.ColorBits() >> 8;
    const auto isColored = [=](std::ptrdiff_t x) KVT_INLINE_LAMBDA {
        const std::uint32_t word = LoadWord(pixels + x * 4);
        return ((word ^ word >> 8) & pairs) != 0;
    };
    for (std::int32_t word = first / kWordBits; word * kWordBits < end; ++word) {
        const std::int32_t begin = word * kWordBits;
        if (begin >= first && begin + kWordBits <= end) {
            unsigned char colored[kWordBits];
            for (std::int32_t bit = 0; bit < kWordBits; ++bit)
                colored[bit] = isColored(begin + bit) ? 255 : 0;
            words[word] |= HighestBits(colored);
        } else {
            const std::int32_t stop = end < begin + kWordBits ? end : begin + kWordBits;
            for (std::int32_t x = first > begin ? first : begin; x < stop; ++x)
                words[word] |= isColored(x) ? std::uint32_t{1} << x % kWordBits : 0;
        }
    }
}

} // namespace kvt::KVT_LEVEL
