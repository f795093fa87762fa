namespace kvt::KVT_LEVEL {

/// The other byte's values as opaque grays.
struct MaskAsGray : Reads<1, SourceLayout::Own> {
    int shift;
    V bits;
    V flip; ///< value ^ 255 is 255 - value
    V colors;
    V opaque;
    MaskAsGray(const Layout &from, const Layout &to, bool swap)
        : shift(8 * from.other), bits(All32(from == kRowTable ? 127 : 255)), flip(All32(swap ? to.ColorBits() : 0)),
          colors(All32(to.ColorBits())), opaque(All32(to.OpaqueBits())) {}
    KVT_INLINE V Value(V v) const { return Right32By(v, shift) & bits; }
    KVT_INLINE V Gray(V value) const { return ((Spread(value) & colors) ^ flip) | opaque; }
    KVT_INLINE V operator()(V v) const { return Gray(Value(v)); }
};

/// The same of row tables, whose transparency of 7 bits is widened to 8.
struct TransparencyAsGray : MaskAsGray {
    V lowest;
    TransparencyAsGray(const Layout &from, const Layout &to, bool swap)
        : MaskAsGray(from, to, swap), lowest(All32(1)) {}
    KVT_INLINE V operator()(V v) const {
        const V value = Value(v);
        return Gray(Add32(Add32(value, value), value & lowest));
    }
};

/// The red of the first source becomes the other byte of the second, whose colors stay.
struct RedAsMask : Reads<2, SourceLayout::Own> {
    int toValue;
    int toByte;
    V bits;
    V flip;
    V colors;
    RedAsMask(const Layout &from, const Layout &to, bool swap)
        : toValue(8 * from.red + (to == kRowTable ? 1 : 0)), toByte(8 * to.other),
          bits(All32(to == kRowTable ? 127 : 255)), flip(swap ? bits : Zero()), colors(All32(to.ColorBits())) {}
    KVT_INLINE V operator()(V red, V own) const {
        const V value = (Right32By(red, toValue) & bits) ^ flip;
        return (own & colors) | Left32By(value, toByte);
    }
};

inline void ReadMask(const MapJob &job, bool swap) {
    const Layout &from = job.sources[0].layout;
    if (from == kRowTable)
        Map(job, TransparencyAsGray(from, job.target.layout, swap));
    else
        Map(job, MaskAsGray(from, job.target.layout, swap));
}
inline void WriteMask(const MapJob &job, bool swap) {
    Map(job, RedAsMask(job.sources[0].layout, job.target.layout, swap));
}

} // namespace kvt::KVT_LEVEL
