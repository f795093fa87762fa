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
    const bool sameLayout = whole.layout == part.layout;
    const auto word = [&](const unsigned char *pixel) KVT_INLINE_LAMBDA {
        return sameLayout ? LoadWord(pixel) : Word(whole.layout, Channels(part.layout, LoadWord(pixel)));
    };
    for (std::int32_t row = 0; row < height; ++row) {
        const unsigned char *a = AddressOf(whole.rows, {at.x, at.y + row});
        const unsigned char *b = part.rows[row];
        for (std::ptrdiff_t x = 0; x < width; x += kBlock, a += kBlock * 4, b += kBlock * 4) {
            const std::ptrdiff_t count = width - x < kBlock ? width - x : kBlock;
            std::uint32_t different = 0;
            for (std::ptrdiff_t i = 0; i < count; ++i)
                different |= (LoadWord(a + i * 4) ^ word(b + i * 4)) & colors;
            if (different)
                return std::int64_t{row} * width + x;
        }
    }
    return std::int64_t{height} * width;
}

/// Moves the columns of a hash down by a row. The leaving one is the same row again as long as none leaves.
inline void MoveDown(const Hash &hash, const Pixels &pixels, std::int32_t entering, std::int32_t leaving,
                     std::int32_t count) {
    const unsigned char *in = pixels.rows[entering];
    const unsigned char *out = pixels.rows[leaving];
    const std::uint32_t red = 8u * pixels.layout.red;
    const std::uint32_t green = 8u * pixels.layout.green;
    const std::uint32_t blue = 8u * pixels.layout.blue;
    const auto number = [=](const unsigned char *pixel) KVT_INLINE_LAMBDA {
        const std::uint32_t word = LoadWord(pixel);
        return (word >> red & 255) | (word >> green & 255) << 8 | (word >> blue & 255) << 16;
    };
    std::uint32_t base = hash.bases.column;
    std::uint32_t factor = leaving == entering ? 0 : hash.leavingFactor;
    __asm__("" : "+r"(base), "+r"(factor)); // for the compiler numbers of 32 bits, whose products take one instruction
    for (std::int32_t first = 0; first < count; first += kHashBlock) {
        const std::ptrdiff_t end = count - first < kHashBlock ? count - first : kHashBlock;
        const std::uint32_t *powers = hash.powers + first;
        std::uint32_t *columns = hash.columns + first;
        std::uint32_t changes[kHashBlock];
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t i = 0; i < end; ++i) {
            const std::ptrdiff_t at = (first + i) * 4;
            changes[i] = static_cast<std::uint32_t>(Fold(number(in + at) + std::uint64_t{factor} * number(out + at)));
        }
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t i = 0; i < end; ++i) {
            const std::uint64_t sum = std::uint64_t{changes[i]} * powers[i] + std::uint64_t{base} * columns[i];
            columns[i] = static_cast<std::uint32_t>(Fold(Fold(sum)));
        }
    }
}

/// 64-bit sums, which 32-bit code has in vectors alone.
using Two = std::uint64_t __attribute__((vector_size(16)));

/// The first of the places `from` up to, not including, `end` whose hash is the sought one; `end` when there is none.
inline std::int32_t FirstOfHash(const Hash &hash, std::int32_t from, std::int32_t end) {
    std::uint32_t rest = hash.rest;
    __asm__("" : "+r"(rest));
    std::uint64_t start = 0;
    for (std::ptrdiff_t i = 0; i < hash.width; ++i)
        start += hash.columns[from + i];
    Two sum{start, start}; // of the next place
    for (std::int32_t first = from; first < end; first += kHashBlock) {
        const std::ptrdiff_t count = end - first < kHashBlock ? end - first : kHashBlock;
        const std::uint32_t *powers = hash.powers + first;
        const std::uint32_t *leaving = hash.columns + first;
        const std::uint32_t *entering = leaving + hash.width;
        std::uint64_t sums[kHashBlock + 1];
        for (std::ptrdiff_t i = 0; i < count; ++i)
            sums[i] = std::uint64_t{entering[i]} - leaving[i];
        sums[count] = 0;
        for (std::ptrdiff_t i = 0; i < count; i += 2) {
            Two steps;
            std::memcpy(&steps, sums + i, sizeof steps);
            const Two places = sum + __builtin_shufflevector(Two{}, steps, 0, 2);
            sum += steps + __builtin_shufflevector(steps, steps, 1, 0);
            std::memcpy(sums + i, &places, sizeof places);
        }
        std::uint32_t zeros = 0;
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const auto hashed = static_cast<std::uint32_t>(Fold(Fold(sums[i] + std::uint64_t{rest} * powers[i])));
            zeros |= hashed == 0 || hashed == kPrime ? 1u : 0u;
        }
        for (std::int32_t i = 0; zeros && i < count; ++i)
            if (Residue(sums[i] + std::uint64_t{rest} * powers[i]) == 0)
                return first + i;
    }
    return end;
}

} // namespace kvt::KVT_LEVEL
