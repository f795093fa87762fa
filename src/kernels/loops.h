// The loops over pixels that kernels share, at one level. Included by one_level.h alone. A kernel is a record of
// constants with an operator() over vectors of pixel words.
namespace kvt::KVT_LEVEL {

/// The sum of a pixel's bytes, each times a weight of 16 bits, as a 32-bit lane.
struct WeightedSum {
    V evenWeights;
    V oddWeights;
    explicit WeightedSum(const Layout::ByteOrder<std::int32_t> &weights)
        : evenWeights(Pairs(weights.at[0], weights.at[2])), oddWeights(Pairs(weights.at[1], weights.at[3])) {}
    KVT_INLINE V operator()(V v) const {
        return Add32(MulAddPairs(Evens(v), evenWeights), MulAddPairs(Odds(v), oddWeights));
    }
};

#if !KVT_SHUFFLES
/// A byte of each pixel word, at a place that a layout names, as a 32-bit lane.
struct ByteOfWords {
    int bits;
    explicit ByteOfWords(int byte) : bits(8 * byte) {}
    KVT_INLINE V operator()(V v) const { return Right32By(v, bits) & All32(255); }
};

/// The opaque pixels whose color bytes, in the order of the bytes, are three 32-bit lanes from 0 to 32767, each limited
/// to 255. The layout's other byte comes first or last.
struct OpaquePixels {
    int shift;
    V opaque;
    explicit OpaquePixels(const Layout &layout)
        : shift(layout.other == 0 ? 8 : 0), opaque(All32(layout.OpaqueBits())) {}
    KVT_INLINE V operator()(V first, V second, V third) const {
        const V outer = Min16(first | Left32<16>(third), All16(255));
        return Left32By(outer | Left32<8>(Min16(second, All16(255))), shift) | opaque;
    }
};

/// The lowest byte of each 32-bit lane, whose other bytes are 0, in all four.
KVT_INLINE V Spread(V v) {
    v = v | Left32<8>(v);
    return v | Left32<16>(v);
}

/// Brings the colors of pixels of one layout into another one; the other byte does not count.
struct Reordering {
    int right[3];
    int left[3];
    Reordering() = default;
    Reordering(const Layout &from, const Layout &to)
        : right{8 * from.red, 8 * from.green, 8 * from.blue}, left{8 * to.red, 8 * to.green, 8 * to.blue} {}
    KVT_INLINE V operator()(V v) const {
        V reordered = Zero();
        for (int channel = 0; channel < 3; ++channel)
            reordered = reordered | Left32By(Right32By(v, right[channel]) & All32(255), left[channel]);
        return reordered;
    }
};
#else
struct ByteOfWords {
    V order;
    explicit ByteOfWords(int byte)
        : order(Add32(Repeated({0, -128, -128, -128, 4, -128, -128, -128, 8, -128, -128, -128, 12, -128, -128, -128}),
                      All32(static_cast<std::uint32_t>(byte)))) {}
    KVT_INLINE V operator()(V v) const { return Shuffle(v, order); }
};

struct OpaquePixels {
    V order;
    V other;
    explicit OpaquePixels(const Layout &layout)
        : order(layout.other == 0 ? Repeated({12, 0, 4, 8, 13, 1, 5, 9, 14, 2, 6, 10, 15, 3, 7, 11})
                                  : Repeated({0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15})),
          other(All32(layout.opaque)) {}
    KVT_INLINE V operator()(V first, V second, V third) const {
        return Shuffle(Pack16(Pack32(first, second), Pack32(third, other)), order);
    }
};

KVT_INLINE V Spread(V v) {
    WordsU order;
    KVT_UNROLLED
    for (unsigned lane = 0; lane < kBytes / 4; ++lane)
        order[lane] = lane % 4 * 0x04040404;
    return Shuffle(v, As<V>(order));
}

struct Reordering {
    V order;
    Reordering() = default;
    Reordering(const Layout &from, const Layout &to) {
        const auto bytes = to.InByteOrder<std::uint32_t>(from.red, from.green, from.blue, from.other);
        unsigned char places[kBytes];
        for (std::uint32_t byte = 0; byte < kBytes; ++byte)
            places[byte] = static_cast<unsigned char>(byte % 16 / 4 * 4 + bytes.at[byte % 4]);
        order = Load(places);
    }
    KVT_INLINE V operator()(V v) const { return Shuffle(v, order); }
};
#endif

/// How many bytes before they are read pixels are fetched from memory: where arithmetic takes as long as the memory,
/// the processor does not look ahead far enough on its own.
constexpr std::ptrdiff_t kAhead = 1024;
constexpr std::ptrdiff_t kCacheLine = 64;

// Map.

/// What kernels of Map derive from: how many sources they read, whether the sources' words come in the target's layout,
/// so that the kernel knows one layout alone, or as they are, and how many vectors of pixels a kernel takes at once,
/// which it may say otherwise.
enum class SourceLayout { OfTarget, Own };
template <std::size_t kCount, SourceLayout kLayout = SourceLayout::OfTarget> struct Reads {
    static constexpr std::size_t kSources = kCount;
    static constexpr bool kConverts = kLayout == SourceLayout::OfTarget;
    static constexpr int kVectors = 1;
};

template <class Kernel> constexpr std::ptrdiff_t kBlockBytes = Kernel::kVectors *kBytes;

/// Where a kernel reads, and how it brings what it read into the target's layout where it does not come so.
template <class Kernel, bool kReorders> struct Sources {
    const unsigned char *at[Kernel::kSources];
    Reordering order[kReorders ? Kernel::kSources : 1];

    KVT_INLINE V Read(std::size_t source, std::ptrdiff_t offset) const {
        const V v = Load(at[source] + offset);
        if constexpr (kReorders)
            return order[source](v);
        return v;
    }
    /// A block that is that far away.
    KVT_INLINE void FetchAhead(std::ptrdiff_t offset) const {
        for (const unsigned char *source : at)
            for (std::ptrdiff_t line = 0; line < kBlockBytes<Kernel>; line += kCacheLine)
                __builtin_prefetch(source + offset + kAhead + line);
    }
};

/// Where results go.
struct Stored {
    KVT_INLINE static void Put(void *to, V v) { Store(to, v); }
    KVT_INLINE static void PutWord(unsigned char *to, std::uint32_t word) { StoreWord(to, word); }
};
struct Streamed {
    KVT_INLINE static void Put(void *to, V v) { Stream(to, v); }
    KVT_INLINE static void PutWord(unsigned char *to, std::uint32_t word) { StreamWord(to, word); }
};

/// A kernel may take one pixel at a time, at its address, and yield the target's word.
template <class Kernel>
concept TakesPixels = requires(const Kernel &kernel, const unsigned char *pixel) {
    kernel(pixel);
};

template <class Out, class Kernel, class From>
KVT_INLINE void MapBlock(const Kernel &kernel, const From &from, std::ptrdiff_t at, unsigned char *to) {
    if constexpr (Kernel::kVectors > 1) {
        V block[Kernel::kVectors];
        for (int i = 0; i < Kernel::kVectors; ++i)
            block[i] = from.Read(0, at + i * kBytes);
        kernel(block);
        for (int i = 0; i < Kernel::kVectors; ++i)
            Out::Put(to + i * kBytes, block[i]);
    } else if constexpr (TakesPixels<Kernel>) {
        KVT_UNROLLED
        for (std::ptrdiff_t pixel = 0; pixel < kBytes; pixel += 4)
            Out::PutWord(to + pixel, kernel(from.at[0] + at + pixel));
    } else if constexpr (Kernel::kSources == 1) {
        Out::Put(to, kernel(from.Read(0, at)));
    } else if constexpr (Kernel::kSources == 2) {
        Out::Put(to, kernel(from.Read(0, at), from.Read(1, at)));
    } else {
        Out::Put(to, kernel(from.Read(0, at), from.Read(1, at), from.Read(2, at)));
    }
}

/// Less than a block, through a buffer and the same kernel.
template <class Kernel, class From>
[[gnu::noinline]] void MapPart(const Kernel &kernel, const From &from, std::ptrdiff_t at, std::ptrdiff_t bytes,
                               unsigned char *to) {
    alignas(64) unsigned char buffers[Kernel::kSources][kBlockBytes<Kernel>] = {};
    From buffered = from;
    for (std::size_t source = 0; source < Kernel::kSources; ++source) {
        std::memcpy(buffers[source], from.at[source] + at, static_cast<std::size_t>(bytes));
        buffered.at[source] = buffers[source];
    }
    MapBlock<Stored>(kernel, buffered, 0, buffers[0]);
    std::memcpy(to, buffers[0], static_cast<std::size_t>(bytes));
}

/// One stretch of pixels, the very same ones or apart.
template <class Kernel, class From>
[[gnu::noinline]] void MapStretch(const Kernel &constants, const From &sources, std::ptrdiff_t bytes, unsigned char *to,
                                  bool stream) {
    constexpr std::ptrdiff_t kStep = kBlockBytes<Kernel>;
    const Kernel kernel = constants; // copies that no store to a pixel can change stay in registers
    const From from = sources;
    std::ptrdiff_t at = 0;
    const auto blocks = [&]<class Out>(Out) KVT_INLINE_LAMBDA {
        for (; at + kStep <= bytes; at += kStep) {
            from.FetchAhead(at);
            MapBlock<Out>(kernel, from, at, to + at);
        }
    };
    const auto misplaced = static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(to) % kBytes);
    if (stream && misplaced % 4 == 0 && bytes >= kStep) { // non-temporal stores want whole vectors' places
        if (misplaced) {
            MapBlock<Stored>(kernel, from, 0, to);
            at = kBytes - misplaced;
        }
        blocks(Streamed{});
    } else {
        blocks(Stored{});
    }
    if (at < bytes)
        MapPart(constants, sources, at, bytes - at, to + at);
}

