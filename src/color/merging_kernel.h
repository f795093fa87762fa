namespace kvt::KVT_LEVEL {

/// The higher level of each channel.
struct Lighter : Reads<2> {
    V colors;
    V opaque;
    explicit Lighter(const Layout &layout) : colors(All32(layout.ColorBits())), opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V operator()(V a, V b) const { return (MaxU8(a, b) & colors) | opaque; }
};

inline void Merge(const MapJob &job) { Map(job, Lighter(job.target.layout)); }

} // namespace kvt::KVT_LEVEL
