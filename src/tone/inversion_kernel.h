namespace kvt::KVT_LEVEL {

/// Every channel's complement.
struct Negative : Reads<1> {
    V colors;
    V opaque;
    explicit Negative(const Layout &layout) : colors(All32(layout.ColorBits())), opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V operator()(V v) const { return (~v & colors) | opaque; }
};

/// The complement where red, green and blue are equal: then no color byte differs from the next one.
struct GrayNegative : Reads<1> {
    V colors;
    V differences;
    V opaque;
    explicit GrayNegative(const Layout &layout)
        : colors(All32(layout.ColorBits())), differences(All32(layout.ColorBits() & layout.ColorBits() >> 8)),
          opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V operator()(V v) const {
        const V isGray = Equal32((v ^ Right32<8>(v)) & differences, Zero());
        return ((v ^ isGray) & colors) | opaque;
    }
};

inline void Invert(const MapJob &job) { Map(job, Negative(job.target.layout)); }
inline void InvertGray(const MapJob &job) { Map(job, GrayNegative(job.target.layout)); }

} // namespace kvt::KVT_LEVEL
