#include "pixels/channel_tables.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kvt {
namespace {

/// A channel's tables with the results already at the channel's place in a word.
struct WordTables {
    std::uint32_t red[256];
    std::uint32_t green[256];
    std::uint32_t blue[256];
};

template <class To> void FillTables(WordTables &words, const ChannelTables &tables) {
    for (int level = 0; level < 256; ++level) {
        words.red[level] = To::Word({tables.red.levels[level], 0, 0});
        words.green[level] = To::Word({0, tables.green.levels[level], 0});
        words.blue[level] = To::Word({0, 0, tables.blue.levels[level]});
    }
}

void MapWords(const PictureEditor &source, const PictureEditor &target, Area area, const ChannelTables &tables) {
    WithLayout(source, [&](auto from) {
        WithLayout(target, [&](auto to) {
            using From = decltype(from);
            using To = decltype(to);
            WordTables words;
            FillTables<To>(words, tables);
            for (std::int32_t row = area.top; row < area.bottom; ++row) {
                const unsigned char *pixel = RowsOf(source)[row];
                unsigned char *result = RowsOf(target)[row];
                KVT_UNROLLED
                for (std::ptrdiff_t x = area.left; x < area.right; ++x) {
                    std::uint32_t word = LoadWord(pixel + x * From::kBytes);
                    KVT_OPAQUE(word); // as vectors, the words would be taken apart again for the look-ups
                    const Rgb levels = From::Channels(word);
                    StoreWord(result + x * To::kBytes,
                              words.red[levels.red] | words.green[levels.green] | words.blue[levels.blue]);
                }
            }
        });
    });
}

#if defined(__x86_64__) || defined(__i386__)
/// A table as differences between its rows of 16: the results of a level in row k of one half are rows 0 to k of that
/// half, at the level's place in the row, combined.
struct RowDifferences {
    alignas(16) std::uint8_t rows[2][8][16];
};

void FillDifferences(RowDifferences &differences, const ChannelTable &table) {
    for (int half = 0; half < 2; ++half)
        for (int row = 0; row < 8; ++row)
            for (int place = 0; place < 16; ++place) {
                const std::uint8_t *level = &table.levels[(half * 8 + row) * 16 + place];
                differences.rows[half][row][place] = static_cast<std::uint8_t>(row ? level[0] ^ level[-16] : level[0]);
            }
}

// A shuffle yields 0 where an index is negative. Lowered by 16 from row to row, never beyond the lowest byte, the
// index stays negative once the level's own row is passed; a level of the other half has a negative index from the
// start.
KVT_TARGET_AVX2 void LookUpAvx2(const RowDifferences &differences, std::uint8_t *plane, std::ptrdiff_t count) {
    const __m256i sixteen = _mm256_set1_epi8(16);
    for (std::ptrdiff_t i = 0; i < count; i += 64) {
        __m256i *at = reinterpret_cast<__m256i *>(plane + i);
        __m256i first = _mm256_load_si256(at);
        __m256i second = _mm256_load_si256(at + 1);
        __m256i firstResult = _mm256_setzero_si256();
        __m256i secondResult = _mm256_setzero_si256();
        for (const auto &half : differences.rows) {
            __m256i firstIndex = first;
            __m256i secondIndex = second;
            for (const auto &row : half) {
                const __m256i entries =
                    _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(row)));
                firstResult = _mm256_xor_si256(firstResult, _mm256_shuffle_epi8(entries, firstIndex));
                secondResult = _mm256_xor_si256(secondResult, _mm256_shuffle_epi8(entries, secondIndex));
                firstIndex = _mm256_subs_epi8(firstIndex, sixteen);
                secondIndex = _mm256_subs_epi8(secondIndex, sixteen);
            }
            first = _mm256_xor_si256(first, _mm256_set1_epi8(-128));
            second = _mm256_xor_si256(second, _mm256_set1_epi8(-128));
        }
        _mm256_store_si256(at, firstResult);
        _mm256_store_si256(at + 1, secondResult);
    }
}

KVT_TARGET_AVX512 void LookUpAvx512(const ChannelTable &table, std::uint8_t *plane, std::ptrdiff_t count) {
    const __m512i a = _mm512_loadu_si512(table.levels);
    const __m512i b = _mm512_loadu_si512(table.levels + 64);
    const __m512i c = _mm512_loadu_si512(table.levels + 128);
    const __m512i d = _mm512_loadu_si512(table.levels + 192);
    for (std::ptrdiff_t i = 0; i < count; i += 64) {
        const __m512i levels = _mm512_load_si512(plane + i);
        const __m512i low = _mm512_permutex2var_epi8(a, levels, b);
        const __m512i high = _mm512_permutex2var_epi8(c, levels, d);
        _mm512_store_si512(plane + i, _mm512_mask_blend_epi8(_mm512_movepi8_mask(levels), low, high));
    }
}
#endif

} // namespace

void Map(const PictureEditor &source, const PictureEditor &target, Area area, ThroughTables op) {
    const Area inside = Inside(source, Inside(target, area));
    const ChannelTables &tables = *op.tables;
#if defined(__x86_64__) || defined(__i386__)
    if (ActiveInstructionSet() == InstructionSet::Avx512) {
        MapPlanes(source, target, inside, [&](ChannelPlanes &planes, std::ptrdiff_t count) {
            LookUpAvx512(tables.red, planes.red, count);
            LookUpAvx512(tables.green, planes.green, count);
            LookUpAvx512(tables.blue, planes.blue, count);
        });
        return;
    }
    if (ActiveInstructionSet() == InstructionSet::Avx2) {
        RowDifferences reds;
        RowDifferences greens;
        RowDifferences blues;
        FillDifferences(reds, tables.red);
        FillDifferences(greens, tables.green);
        FillDifferences(blues, tables.blue);
        MapPlanes(source, target, inside, [&](ChannelPlanes &planes, std::ptrdiff_t count) {
            LookUpAvx2(reds, planes.red, count);
            LookUpAvx2(greens, planes.green, count);
            LookUpAvx2(blues, planes.blue, count);
        });
        return;
    }
#endif
    if (!inside.Empty())
        MapWords(source, target, inside, tables);
}

} // namespace kvt
