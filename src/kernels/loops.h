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

/// How many bytes before they are read pixels are fetched from memory: where arithmetic takes as long as the memory,
/// the processor does not look ahead far enough on its own.
constexpr std::ptrdiff_t kAhead = 1024;

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

/// Where a kernel reads, and how it brings what it read into the target's layout: by a shuffle, which changes nothing
/// where the layouts are the same. Levels without one convert beforehand (MapConverted).
template <class Kernel> struct Sources {
    const unsigned char *at[Kernel::kSources];
    V order[kShuffles ? Kernel::kSources : 1];

    KVT_INLINE V Read(std::size_t source, std::ptrdiff_t offset) const {
        const V v = Load(at[source] + offset);
        if constexpr (kShuffles && Kernel::kConverts)
            return Shuffle(v, order[source]);
        return v;
    }
    /// A block that is that far away.
    KVT_INLINE void FetchAhead(std::ptrdiff_t offset) const {
        constexpr std::ptrdiff_t kCacheLine = 64;
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

template <class Out, class Kernel>
KVT_INLINE void MapBlock(const Kernel &kernel, const Sources<Kernel> &from, std::ptrdiff_t at, unsigned char *to) {
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
template <class Kernel>
[[gnu::noinline]] void MapPart(const Kernel &kernel, const Sources<Kernel> &from, std::ptrdiff_t at,
                               std::ptrdiff_t bytes, unsigned char *to) {
    alignas(64) unsigned char buffers[Kernel::kSources][kBlockBytes<Kernel>] = {};
    Sources<Kernel> buffered = from;
    for (std::size_t source = 0; source < Kernel::kSources; ++source) {
        std::memcpy(buffers[source], from.at[source] + at, static_cast<std::size_t>(bytes));
        buffered.at[source] = buffers[source];
    }
    MapBlock<Stored>(kernel, buffered, 0, buffers[0]);
    std::memcpy(to, buffers[0], static_cast<std::size_t>(bytes));
}

/// One stretch of pixels, the very same ones or apart.
template <class Kernel>
[[gnu::noinline]] void MapStretch(const Kernel &constants, const Sources<Kernel> &sources, std::ptrdiff_t bytes,
                                  unsigned char *to, bool stream) {
    constexpr std::ptrdiff_t kStep = kBlockBytes<Kernel>;
    const Kernel kernel = constants; // copies that no store to a pixel can change stay in registers
    const Sources<Kernel> from = sources;
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

/// Opaque pixels of one layout in another one. Each byte moves on its own, without a shuffle.
struct Conversion : Reads<1, SourceLayout::Own> {
    int right[3];
    int left[3];
    std::uint32_t opaque;

    Conversion(const Layout &from, const Layout &to)
        : right{8 * from.red, 8 * from.green, 8 * from.blue}, left{8 * to.red, 8 * to.green, 8 * to.blue},
          opaque(to.OpaqueBits()) {}
    KVT_INLINE V operator()(V v) const {
        V converted = All32(opaque);
        for (int channel = 0; channel < 3; ++channel)
            converted = converted | Left32By(Right32By(v, right[channel]) & All32(255), left[channel]);
        return converted;
    }
};

/// `count` opaque pixels of one layout in another one, elsewhere.
inline void Convert(const unsigned char *from, const Layout &layout, std::ptrdiff_t count, unsigned char *to,
                    const Layout &toLayout) {
    Sources<Conversion> source;
    source.at[0] = from;
    MapStretch(Conversion(layout, toLayout), source, count * 4, to, false);
}

/// A stretch whose sources have not all the target's layout: they are converted in pieces that stay in the nearest
/// cache.
template <class Kernel>
[[gnu::noinline]] void MapConverted(const Kernel &kernel, const MapJob &job, const Sources<Kernel> &from,
                                    std::ptrdiff_t bytes, unsigned char *to) {
    constexpr std::ptrdiff_t kPiece = 4096;
    alignas(64) unsigned char converted[Kernel::kSources][kPiece];
    for (std::ptrdiff_t at = 0; at < bytes; at += kPiece) {
        const std::ptrdiff_t piece = bytes - at < kPiece ? bytes - at : kPiece;
        Sources<Kernel> pieces;
        for (std::size_t source = 0; source < Kernel::kSources; ++source) {
            Convert(from.at[source] + at, job.sources[source].layout, piece / 4, converted[source], job.target.layout);
            pieces.at[source] = converted[source];
        }
        MapStretch(kernel, pieces, piece, to + at, job.stream);
    }
}

/// target(x, y) = kernel(sources(x, y)...) for every pixel of the job's area.
template <class Kernel> KVT_INLINE void Map(const MapJob &job, const Kernel &kernel) {
    if (job.area.Empty())
        return;
    const std::ptrdiff_t first = std::ptrdiff_t{job.area.left} * 4;
    const std::ptrdiff_t bytes = std::ptrdiff_t{job.area.right - job.area.left} * 4;
    Sources<Kernel> from;
    bool mixed = false;
    for (std::size_t source = 0; Kernel::kConverts && source < Kernel::kSources; ++source) {
        if constexpr (kShuffles)
            from.order[source] = Order(job.sources[source].layout, job.target.layout);
        else
            mixed |= job.sources[source].layout != job.target.layout;
    }
    for (std::int32_t row = job.area.top; row < job.area.bottom; ++row) {
        for (std::size_t source = 0; source < Kernel::kSources; ++source)
            from.at[source] = job.sources[source].rows[row] + first;
        unsigned char *to = job.target.rows[row] + first;
        if (!mixed)
            MapStretch(kernel, from, bytes, to, job.stream);
        else if constexpr (!kShuffles && Kernel::kConverts)
            MapConverted(kernel, job, from, bytes, to);
    }
    if (job.stream)
        FinishStreaming();
}

/// Arithmetic on three levels, an operation from Rgb to Rgb.
template <class Op> struct EachPixel : Reads<1, SourceLayout::Own> {
    Op op;
    Layout from;
    Layout to;
    KVT_INLINE std::uint32_t operator()(const unsigned char *pixel) const {
        return Word(to, op(Channels(from, LoadWord(pixel))));
    }
};
template <class Op> KVT_INLINE void MapEachPixel(const MapJob &job, const Op &op) {
    Map(job, EachPixel<Op>{{}, op, job.sources[0].layout, job.target.layout});
}

// Count and All: a test yields a mask of the 32-bit lanes whose pixels pass.

/// How many of a row's pixels pass.
template <class Test>
[[gnu::noinline]] std::int32_t CountStretch(const unsigned char *pixels, std::ptrdiff_t bytes, const Test &constants) {
    const Test test = constants;
    V passed = Zero();
    std::ptrdiff_t at = 0;
    KVT_UNROLLED
    for (; at + kBytes <= bytes; at += kBytes) {
        __builtin_prefetch(pixels + at + kAhead);
        passed = Sub32(passed, test(Load(pixels + at)));
    }
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
