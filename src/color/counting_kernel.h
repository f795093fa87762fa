namespace kvt::KVT_LEVEL {

struct IsColor {
    V colors;
    V color;
    IsColor(const Layout &layout, std::uint32_t rgb)
        : colors(All32(layout.ColorBits())), color(All32(layout.Color(rgb))) {}
    KVT_INLINE V operator()(V v) const { return Equal32(v & colors, color); }
};

inline std::int64_t CountColor(const Pixels &source, Area area, std::uint32_t color) {
    return CountPassing(source.rows, area, IsColor(source.layout, color));
}
inline bool AllOfColor(const Pixels &source, Area area, std::uint32_t color) {
    return AllPass(source.rows, area, IsColor(source.layout, color));
}

} // namespace kvt::KVT_LEVEL
