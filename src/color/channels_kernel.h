namespace kvt::KVT_LEVEL {

/// The first source's pixels, with one channel's bits from the second one.
struct ReplacedBits : Reads<2> {
    V kept;
    V replaced;
    V opaque;
    ReplacedBits(const Layout &layout, std::uint32_t channel)
        : kept(All32(layout.Color(~channel))), replaced(All32(layout.Color(channel))),
          opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V operator()(V v, V channel) const { return (v & kept) | (channel & replaced) | opaque; }
};

/// The red of the first source, the green of the second and the blue of the third.
struct Combination : Reads<3> {
    V red;
    V green;
    V blue;
    V opaque;
    explicit Combination(const Layout &layout)
        : red(All32(layout.Color(kRed))), green(All32(layout.Color(kGreen))), blue(All32(layout.Color(kBlue))),
          opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V operator()(V reds, V greens, V blues) const {
        return (reds & red) | (greens & green) | (blues & blue) | opaque;
    }
};

/// The higher level of each channel.
struct Lighter : Reads<2> {
    V colors;
    V opaque;
    explicit Lighter(const Layout &layout) : colors(All32(layout.ColorBits())), opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V operator()(V a, V b) const { return (MaxU8(a, b) & colors) | opaque; }
};

inline void ReplaceBits(const MapJob &job, std::uint32_t channel) {
    Map(job, ReplacedBits(job.target.layout, channel));
}
inline void Combine(const MapJob &job) { Map(job, Combination(job.target.layout)); }
inline void Merge(const MapJob &job) { Map(job, Lighter(job.target.layout)); }

} // namespace kvt::KVT_LEVEL
