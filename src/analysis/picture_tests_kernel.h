#include "color/counting_kernel.h"

namespace kvt::KVT_LEVEL {

/// Byte by byte, how far two vectors are from each other.
KVT_INLINE V Distance(V a, V b) { return SubSaturatedU8(a, b) | SubSaturatedU8(b, a); }

/// The highest and the lowest channel differ by the tolerance at the most.
#if KVT_SHUFFLES
struct GrayWithin {
    Reordering next; ///< to each color byte's place another one of its pixel
    V tolerance;     ///< none for the other byte
    GrayWithin(const Layout &layout, std::int32_t most)
        : next({layout.green, layout.blue, layout.red, layout.other, 0}, layout),
          tolerance(All8(most) | All32(~layout.ColorBits())) {}
    KVT_INLINE V operator()(V v) const { return Equal32(SubSaturatedU8(Distance(v, next(v)), tolerance), Zero()); }
};
#else
struct GrayWithin {
    V tolerance;
    V lowest; ///< the lowest color byte, into which the two above it are shifted
    GrayWithin(const Layout &layout, std::int32_t most)
        : tolerance(All8(most)), lowest(All32(layout.other == 0 ? 0x0000FF00u : 0x000000FFu)) {}
    KVT_INLINE V operator()(V v) const {
        const V second = Right32<8>(v);
        const V third = Right32<16>(v);
        const V high = MaxU8(MaxU8(v, second), third);
        const V low = MinU8(MinU8(v, second), third);
        return Equal32(SubSaturatedU8(SubSaturatedU8(high, low), tolerance) & lowest, Zero());
    }
};
#endif

/// Not dark (a channel reaches 30), and red or blue at least `distance` away from green, which lies between them.
struct IsColored {
    V below;   ///< one less than the distance, for color bytes that are followed by one; else 255
    V floor;   ///< what is more than that is far: anything where a distance of 0 will do
    V darkest; ///< of a color byte; else 255
    IsColored(const Layout &layout, std::int32_t distance)
        : below(All8(distance == 0 ? 255 : distance - 1) | All32(~(layout.ColorBits() & layout.ColorBits() >> 8))),
          floor(All32(distance == 0 ? ~0u : 0)), darkest(All8(29) | All32(~layout.ColorBits())) {}
    KVT_INLINE V operator()(V v) const {
        const V far = SubSaturatedU8(Distance(v, Right32<8>(v)), below); // never negative: no byte follows the highest
        return Less32(floor, far) & ~Equal32(SubSaturatedU8(v, darkest), Zero());
    }
};

inline bool AllGray(const Pixels &source, Area area, std::int32_t tolerance) {
    return AllPass(source.rows, area, GrayWithin(source.layout, tolerance));
}
inline std::int64_t CountColored(const Pixels &source, Area area, std::int32_t distance) {
    return CountPassing(source.rows, area, IsColored(source.layout, distance));
}

} // namespace kvt::KVT_LEVEL
