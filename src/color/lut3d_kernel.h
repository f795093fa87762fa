namespace kvt::KVT_LEVEL {

/// Where a level lies on its axis of the grid.
struct GridPosition {
    KVT_INLINE GridPosition(std::int32_t level, std::int32_t stride)
        : lower(level / kGridSpacing * stride), step(level / kGridSpacing < kGridLevels - 1 ? stride : 0),
          fraction((level % kGridSpacing) / 17.0) {}
    std::int32_t lower; ///< offset of the grid point at or below
    std::int32_t step;  ///< from there to the next one; 0 at the end of the axis
    double fraction;    ///< 0 up to, not including, 1
};

/// The plain form, a pixel at a time.
struct Tetrahedral {
    const ColorGrid *grid;

    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const GridPosition r(pixel.red, kGridPoints * kGridPoints * kGridChannels);
        const GridPosition g(pixel.green, kGridPoints * kGridChannels);
        const GridPosition b(pixel.blue, kGridChannels);
        const double *lowest = &(*grid)[0][0][0][0] + r.lower + g.lower + b.lower;
        if (r.fraction > g.fraction) {
            if (g.fraction > b.fraction)
                return Sum(lowest, r, g, b);
            if (r.fraction > b.fraction)
                return Sum(lowest, r, b, g);
            return Sum(lowest, b, r, g);
        }
        if (b.fraction > g.fraction)
            return Sum(lowest, b, g, r);
        if (b.fraction > r.fraction)
            return Sum(lowest, g, b, r);
        return Sum(lowest, g, r, b);
    }

    /// Two of a tetrahedron's corners are the cube's lowest and highest; the others are reached over the axis of the
    /// largest fraction, then over that of the middle one.
    KVT_INLINE static Rgb Sum(const double *lowest, const GridPosition &largest, const GridPosition &middle,
                              const GridPosition &smallest) {
        const double *second = lowest + largest.step;
        const double *third = second + middle.step;
        const double *highest = third + smallest.step;
        const auto channel = [&](int x) KVT_INLINE_LAMBDA {
            return ToByte((1.0 - largest.fraction) * lowest[x] + (largest.fraction - middle.fraction) * second[x] +
                          (middle.fraction - smallest.fraction) * third[x] + smallest.fraction * highest[x]);
        };
        return {channel(0), channel(1), channel(2)};
    }
};

inline void Interpolate(const MapJob &job, const ColorGrid *grid) {
    Map(job, EachPixel<Tetrahedral>{{}, {grid}, job.target.layout});
}

} // namespace kvt::KVT_LEVEL
