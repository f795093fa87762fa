#include "pixels/tinted_gray.h"

#include "pixels/walk.h"

#include <bit>
#include <cstring>
#include <numeric>

namespace kvt {
namespace {

struct Shares {
    explicit Shares(Rgb level) : red(level.red / 255.0), green(level.green / 255.0), blue(level.blue / 255.0) {}
    double red;
    double green;
    double blue;
};

/// Whether levels can come out above 255, up to 765.
enum class Limit { NotNeeded, Needed };

/// The plain form, as defined.
template <Limit kLimit> struct InDoubles {
    static constexpr bool kSlowerThanMemory = true;
    Shares weight;
    Shares tint;

    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const double gray = pixel.red * weight.red + pixel.green * weight.green + pixel.blue * weight.blue;
        return {Tinted(tint.red * gray), Tinted(tint.green * gray), Tinted(tint.blue * gray)};
    }
    KVT_INLINE static std::int32_t Tinted(double level) {
        const auto truncated = static_cast<std::int32_t>(level);
        return kLimit == Limit::Needed ? Lower(truncated, 255) : truncated;
    }
};

// The fast form takes gray as a whole number of 255ths, so that a level is tint * gray / 65025, truncated. The doubles'
// roundings are far smaller than a 65025th: they decide only where that quotient is a whole number. These doubtful
// pixels, whose grays are the multiples of some period, are computed in doubles as well.

constexpr std::int32_t kOne = 255 * 255;

/// The largest gray, that of white with weights of 256 in all. The gray below yields the same levels, but none above
/// 255, and is not doubtful.
constexpr std::int32_t kLargestGray = 256 * 255;

/// Where the channels of a source's pixel words begin: kernels for every pair of layouts would be three times the code,
/// and the fast form no faster.
struct Shifts {
    std::int32_t red;
    std::int32_t green;
    std::int32_t blue;

