namespace kvt::KVT_LEVEL {

/// The other byte's values as opaque grays. A transparency of 7 bits is widened to 8.
struct MaskAsGray : Reads<1, SourceLayout::Own> {
    int shift;
    V bits;
    V doubled;
    V lowest;
    V flip; ///< value ^ 255 is 255 - value
    V colors;
    V opaque;
    MaskAsGray(const Layout &from, const Layout &to, bool swap)
        : shift(8 * from.other), bits(All32(from == kRowTable ? 127 : 255)),
          doubled(All32(from == kRowTable ? 127 : 0)), lowest(All32(from == kRowTable ? 1 : 0)),
          flip(All32(swap ? to.ColorBits() : 0)), colors(All32(to.ColorBits())), opaque(All32(to.OpaqueBits())) {}
    KVT_INLINE V operator()(V v) const {
        const V other = Right32By(v, shift) & bits;
        const V value = Add32(Add32(other, other & doubled), other & lowest);
        return ((Spread(value) & colors) ^ flip) | opaque;
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
    Map(job, MaskAsGray(job.sources[0].layout, job.target.layout, swap));
}
inline void WriteMask(const MapJob &job, bool swap) {
    Map(job, RedAsMask(job.sources[0].layout, job.target.layout, swap));
}

} // namespace kvt::KVT_LEVEL
