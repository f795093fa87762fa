#pragma once

#include "pixels/bit_lines.h"
#include "pixels/residues.h"
#include "pixels/walk.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Walks along single rows, for operations that go through a picture in an order of their own. Every row and column
/// that they are given lies inside the picture.
namespace kvt {

/// The place of a pixel.
struct Point {
    std::int32_t x;
    std::int32_t y;
};

inline unsigned char *AddressOf(const PictureEditor &editor, Point point) {
    return RowsOf(editor)[point.y] + std::ptrdiff_t{point.x} * 4;
}

inline Rgb PixelAt(const PictureEditor &source, Point point) {
    return WithLayout(source, [&](auto layout) { return decltype(layout)::Load(AddressOf(source, point)); });
}

/// A color looked for at a place.
struct Sought {
    Point at;
    Rgb color;
};

/// The first of the numbers `from` up to, not including, `end` by which the places can move to the right so that each
/// then has its color; `end` when there is none.
template <class... Places>
std::int32_t FirstOfColors(const PictureEditor &source, std::int32_t from, std::int32_t end, Places... places) {
    return WithLayout(source, [&](auto layout) {
        using From = decltype(layout);
        return AtActiveLevel([=, ... pixels = AddressOf(source, places.at),
                              ... words = From::Word(places.color) & From::kColorBits]() KVT_INLINE_LAMBDA {
            const auto different = [=](std::ptrdiff_t x) KVT_INLINE_LAMBDA {
                return (((LoadWord(pixels + x * From::kBytes) & From::kColorBits) ^ words) | ...);
            };
            const auto passing = [=](std::ptrdiff_t begin, std::ptrdiff_t stop) KVT_INLINE_LAMBDA {
                std::int32_t passed = 0;
                for (std::ptrdiff_t x = begin; x < stop; ++x)
                    passed |= different(x) ? 0 : 1;
                return passed;
            };
            // Where many places pass, the next one is near. Else narrows down: blocks that are large enough to be fast,
            // parts of a block, single places.
            constexpr std::ptrdiff_t kBlock = 1024;
            constexpr std::ptrdiff_t kPart = 64;
            std::ptrdiff_t x = from;
            if (!passing(x, Lower<std::ptrdiff_t>(end, x + kPart))) {
                x += kPart;
                while (x < end && !passing(x, Lower<std::ptrdiff_t>(end, x + kBlock)))
                    x += kBlock;
                while (x < end && !passing(x, Lower<std::ptrdiff_t>(end, x + kPart)))
                    x += kPart;
            }
            while (x < end && different(x))
                ++x;
            return x < end ? static_cast<std::int32_t>(x) : end;
        });
    });
}

/// How far `part` equals the pixels of `whole` right of and below `at`, where it fits: the number of its pixels, row by
/// row, that come before the block of pixels with the first difference; all of them when there is none.
inline std::int64_t EqualPixels(const PictureEditor &whole, Point at, const PictureEditor &part) {
    return WithLayout(whole, [&](auto wholeLayout) {
        return WithLayout(part, [&](auto partLayout) {
            using Whole = decltype(wholeLayout);
            using Part = decltype(partLayout);
            return AtActiveLevel([=, rows = RowsOf(whole), partRows = RowsOf(part), width = part.width,
                                  height = part.height]() KVT_INLINE_LAMBDA {
                constexpr std::ptrdiff_t kBlock = 256;
                for (std::int32_t row = 0; row < height; ++row) {
                    const unsigned char *a = rows[at.y + row] + std::ptrdiff_t{at.x} * Whole::kBytes;
                    const unsigned char *b = partRows[row];
                    for (std::ptrdiff_t x = 0; x < width; x += kBlock) {
                        const std::ptrdiff_t stop = Lower<std::ptrdiff_t>(width, x + kBlock);
                        std::int32_t different = 0;
                        for (std::ptrdiff_t i = x; i < stop; ++i)
                            different |= Whole::Load(a + i * Whole::kBytes) == Part::Load(b + i * Part::kBytes) ? 0 : 1;
                        if (different)
                            return std::int64_t{row} * width + x;
                    }
                }
                return std::int64_t{height} * width;
            });
        });
    });
}

/// The three channels as one number, whatever the layout.
template <class Layout> KVT_INLINE std::uint32_t ColorNumber(const unsigned char *pixel) {
    return Converted<Layout, AlphaHigh>(LoadWord(pixel)) & AlphaHigh::kColorBits;
}

inline constexpr std::int32_t kMostSteps = 512; ///< at a time

/// For the compiler a number of 32 bits from here on, whose products take one instruction instead of three.
KVT_INLINE std::uint32_t Opaque(std::uint32_t value) {
    KVT_OPAQUE(value);
    return value;
}

/// A pixel that counts in a sum of colors, and how often. The factor is at most kPrime.
struct Weighed {
    Point at;
    std::uint32_t factor;
};

/// steps[i] has the residue (constant + sum of factor * color) * powers[i], where the pixels are those `i` to the right
/// of the given ones, at most four. The constant and the powers are at most kPrime.
template <class... Pixels>
void WeighColors(const PictureEditor &source, std::int32_t count, const std::uint32_t *powers, std::uint64_t *steps,
                 std::uint32_t constant, Pixels... weighed) {
    WithLayout(source, [&](auto layout) {
        using From = decltype(layout);
        AtActiveLevel([=, ... factors = Opaque(weighed.factor),
                       ... pixels = AddressOf(source, weighed.at)]() KVT_INLINE_LAMBDA {
            std::uint32_t sums[kMostSteps];
            KVT_INDEPENDENT_ITERATIONS
            for (std::ptrdiff_t i = 0; i < count; ++i)
                sums[i] = static_cast<std::uint32_t>(
                    Fold((constant + ... + (std::uint64_t{factors} * ColorNumber<From>(pixels + i * From::kBytes)))));
            KVT_INDEPENDENT_ITERATIONS
            for (std::ptrdiff_t i = 0; i < count; ++i)
                steps[i] = Fold(std::uint64_t{sums[i]} * powers[i]);
        });
    });
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
    return AtActiveLevel([=, sums = &sums[0]]() KVT_INLINE_LAMBDA {
        std::uint32_t zeros = 0;
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const auto hash = static_cast<std::uint32_t>(Fold(Fold(std::uint64_t{base} * hashes[i] + sums[i])));
            hashes[i] = hash;
            zeros |= hash == 0 || hash == kPrime ? 1u : 0u;
        }
        return zeros != 0;
    });
}

