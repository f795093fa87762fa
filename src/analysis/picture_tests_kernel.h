#include "color/counting_kernel.h"

namespace kvt::KVT_LEVEL {

/// Byte by byte, how far two vectors are from each other.
KVT_INLINE V Distance(V a, V b) { return SubSaturatedU8(a, b) | SubSaturatedU8(b, a); }

/// Any two channels differ by the tolerance at the most. The other byte repeats the color at the far end, so that each
/// color has both others for neighbors.
struct GrayWithin {
    V colors;
    V last;  ///< the other byte, where it is the highest
    V first; ///< or the lowest
    V pairs; ///< the bytes that are compared with the next higher one
    V tolerance;
    GrayWithin(const Layout &layout, std::int32_t most)
        : colors(All32(layout.ColorBits())), last(All32(~layout.ColorBits() & 0xFF000000u)),
          first(All32(~layout.ColorBits() & 0x000000FFu)), pairs(All32(0x00FFFFFF)), tolerance(All8(most)) {}
    KVT_INLINE V operator()(V v) const {
        const V ring = (v & colors) | (Left32<24>(v) & last) | (Right32<24>(v) & first);
        return Equal32(SubSaturatedU8(Distance(ring, Right32<8>(ring)), tolerance) & pairs, Zero());
    }
};

/// Not dark (a channel reaches 30), and red or blue at least `distance` away from green, which lies between them.
struct IsColored {
    V colors;
    V pairs;
    V always; ///< where a distance of 0 will do
    V below;  ///< one less than the distance
    V darkest;
    IsColored(const Layout &layout, std::int32_t distance)
        : colors(All32(layout.ColorBits())), pairs(All32(layout.ColorBits() & layout.ColorBits() >> 8)),
          always(All32(distance == 0 ? ~0u : 0)), below(All8(distance == 0 ? 0 : distance - 1)), darkest(All8(29)) {}
    KVT_INLINE V operator()(V v) const {
        const V far = (SubSaturatedU8(Distance(v, Right32<8>(v)), below) & pairs) | always;
        const V light = SubSaturatedU8(v, darkest) & colors;
        return ~(Equal32(far, Zero()) | Equal32(light, Zero()));
    }
};

inline bool AllOfColor(const Pixels &source, Area area, std::uint32_t color) {
    return AllPass(source.rows, area, IsColor(source.layout, color));
}
inline bool AllGray(const Pixels &source, Area area, std::int32_t tolerance) {
    return AllPass(source.rows, area, GrayWithin(source.layout, tolerance));
}
inline std::int64_t CountColored(const Pixels &source, Area area, std::int32_t distance) {
    return CountPassing(source.rows, area, IsColored(source.layout, distance));
}

} // namespace kvt::KVT_LEVEL
