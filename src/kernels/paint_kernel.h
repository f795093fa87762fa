namespace kvt::KVT_LEVEL {

inline void PaintSpans(const Pixels &target, Area area, std::uint32_t back, std::uint32_t fore,
                       const std::int32_t *tops, const std::int32_t *ends) {
    const std::uint32_t backWord = target.layout.Pixel(back);
    const std::uint32_t foreWord = target.layout.Pixel(fore);
    for (std::int32_t row = area.top; row < area.bottom; ++row) {
        unsigned char *pixels = target.rows[row];
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t x = area.left; x < area.right; ++x)
            StoreWord(pixels + x * 4, ((tops[x] <= row) & (row < ends[x])) ? foreWord : backWord);
    }
}

} // namespace kvt::KVT_LEVEL
