// Kernels that tell channels, sources and layouts apart.
namespace kvt::KVT_LEVEL {

/// Each color byte of the first source, lowered by that of the second or by a constant, and changed by a color that
/// stands for the layout.
template <std::size_t kCount, SourceLayout kLayout = SourceLayout::OfTarget> struct Mix : Reads<kCount, kLayout> {
    V colors;
    V mark;
    V opaque;
    explicit Mix(const Layout &layout)
        : colors(All32(layout.ColorBits())), mark(All32(layout.Color(kMark))), opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V Of(V v) const { return ((v & colors) ^ mark) | opaque; }
    KVT_INLINE V operator()(V a) const { return Of(a); }
    KVT_INLINE V operator()(V a, V b) const { return Of(SubSaturatedU8(a, b)); }
    KVT_INLINE V operator()(V a, V b, V c) const { return Of(SubSaturatedU8(a, b) ^ c); }
};

/// The same for three vectors at a time.
struct MixBlock : Mix<1> {
    static constexpr int kVectors = 3;
    using Mix<1>::Mix;
    KVT_INLINE void operator()(V (&block)[kVectors]) const {
        for (V &v : block)
            v = Of(v);
    }
};

struct IsMark {
    V colors;
    V mark;
    explicit IsMark(const Layout &layout) : colors(All32(layout.ColorBits())), mark(All32(layout.Color(kMark))) {}
    KVT_INLINE V operator()(V v) const { return Equal32(v & colors, mark); }
};

inline void MixOne(const MapJob &job) { Map(job, Mix<1>(job.target.layout)); }
inline void MixBlocks(const MapJob &job) { Map(job, MixBlock(job.target.layout)); }
inline void MixOwn(const MapJob &job) { Map(job, Mix<1, SourceLayout::Own>(job.sources[0].layout)); }
inline void MixTwo(const MapJob &job) { Map(job, Mix<2>(job.target.layout)); }
inline void MixThree(const MapJob &job) { Map(job, Mix<3>(job.target.layout)); }
inline void MixEach(const MapJob &job) { MapEachPixel(job, MixedPixel{}); }
inline std::int64_t CountMarks(const Pixels &source, Area area) {
    return CountPassing(source.rows, area, IsMark(source.layout));
}
inline bool AllMarks(const Pixels &source, Area area) { return AllPass(source.rows, area, IsMark(source.layout)); }

} // namespace kvt::KVT_LEVEL
