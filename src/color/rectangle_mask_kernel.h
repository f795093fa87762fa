namespace kvt::KVT_LEVEL {

/// Sets bit x % kWordBits of words[x / kWordBits] for the pixels of a row that are not gray, of the columns `first` up
/// to, not including, `end`. In a gray pixel no color byte differs from the next one.
inline void MarkColored(const Layout &layout, const unsigned char *pixels, std::int32_t first, std::int32_t end,
                        std::uint32_t *words) {
    const V pairs = All32(layout.ColorBits() & layout.ColorBits() >> 8);
    for (std::int32_t begin = first / kWordBits * kWordBits; begin < end; begin += kWordBits) {
        const unsigned char *block = pixels + std::ptrdiff_t{begin} * 4;
        unsigned char part[kWordBits * 4] = {}; // black, and so gray
        const std::ptrdiff_t from = first > begin ? first - begin : 0;
        const std::ptrdiff_t to = end - begin < kWordBits ? end - begin : kWordBits;
        if (from > 0 || to < kWordBits) {
            std::memcpy(part + from * 4, block + from * 4, static_cast<std::size_t>(to - from) * 4);
            block = part;
        }
        std::uint32_t colored = 0;
        for (std::ptrdiff_t lane = 0; lane < kWordBits; lane += kBytes / 4) {
            const V v = Load(block + lane * 4);
            colored |= HighestBits(~Equal32((v ^ Right32<8>(v)) & pairs, Zero())) << lane;
        }
        words[begin / kWordBits] = colored;
    }
}

} // namespace kvt::KVT_LEVEL
