namespace kvt::KVT_LEVEL {

/// gray + offset for each channel, limited to 0..255, with gray = the weighted sum of the channels / 1024, truncated
/// toward zero. Weights have 16 bits. Offsets are limited to 16 bits: grays stay below 24,480 either way, so that from
/// there on every level ends at 0 or 255, and sums are saturated.
struct Sepia : Reads<1> {
    WeightedSum weighted;
    V offsets;
    V opaque;

    Sepia(const Layout &layout, const SepiaToning &toning)
        : weighted(layout.InByteOrder(toning.weights.red, toning.weights.green, toning.weights.blue, 0)) {
        const auto limited = [](std::int32_t offset) {
            return offset < INT16_MIN ? INT16_MIN : offset > INT16_MAX ? INT16_MAX : offset;
        };
        offsets = PixelLanes(layout.InByteOrder(limited(toning.offsets.red), limited(toning.offsets.green),
                                                limited(toning.offsets.blue), INT16_MIN)); // the other byte becomes 0
        opaque = All32(layout.OpaqueBits());
    }

    KVT_INLINE V operator()(V v) const {
        const V sum = weighted(v);
        const V towardZero = Right32<22>(RightSigned32<31>(sum)); // 1023 for a negative sum
        const V gray = RightSigned32<10>(Add32(sum, towardZero));
        const V grays = Left32<16>(gray) | (gray & All32(0xFFFF));
        return Pack16(AddSaturated16(InterleaveLow32(grays, grays), offsets),
                      AddSaturated16(InterleaveHigh32(grays, grays), offsets)) |
               opaque;
    }
};

inline void Tone(const MapJob &job, const SepiaToning &toning) {
    const auto isShort = [](std::int32_t weight) { return weight >= INT16_MIN && weight <= INT16_MAX; };
    if (isShort(toning.weights.red) && isShort(toning.weights.green) && isShort(toning.weights.blue))
        Map(job, Sepia(job.target.layout, toning));
    else
        MapEachPixel(job, WideSepia{toning});
}

} // namespace kvt::KVT_LEVEL