    KVT_INLINE Rgb Load(const unsigned char *pixel) const {
        const std::uint32_t word = LoadWord(pixel);
        const auto level = [=](std::int32_t shift)
                               KVT_INLINE_LAMBDA { return static_cast<std::int32_t>(word >> shift & 255); };
        return {level(red), level(green), level(blue)};
    }
};

Shifts ShiftsOf(const PictureEditor &editor) {
    return WithLayout(editor, [](auto layout) {
        using Layout = decltype(layout);
        return Shifts{Layout::kRedShift, Layout::kGreenShift, Layout::kBlueShift};
    });
}

/// What the fast form multiplies with. In single precision a quotient that is not whole comes out on the right side of
/// the next whole number, for every tint and every gray of 16 bits.
struct InSingles {
    std::uint32_t evenWeights; ///< in two halves, for the bytes 0 and 2 of a pixel word
    std::uint32_t oddWeights;  ///< for the bytes 1 and 3
    float red;
    float green;
    float blue;
    std::uint16_t inverse;  ///< of the period modulo 65536: a gray times it is small when it is a multiple
    std::int32_t multiples; ///< of the period among the grays. Without 0: there doubles are exact
};

/// From a doubtful gray to the next one; 0 when the tint is black.
std::int32_t PeriodOf(Rgb tint) {
    std::int32_t period = 0;
    for (const std::int32_t level : {tint.red, tint.green, tint.blue})
        if (level > 0)
            period = std::gcd(period, kOne / std::gcd(level, kOne));
    return period;
}

std::int32_t Sum(Rgb levels) { return levels.red + levels.green + levels.blue; }

/// Whether the area is worth the preparations, grays fit 16 bits, and few of them are doubtful as a rule.
bool SuitsSingles(Area area, TintedGray tinted) {
    constexpr std::int64_t kWorthwhilePixels = 512;
    constexpr std::int32_t kFew = 64; // one of so many
    if (area.Pixels() < kWorthwhilePixels || Sum(tinted.weight) * 255 > kLargestGray)
        return false;
    const std::int32_t period = PeriodOf(tinted.tint);
    const std::int32_t step = std::gcd(std::gcd(tinted.weight.red, tinted.weight.green), tinted.weight.blue);
    return period > 0 && period >= kFew * std::gcd(period, step);
}

InSingles SinglesOf(TintedGray tinted, Shifts from) {
    const std::int32_t period = PeriodOf(tinted.tint);
    const auto odd = static_cast<std::uint32_t>(period);
    std::uint32_t inverse = odd; // an odd number is its own inverse in three bits; each step doubles them
    for (int bits = 3; bits < 16; bits *= 2)
        inverse *= 2 - odd * inverse;
    const auto weights = [&](std::int32_t firstByte) {
        std::uint32_t halves = 0;
        const auto add = [&](std::int32_t weight, std::int32_t shift) {
            if (shift / 8 % 2 == firstByte)
                halves |= static_cast<std::uint32_t>(weight) << (shift - firstByte * 8);
        };
        add(tinted.weight.red, from.red);
        add(tinted.weight.green, from.green);
        add(tinted.weight.blue, from.blue);
        return halves;
    };
    const auto factor = [](std::int32_t level) { return static_cast<float>(level / static_cast<double>(kOne)); };
    return {weights(0),
            weights(1),
            factor(tinted.tint.red),
            factor(tinted.tint.green),
            factor(tinted.tint.blue),
            static_cast<std::uint16_t>(inverse),
            kLargestGray / period};
}

/// What the fast form works on: some pixels at once.
template <std::size_t kBytes> struct Vectors {
    static constexpr std::ptrdiff_t kPixels = kBytes / 4;
    using Words [[gnu::vector_size(kBytes)]] = std::uint32_t;
    using Halves [[gnu::vector_size(kBytes)]] = std::uint16_t;
    using Numbers [[gnu::vector_size(kBytes)]] = std::int32_t;
    using Singles [[gnu::vector_size(kBytes)]] = float;
    using Doubts = std::uint32_t[kBytes / 4];
};

/// Maps whole vectors of pixels. Bit i of word k in `doubtful` says that pixel i * kPixels + k is doubtful.
template <class Vector, class To>
KVT_INLINE void MapInSingles(const InSingles &form, const unsigned char *source, unsigned char *target,
                             std::ptrdiff_t count, typename Vector::Doubts &doubtful) {
    using Words = typename Vector::Words;
    using Halves = typename Vector::Halves;
    using Numbers = typename Vector::Numbers;
    using Singles = typename Vector::Singles;
    const Halves evenWeights = reinterpret_cast<Halves>(Words{} + form.evenWeights);
    const Halves oddWeights = reinterpret_cast<Halves>(Words{} + form.oddWeights);
    const Halves lowOnes = reinterpret_cast<Halves>(Words{} + 0xFFFFu);
    Words doubts = {};
    Words bit = Words{} + 1;
    for (std::ptrdiff_t x = 0; x < count; x += Vector::kPixels, bit += bit) {
        Words words;
        std::memcpy(&words, source + x * 4, sizeof words);
        const Halves evens = reinterpret_cast<Halves>(words & 0x00FF00FFu);
        const Halves odds = reinterpret_cast<Halves>(words) >> 8;
        const Halves sums = evens * evenWeights + odds * oddWeights;
        const Halves above = reinterpret_cast<Halves>(reinterpret_cast<Words>(sums) << 16);
        Numbers grays = reinterpret_cast<Numbers>(reinterpret_cast<Words>(sums + above) >> 16);
        grays += grays == kLargestGray; // true is -1
        const Singles gray = __builtin_convertvector(grays, Singles);
        const Singles red = gray * form.red;
        const Singles green = gray * form.green;
        const Singles blue = gray * form.blue;
        const Words result = reinterpret_cast<Words>(__builtin_convertvector(red, Numbers)) << To::kRedShift |
                             reinterpret_cast<Words>(__builtin_convertvector(green, Numbers)) << To::kGreenShift |
                             reinterpret_cast<Words>(__builtin_convertvector(blue, Numbers)) << To::kBlueShift |
                             To::kOpaqueBits;
        std::memcpy(target + x * 4, &result, sizeof result);
        // Lowered by 1 within 16 bits, so that 0 is no multiple.
        const Halves quotients = reinterpret_cast<Halves>(grays) * form.inverse + lowOnes;
        doubts |= reinterpret_cast<Words>(reinterpret_cast<Numbers>(quotients) < form.multiples) & bit;
    }
    std::memcpy(doubtful, &doubts, sizeof doubts);
}

/// The fast form, portion by portion.
template <class Vector, class To> struct Mostly {
    InSingles singles;
    InDoubles<Limit::Needed> doubles;
    Shifts from;
    std::int32_t plainPortions = 0; ///< so many are still to come

    KVT_INLINE void Map(const unsigned char *source, unsigned char *target, std::ptrdiff_t count) {
        // With more doubtful pixels the plain form takes less time for all of a portion; and the portions that follow
        // are likely to be of that kind as well.
        constexpr std::int32_t kFewDoubtful = kPortionPixels / 10;
        constexpr std::int32_t kPlainPortions = 15;
        constexpr std::ptrdiff_t kPixels = Vector::kPixels;
        static_assert(kPortionPixels <= kPixels * 32);
        if (plainPortions > 0) {
            --plainPortions;
            MapPlain(source, target, 0, count);
            return;
        }
        const std::ptrdiff_t whole = count / kPixels * kPixels;
        typename Vector::Doubts doubtful;
        MapInSingles<Vector, To>(singles, source, target, whole, doubtful);
        MapPlain(source, target, whole, count);
        std::uint32_t any = 0; // as a rule none; to count them takes longer
        for (const std::uint32_t bits : doubtful)
            any |= bits;
        if (!any)
            return;
        std::int32_t doubts = 0;
        for (const std::uint32_t bits : doubtful)
            doubts += std::popcount(bits);
        if (doubts > kFewDoubtful) {
            plainPortions = kPlainPortions;
            MapPlain(source, target, 0, whole);
            return;
        }
        for (std::ptrdiff_t k = 0; std::uint32_t bits : doubtful) {
            for (; bits; bits &= bits - 1) {
                const std::ptrdiff_t x = std::countr_zero(bits) * kPixels + k;
                MapPlain(source, target, x, x + 1);
            }
            ++k;
        }
    }

    /// Pixels `first` up to, not including, `end` of a portion.
    KVT_INLINE void MapPlain(const unsigned char *source, unsigned char *target, std::ptrdiff_t first,
                             std::ptrdiff_t end) const {
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t x = first; x < end; ++x)
            To::Store(target + x * 4, doubles(from.Load(source + x * 4)));
    }
};