template <bool kReorders, class Kernel> KVT_INLINE void MapRows(const MapJob &job, const Kernel &kernel) {
    const std::ptrdiff_t first = std::ptrdiff_t{job.area.left} * 4;
    Sources<Kernel, kReorders> from;
    for (std::size_t source = 0; kReorders && source < Kernel::kSources; ++source)
        from.order[source] = Reordering(job.sources[source].layout, job.target.layout);
    for (std::int32_t row = job.area.top; row < job.area.bottom; ++row) {
        for (std::size_t source = 0; source < Kernel::kSources; ++source)
            from.at[source] = job.sources[source].rows[row] + first;
        MapStretch(kernel, from, std::ptrdiff_t{job.area.right - job.area.left} * 4, job.target.rows[row] + first,
                   job.stream);
    }
    if (job.stream)
        FinishStreaming();
}

/// target(x, y) = kernel(sources(x, y)...) for every pixel of the job's area.
template <class Kernel> KVT_INLINE void Map(const MapJob &job, const Kernel &kernel) {
    if (job.area.Empty())
        return;
    if constexpr (!Kernel::kConverts || KVT_SHUFFLES) { // a shuffle that changes nothing costs next to nothing
        MapRows<Kernel::kConverts>(job, kernel);
    } else {
        bool mixed = false;
        for (std::size_t source = 0; source < Kernel::kSources; ++source)
            mixed |= job.sources[source].layout != job.target.layout;
        mixed ? MapRows<true>(job, kernel) : MapRows<false>(job, kernel);
    }
}

