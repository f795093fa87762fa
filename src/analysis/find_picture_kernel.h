namespace kvt::KVT_LEVEL {

/// The first of the numbers `from` up to, not including, `end` by which two places can move to the right so that each
/// then has its color; `end` when there is none.
inline std::int32_t FirstOfColors(const Pixels &source, std::int32_t from, std::int32_t end, const Sought &first,
                                  const Sought &second) {
    const unsigned char *pixels1 = AddressOf(source.rows, first.at);
    const unsigned char *pixels2 = AddressOf(source.rows, second.at);
    const std::uint32_t colors = source.layout.ColorBits();
    const std::uint32_t word1 = source.layout.Color(first.color);
    const std::uint32_t word2 = source.layout.Color(second.color);
    const auto different = [=](std::ptrdiff_t x) KVT_INLINE_LAMBDA {
        return ((LoadWord(pixels1 + x * 4) ^ word1) | (LoadWord(pixels2 + x * 4) ^ word2)) & colors;
    };
    const auto passing = [=](std::ptrdiff_t begin, std::ptrdiff_t stop) KVT_INLINE_LAMBDA {
        std::int32_t passed = 0;
        for (std::ptrdiff_t x = begin; x < stop; ++x)
            passed |= different(x) ? 0 : 1;
        return passed;
    };
    // Narrows down: blocks that are large enough to be fast, parts of a block, single places.
    constexpr std::ptrdiff_t kBlock = 1024;
    constexpr std::ptrdiff_t kPart = 64;
    const auto upTo = [end](std::ptrdiff_t stop) KVT_INLINE_LAMBDA { return stop < end ? stop : end; };
    std::ptrdiff_t x = from;
    while (x < end && !passing(x, upTo(x + kBlock)))
        x += kBlock;
    while (x < end && !passing(x, upTo(x + kPart)))
        x += kPart;
    while (x < end && different(x))
        ++x;
    return x < end ? static_cast<std::int32_t>(x) : end;
}

/// How far `part`, of `width` by `height` pixels, equals the pixels of `whole` right of and below `at`, where it fits:
/// the number of its pixels, row by row, that come before the block of pixels with the first difference; all of them
/// when there is none.
inline std::int64_t EqualPixels(const Pixels &whole, Point at, const Pixels &part, std::int32_t width,
                                std::int32_t height) {
    constexpr std::ptrdiff_t kBlock = 256;
    const std::uint32_t colors = whole.layout.ColorBits();
    const Conversion conversion(part.layout, whole.layout);
    alignas(64) unsigned char converted[kBlock * 4];
    for (std::int32_t row = 0; row < height; ++row) {
        const unsigned char *a = AddressOf(whole.rows, {at.x, at.y + row});
        const unsigned char *b = part.rows[row];
        for (std::ptrdiff_t x = 0; x < width; x += kBlock, a += kBlock * 4, b += kBlock * 4) {
            const std::ptrdiff_t count = width - x < kBlock ? width - x : kBlock;
            const unsigned char *same = b;
            if (whole.layout != part.layout) {
                MapStretch(conversion, {{b}}, count * 4, converted, false);
                same = converted;
            }
            std::uint32_t different = 0;
            for (std::ptrdiff_t i = 0; i < count; ++i)
                different |= (LoadWord(a + i * 4) ^ LoadWord(same + i * 4)) & colors;
            if (different)
                return std::int64_t{row} * width + x;
        }
    }
    return std::int64_t{height} * width;
}

} // namespace kvt::KVT_LEVEL
