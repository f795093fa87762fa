#pragma once

#include "pixels/bit_lines.h"
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
            // Narrows down: blocks that are large enough to be fast, parts of a block, single places.
            constexpr std::ptrdiff_t kBlock = 1024;
            constexpr std::ptrdiff_t kPart = 64;
            std::ptrdiff_t x = from;
            while (x < end && !passing(x, Lower<std::ptrdiff_t>(end, x + kBlock)))
                x += kBlock;
            while (x < end && !passing(x, Lower<std::ptrdiff_t>(end, x + kPart)))
                x += kPart;
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

/// values[x] = op(values[x], pixel(x, row)...) for the columns `first` up to, not including, `end`: `op` takes and
/// yields a column's value, and takes one Rgb a row.
template <class Op, class... RowNumbers>
void FoldColumns(const PictureEditor &source, std::int32_t first, std::int32_t end, std::uint32_t *values, Op op,
                 RowNumbers... rows) {
    WithLayout(source, [&](auto layout) {
        using From = decltype(layout);
        AtActiveLevel([=, ... pixels = AddressOf(source, Point{0, rows})]() KVT_INLINE_LAMBDA {
            KVT_INDEPENDENT_ITERATIONS
            for (std::ptrdiff_t x = first; x < end; ++x)
                values[x] = op(values[x], From::Load(pixels + x * From::kBytes)...);
        });
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
