namespace kvt::KVT_LEVEL {

/// gray + (level - gray) * factor / 255 for each channel, the quotient truncated, limited to 0..255, with factor =
/// amount + 255 and gray = (red + 2 green + blue) / 4. Distances and their multiples are never negative here; whether
/// one is added to the gray or taken off follows from the side that the level lies on and from the factor's sign.
/// Distances beyond the first whose multiple reaches 255 count as that one, which keeps multiples below 512. Of
/// |factor| / 255, the whole multiples of a distance are a product of 16 bits. The rest is the upper half of a product
/// with its 65536ths, rounded up: by less than 1/255 for distances up to 255, so that it never reaches the next number.
struct Saturation : Reads<1> {
    WeightedSum fourGrays;
    V farthest;
    V wholes;
    V rest;
    V reversed; ///< all bits for a negative factor
    V colors;
    V opaque;

    Saturation(const Layout &layout, std::int32_t amount) : fourGrays(layout.InByteOrder(1, 2, 1, 0)) {
        const std::int64_t factor = std::int64_t{amount} + 255;
        const std::int64_t size = factor < 0 ? -factor : factor;
        farthest = All8(static_cast<int>(size < 255 ? 255 : (std::int64_t{255} * 255 + size - 1) / size));
        wholes = All16(static_cast<int>(size / 255 < 255 ? size / 255 : 255));
        rest = All16(static_cast<int>((size % 255 * 65536 + 254) / 255));
        reversed = All32(factor < 0 ? ~0u : 0);
        colors = All32(layout.ColorBits());
        opaque = All32(layout.OpaqueBits());
    }

    KVT_INLINE V operator()(V v) const {
        const V gray = Spread(Right32<2>(fourGrays(v)));
        const V above = SubSaturatedU8(v, gray);
        const V distance = MinU8(above | SubSaturatedU8(gray, v), farthest);
        const V change =
            Pack16(Multiple(InterleaveLow8(distance, Zero())), Multiple(InterleaveHigh8(distance, Zero())));
        const V down = Equal8(above, Zero()) ^ reversed;
        const V level = SubSaturatedU8(AddSaturatedU8(gray, ~down & change), down & change);
        return (level & colors) | opaque;
    }
    KVT_INLINE V Multiple(V distance) const { return Add16(MulLow16(distance, wholes), MulHighU16(distance, rest)); }
};

inline void Saturate(const MapJob &job, std::int32_t amount) { Map(job, Saturation(job.target.layout, amount)); }

} // namespace kvt::KVT_LEVEL
