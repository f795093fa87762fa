namespace kvt::KVT_LEVEL {

// The places of all corners and weights of a block of pixels are found first, in 16-bit lanes and without branches,
// then the sums, four channels at a time.

/// How many 16-bit lanes there are for a block of pixels: its first vector's pixels are in the lower halves of words
/// and its second one's in the upper halves, and so on.
inline constexpr std::ptrdiff_t kBlockPixels = 64;
inline constexpr std::ptrdiff_t kPixels = kBytes / 4;

inline constexpr int kFractionBits = 9;
inline constexpr int kStepBits = (1 << kFractionBits) - 1;
static_assert(kRedStep <= kStepBits && kGridSpacing << kFractionBits <= 0x7FFF);

/// Indices of doubles, so a corner's is four times its number.
struct CornerPlaces {
    alignas(64) std::uint16_t lowest[kBlockPixels];
    alignas(64) std::uint16_t second[kBlockPixels];
    alignas(64) std::uint16_t third[kBlockPixels];
    alignas(64) std::uint16_t low[kBlockPixels];
    alignas(64) std::uint16_t high[kBlockPixels];
};

struct Interpolation : Reads<1> {
    static constexpr int kVectors = static_cast<int>(kBlockPixels / kPixels);
    const double *corners;
    int red;
    int green;
    int blue;

    Interpolation(const Layout &layout, const GridCorners &grid)
        : corners(reinterpret_cast<const double *>(&grid)), red(8 * layout.red), green(8 * layout.green),
          blue(8 * layout.blue) {}

    [[gnu::noinline]] void operator()(V *block) const {
        CornerPlaces places;
        for (int pair = 0; pair < kVectors; pair += 2)
            Locate(block[pair], block[pair + 1], places, pair * kPixels);
        const double *grid = corners;
        for (int pair = 0; pair < kVectors; pair += 2) {
            Sum(grid, places, pair * kPixels, block[pair]);
            Sum(grid, places, pair * kPixels + 1, block[pair + 1]);
        }
    }

    /// Sorting fractions that carry their axis' step along finds the tetrahedron. Between equal fractions any order
    /// will do: the corner that it decides over has weight 0.
    KVT_INLINE void Locate(V even, V odd, CornerPlaces &places, std::ptrdiff_t at) const {
        const V reds = Levels(even, odd, red);
        const V greens = Levels(even, odd, green);
        const V blues = Levels(even, odd, blue);
        const V r = Lower(reds);
        const V g = Lower(greens);
        const V b = Lower(blues);
        const V redKey = Key(reds, r, kRedStep);
        const V greenKey = Key(greens, g, kGreenStep);
        const V blueKey = Key(blues, b, kBlueStep);
        const V smaller = Min16(redKey, greenKey);
        const V larger = Max16(redKey, greenKey);
        const V smallest = Min16(smaller, blueKey);
        const V middle = Max16(smaller, Min16(larger, blueKey));
        const V largest = Max16(larger, blueKey);
        const V lowest =
            Add16(Add16(MulLow16(r, All16(kRedStep * 4)), MulLow16(g, All16(kGreenStep * 4))), Left16<2>(b));
        const V step1 = Left16<2>(largest & All16(kStepBits));
        const V step3 = Left16<2>(smallest & All16(kStepBits));
        Store(places.lowest + at, lowest);
        Store(places.second + at, Add16(lowest, step1));
        Store(places.third + at, Sub16(Add16(lowest, All16(kToHighest * 4)), step3));
        Store(places.low + at, WeightPlaces(largest, middle));
        Store(places.high + at, Add16(WeightPlaces(middle, smallest), All16(2 * kGridSpacing * kGridSpacing)));
    }
    KVT_INLINE static V Levels(V even, V odd, int bits) {
        return (Right32By(even, bits) & All32(255)) | Left32<16>(Right32By(odd, bits) & All32(255));
    }
    KVT_INLINE static V Lower(V levels) { return MulHighU16(levels, All16(65536 / kGridSpacing + 1)); }
    KVT_INLINE static V Key(V levels, V lower, int step) {
        return Left16<kFractionBits>(Sub16(levels, MulLow16(lower, All16(kGridSpacing)))) | All16(step);
    }
    KVT_INLINE static V WeightPlaces(V a, V b) {
        return Add16(MulLow16(Right16<kFractionBits>(a), All16(2 * kGridSpacing)),
                     Left16<1>(Right16<kFractionBits>(b)));
    }

    /// The pixels of one vector, whose places are every other one from `first`.
    KVT_INLINE static void Sum(const double *grid, const CornerPlaces &places, std::ptrdiff_t first, V &pixels) {
        unsigned char bytes[kBytes];
        for (std::ptrdiff_t i = 0; i < kPixels; i += 4)
            StoreLimited(bytes + 4 * i, SumOf(grid, places, first + 2 * i), SumOf(grid, places, first + 2 * i + 2),
                         SumOf(grid, places, first + 2 * i + 4), SumOf(grid, places, first + 2 * i + 6));
        pixels = Load(bytes);
    }
    KVT_INLINE static FourWords SumOf(const double *grid, const CornerPlaces &places, std::ptrdiff_t i) {
        // One pixel's places are loaded after another's sum: those of all four would not fit the registers.
        __atomic_signal_fence(__ATOMIC_ACQ_REL);
        const double *lowest = grid + places.lowest[i];
        const double *weights = grid + kCorners * std::ptrdiff_t{4};
        const double *low = weights + places.low[i];
        const double *high = weights + places.high[i];
        const GridCorner sum = At(lowest) * low[0] + At(grid + places.second[i]) * low[1] +
                               At(grid + places.third[i]) * high[0] +
                               At(lowest + kToHighest * std::ptrdiff_t{4}) * high[1];
        return __builtin_convertvector(sum, FourWords);
    }
    KVT_INLINE static const GridCorner &At(const double *corner) {
        return *reinterpret_cast<const GridCorner *>(corner);
    }
};

inline void Interpolate(const MapJob &job, const GridCorners *grid) {
    Map(job, Interpolation(job.target.layout, *grid));
}

} // namespace kvt::KVT_LEVEL