template <class Form> KVT_INLINE void MapPortions(Rows from, Rows to, Area area, Form form) {
    // Not past the caches: like the plain form, these are slower than memory.
    WriteRows<false>(to, area,
                     [&](std::int32_t row, std::ptrdiff_t first, std::ptrdiff_t count, unsigned char *pixels)
                         KVT_INLINE_LAMBDA { form.Map(from[row] + first * 4, pixels, count); });
}

void MapFast(const PictureEditor &source, const PictureEditor &target, Area area, TintedGray tinted) {
    const Shifts shifts = ShiftsOf(source);
    const InSingles singles = SinglesOf(tinted, shifts);
    const InDoubles<Limit::Needed> doubles{Shares(tinted.weight), Shares(tinted.tint)};
    WithLayout(target, [=, from = RowsOf(source), to = RowsOf(target)](auto layout) {
        using To = decltype(layout);
        AtActiveWidth([=](auto width) KVT_INLINE_LAMBDA {
            MapPortions(from, to, area, Mostly<Vectors<decltype(width)::value>, To>{singles, doubles, shifts});
        });
    });
}

template <Limit kLimit>
void MapPlain(const PictureEditor &source, const PictureEditor &target, Area area, TintedGray tinted) {
    Map(source, target, area, InDoubles<kLimit>{Shares(tinted.weight), Shares(tinted.tint)});
}

} // namespace

void Map(const PictureEditor &source, const PictureEditor &target, Area area, TintedGray tinted) {
    const Area inside = Inside(source, Inside(target, area));
    const Rgb tint = tinted.tint;
    const std::int32_t strongest = Higher(Higher(tint.red, tint.green), tint.blue);
    if (SuitsSingles(inside, tinted))
        MapFast(source, target, inside, tinted);
    else if (Sum(tinted.weight) * strongest <= kOne)
        MapPlain<Limit::NotNeeded>(source, target, inside, tinted);
    else
        MapPlain<Limit::Needed>(source, target, inside, tinted);
}

} // namespace kvt
