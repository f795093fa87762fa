namespace kvt::KVT_LEVEL {

template <class Sample> KVT_INLINE Sums SumOf(const unsigned char *bytes, std::int64_t count, std::int32_t flip) {
    constexpr std::int64_t kBlock = 65535; // as many samples as a sum of 32 bits can take
    constexpr std::int32_t kSilence = 1 << (8 * sizeof(Sample) - 1);
    Sums sums = {};
    for (std::int64_t first = 0; first < count; first += kBlock) {
        const unsigned char *block = bytes + first * static_cast<std::int64_t>(sizeof(Sample));
        const auto length = static_cast<std::ptrdiff_t>(count - first < kBlock ? count - first : kBlock);
        std::int32_t negative = 0;
        std::int32_t positive = 0;
        for (std::ptrdiff_t i = 0; i < length; ++i) {
            Sample stored;
            std::memcpy(&stored, block + i * static_cast<std::ptrdiff_t>(sizeof stored), sizeof stored);
            const std::int32_t level = (stored ^ flip) - kSilence;
            negative += level < 0 ? level : 0;
            positive += level > 0 ? level : 0;
        }
        sums.negative += negative;
        sums.positive += positive;
    }
    return sums;
}

/// Of `count` samples at any address. A flipped highest bit turns a signed sample into an unsigned one.
inline Sums SumOfBytes(const unsigned char *bytes, std::int64_t count, std::int32_t flip) {
    return SumOf<std::uint8_t>(bytes, count, flip);
}
inline Sums SumOfShorts(const unsigned char *bytes, std::int64_t count, std::int32_t flip) {
    return SumOf<std::uint16_t>(bytes, count, flip);
}

} // namespace kvt::KVT_LEVEL
