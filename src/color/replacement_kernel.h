namespace kvt::KVT_LEVEL {

/// Pixels of a color become another one, all others opaque.
struct Replace : Reads<1> {
    V colors;
    V opaque;
    V search;
    V replacement;
    Replace(const Layout &layout, std::uint32_t searchColor, std::uint32_t replacementColor)
        : colors(All32(layout.ColorBits())), opaque(All32(layout.OpaqueBits())),
          search(All32(layout.Pixel(searchColor))), replacement(All32(layout.Pixel(replacementColor))) {}
    KVT_INLINE V operator()(V v) const {
        const V pixel = (v & colors) | opaque;
        const V found = Equal32(pixel, search);
        return (found & replacement) | (~found & pixel);
    }
};

/// Pixels of a color become another one, all others a third.
struct Extract : Reads<1> {
    V colors;
    V search;
    V background;
    V difference; ///< between background and replacement
    Extract(const Layout &layout, std::uint32_t searchColor, std::uint32_t replacementColor,
            std::uint32_t backgroundColor)
        : colors(All32(layout.ColorBits())), search(All32(layout.Color(searchColor))),
          background(All32(layout.Pixel(backgroundColor))),
          difference(All32(layout.Pixel(replacementColor)) ^ background) {}
    KVT_INLINE V operator()(V v) const { return background ^ (Equal32(v & colors, search) & difference); }
};

inline void ReplaceColor(const MapJob &job, std::uint32_t search, std::uint32_t replacement) {
    Map(job, Replace(job.target.layout, search, replacement));
}
inline void ExtractColor(const MapJob &job, std::uint32_t search, std::uint32_t replacement, std::uint32_t background) {
    Map(job, Extract(job.target.layout, search, replacement, background));
}

} // namespace kvt::KVT_LEVEL