/// Bit i becomes the highest bit of byte i.
KVT_INLINE std::uint32_t HighestBits(const unsigned char (&bytes)[kWordBits]) {
    std::uint32_t bits = 0;
#if defined(__SSE2__)
    for (std::ptrdiff_t half = 1; half >= 0; --half)
        bits = bits << 16 | static_cast<std::uint32_t>(_mm_movemask_epi8(
                                _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + half * 16))));
#else
    for (int i = kWordBits - 1; i >= 0; --i)
        bits = bits << 1 | bytes[i] >> 7;
#endif
    return bits;
}

/// Sets bit x % kWordBits of words[x / kWordBits] for the pixels of a row that pass, of the columns `first` up to, not
/// including, `end`. The test takes a WholePixel of any layout.
template <class Test>
void MarkPassing(const PictureEditor &source, std::int32_t row, std::int32_t first, std::int32_t end,
                 std::uint32_t *words, Test test) {
    WithLayout(source, [&](auto layout) {
        using From = decltype(layout);
        AtActiveLevel([=, pixels = AddressOf(source, Point{0, row})]() KVT_INLINE_LAMBDA {
            const auto passes = [=](std::ptrdiff_t x) KVT_INLINE_LAMBDA {
                return test(WholePixel<From>{LoadWord(pixels + x * From::kBytes)});
            };
            for (std::int32_t word = first / kWordBits; word * kWordBits < end; ++word) {
                const std::int32_t begin = word * kWordBits;
                if (begin >= first && begin + kWordBits <= end) {
                    unsigned char passing[kWordBits];
                    for (std::int32_t bit = 0; bit < kWordBits; ++bit)
                        passing[bit] = passes(begin + bit) ? 255 : 0;
                    words[word] |= HighestBits(passing);
                } else {
                    for (std::int32_t x = Higher(first, begin); x < Lower(end, begin + kWordBits); ++x)
                        words[word] |= passes(x) ? std::uint32_t{1} << x % kWordBits : 0;
                }
            }
        });
    });
}

} // namespace kvt