// Count and All: a test yields a mask of the 32-bit lanes whose pixels pass.

/// How many of a row's pixels pass.
template <class Test>
[[gnu::noinline]] std::int32_t CountStretch(const unsigned char *pixels, std::ptrdiff_t bytes, const Test &constants) {
    const Test test = constants;
    V passed = Zero();
    std::ptrdiff_t at = 0;
    for (; at + kCacheLine <= bytes; at += kCacheLine) {
        __builtin_prefetch(pixels + at + kAhead);
        KVT_UNROLLED
        for (std::ptrdiff_t part = at; part < at + kCacheLine; part += kBytes)
            passed = Sub32(passed, test(Load(pixels + part)));
    }
    for (; at + kBytes <= bytes; at += kBytes)
        passed = Sub32(passed, test(Load(pixels + at)));
    if (at < bytes) {
        unsigned char rest[kBytes] = {};
        unsigned char counts[kBytes] = {};
        std::memcpy(rest, pixels + at, static_cast<std::size_t>(bytes - at));
        std::memset(counts, 255, static_cast<std::size_t>(bytes - at));
        passed = Sub32(passed, test(Load(rest)) & Load(counts));
    }
    std::uint32_t sums[std::size_t{kBytes} / 4];
    Store(sums, passed);
    std::uint32_t total = 0;
    for (const std::uint32_t sum : sums)
        total += sum;
    return static_cast<std::int32_t>(total);
}

/// The number of pixels of the area that pass.
template <class Test> KVT_INLINE std::int64_t CountPassing(const Rows &rows, Area area, const Test &test) {
    std::int64_t total = 0;
    for (std::int32_t row = area.top; row < area.bottom && !area.Empty(); ++row)
        total +=
            CountStretch(rows[row] + std::ptrdiff_t{area.left} * 4, std::ptrdiff_t{area.right - area.left} * 4, test);
    return total;
}

/// Whether every pixel of the area passes; true for an empty area. Stops soon after the first that fails.
template <class Test> KVT_INLINE bool AllPass(const Rows &rows, Area area, const Test &test) {
    constexpr std::int32_t kPiece = 1024; // pixels between two looks at what failed
    for (std::int32_t row = area.top; row < area.bottom; ++row)
        for (std::int32_t left = area.left; left < area.right; left += kPiece) {
            const std::int32_t count = area.right - left < kPiece ? area.right - left : kPiece;
            if (CountStretch(rows[row] + std::ptrdiff_t{left} * 4, std::ptrdiff_t{count} * 4, test) != count)
                return false;
        }
    return true;
}

} // namespace kvt::KVT_LEVEL
