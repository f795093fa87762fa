#include "color/counting_kernel.h"

namespace kvt::KVT_LEVEL {

/// The first of the numbers `from` up to, not including, `end` by which two places can move to the right so that each
/// then has its color; `end` when there is none.
inline std::int32_t FirstOfColors(const Pixels &source, std::int32_t from, std::int32_t end, const Sought &first,
                                  const Sought &second) {
    const unsigned char *pixels1 = AddressOf(source.rows, first.at);
    const unsigned char *pixels2 = AddressOf(source.rows, second.at);
    const std::uint32_t colors = source.layout.ColorBits();
    const std::uint32_t word1 = source.layout.Color(first.color);
    const std::uint32_t word2 = source.layout.Color(second.color);
    const auto different = [=](std::ptrdiff_t x) KVT_INLINE_LAMBDA {
        return ((LoadWord(pixels1 + x * 4) ^ word1) | (LoadWord(pixels2 + x * 4) ^ word2)) & colors;
    };
    const auto passing = [=](std::ptrdiff_t begin, std::ptrdiff_t stop) KVT_INLINE_LAMBDA {
        std::int32_t passed = 0;
        for (std::ptrdiff_t x = begin; x < stop; ++x)
            passed |= different(x) ? 0 : 1;
        return passed;
    };
    // Where many places pass, the next one is near. Else narrows down: blocks that are large enough to be fast, parts
    // of a block, single places.
    constexpr std::ptrdiff_t kBlock = 1024;
    constexpr std::ptrdiff_t kPart = 64;
    const auto upTo = [end](std::ptrdiff_t stop) KVT_INLINE_LAMBDA { return stop < end ? stop : end; };
    std::ptrdiff_t x = from;
    if (!passing(x, upTo(x + kPart))) {
        x += kPart;
        while (x < end && !passing(x, upTo(x + kBlock)))
            x += kBlock;
        while (x < end && !passing(x, upTo(x + kPart)))
            x += kPart;
    }
    while (x < end && different(x))
        ++x;
    return x < end ? static_cast<std::int32_t>(x) : end;
}

/// How far `part`, of `width` by `height` pixels, equals the pixels of `whole` right of and below `at`, where it fits:
/// the number of its pixels, row by row, that come before the block of pixels with the first difference; all of them
/// when there is none.
inline std::int64_t EqualPixels(const Pixels &whole, Point at, const Pixels &part, std::int32_t width,
                                std::int32_t height) {
    constexpr std::ptrdiff_t kBlock = 256;
    const std::uint32_t colors = whole.layout.ColorBits();
    alignas(64) unsigned char converted[kBlock * 4];
    for (std::int32_t row = 0; row < height; ++row) {
        const unsigned char *a = AddressOf(whole.rows, {at.x, at.y + row});
        const unsigned char *b = part.rows[row];
        for (std::ptrdiff_t x = 0; x < width; x += kBlock, a += kBlock * 4, b += kBlock * 4) {
            const std::ptrdiff_t count = width - x < kBlock ? width - x : kBlock;
            const unsigned char *same = b;
            if (whole.layout != part.layout) {
                Convert(b, part.layout, count, converted, whole.layout);
                same = converted;
            }
            std::uint32_t different = 0;
            for (std::ptrdiff_t i = 0; i < count; ++i)
                different |= (LoadWord(a + i * 4) ^ LoadWord(same + i * 4)) & colors;
            if (different)
                return std::int64_t{row} * width + x;
        }
    }
    return std::int64_t{height} * width;
}

inline bool AllColored(const Pixels &source, Area area, std::uint32_t color) {
    return AllPass(source.rows, area, IsColor(source.layout, color));
}

/// steps[i] has the residue (constant + sum of factor * color) * powers[i], where the colors are those of the pixels
/// numbered i, as numbers of 24 bits. The constant and the powers are at most kPrime.
template <std::size_t kCount>
KVT_INLINE void Weigh(const Layout &layout, std::int32_t count, const std::uint32_t *powers, std::uint64_t *steps,
                      std::uint32_t constant, const Weighed (&weighed)[kCount]) {
    const int shift = layout.other == 0 ? 8 : 0;
    const unsigned char *pixels[kCount];
    std::uint32_t factors[kCount];
    for (std::size_t k = 0; k < kCount; ++k) {
        pixels[k] = weighed[k].pixels;
        factors[k] = weighed[k].factor;
        __asm__("" : "+r"(factors[k])); // for the compiler a number of 32 bits, whose products take one instruction
    }
    std::uint32_t sums[kMostSteps];
    KVT_INDEPENDENT_ITERATIONS
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint64_t sum = constant;
        for (std::size_t k = 0; k < kCount; ++k)
            sum += std::uint64_t{factors[k]} * (LoadWord(pixels[k] + i * 4) >> shift & 0xFFFFFF);
        sums[i] = static_cast<std::uint32_t>(Fold(sum));
    }
    KVT_INDEPENDENT_ITERATIONS
    for (std::ptrdiff_t i = 0; i < count; ++i)
        steps[i] = Fold(std::uint64_t{sums[i]} * powers[i]);
}

inline void WeighTwo(const Layout &layout, std::int32_t count, const std::uint32_t *powers, std::uint64_t *steps,
                     std::uint32_t constant, const Weighed (&weighed)[2]) {
    Weigh(layout, count, powers, steps, constant, weighed);
}
inline void WeighFour(const Layout &layout, std::int32_t count, const std::uint32_t *powers, std::uint64_t *steps,
                      std::uint32_t constant, const Weighed (&weighed)[4]) {
    Weigh(layout, count, powers, steps, constant, weighed);
}

/// hashes[i] gets the residue of base * hashes[i] + sum + the steps before i; behind the last one, `sum` has all steps
/// added. Hashes are at most 2^31. True when one of them has the residue 0.
inline bool AdvanceHashes(std::uint32_t *hashes, std::int32_t count, std::uint32_t base, std::uint64_t &sum,
                          const std::uint64_t *steps) {
    alignas(64) std::uint64_t sums[kMostSteps];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        sums[i] = sum;
        sum += steps[i];
    }
    std::uint32_t zeros = 0;
    KVT_INDEPENDENT_ITERATIONS
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto hash = static_cast<std::uint32_t>(Fold(Fold(std::uint64_t{base} * hashes[i] + sums[i])));
        hashes[i] = hash;
        zeros |= hash == 0 || hash == kPrime ? 1u : 0u;
    }
    return zeros != 0;
}

} // namespace kvt::KVT_LEVEL
