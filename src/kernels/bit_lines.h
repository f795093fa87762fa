#pragma once

#include "kernels/inline.h"
#include "support/memory.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace kvt {

inline constexpr std::int32_t kWordBits = 32;

/// Which words of a BitLines are neighbors in memory: those of one line, or those at one place in all lines.
enum class WordOrder { LineByLine, WordByWord };

/// Lines of bits that are set word by word in the beginning and from then on only cleared. To look for a set bit and to
/// clear a stretch take a few steps each, however many zeros lie there: a word that has become empty links to a later
/// one, and every search that follows links makes them longer. Ranges go from `first` up to, not including, `end`, and
/// are not empty.
template <WordOrder Order> class BitLines {
  public:
    /// All bits 0. Converts to false when the memory was refused or there is no bit.
    BitLines(std::int32_t lines, std::int32_t length)
        : lines_(lines), lineWords_(length / kWordBits + (length % kWordBits > 0)),
          words_(std::int64_t{lines} * lineWords_), links_(std::int64_t{lines} * lineWords_) {}

    explicit operator bool() const { return words_ && links_; }
    std::int32_t Lines() const { return lines_; }
    std::int32_t LineWords() const { return lineWords_; }

    /// Bits 32 * word up to 32 * word + 31 of a line, the first one lowest. Bits beyond the line's length are 0.
    KVT_INLINE std::uint32_t &Word(std::int32_t line, std::int32_t word) { return words_[Place(line, word)]; }
    KVT_INLINE std::uint32_t Word(std::int32_t line, std::int32_t word) const { return words_[Place(line, word)]; }

    /// The first set bit of the range; `end` or beyond when there is none.
    KVT_INLINE std::int32_t Next(std::int32_t line, std::int32_t first, std::int32_t end) {
        const std::uint32_t bits = Word(line, WordOf(first)) & From(first);
        if (bits)
            return WordOf(first) * kWordBits + std::countr_zero(bits);
        return WordOf(first) == WordOf(end - 1) ? end : NextBehind(line, WordOf(first));
    }

    /// How many bits are set one after the other from `first` on, or back from before `end`, within the word there.
    KVT_INLINE std::int32_t RunFrom(std::int32_t line, std::int32_t first) const {
        return std::countr_one(Word(line, WordOf(first)) >> BitOf(first));
    }
    KVT_INLINE std::int32_t RunBefore(std::int32_t line, std::int32_t end) const {
        return std::countl_one(Word(line, WordOf(end - 1)) << (kWordBits - 1 - BitOf(end - 1)));
    }

    /// Clears the range.
    KVT_INLINE void Clear(std::int32_t line, std::int32_t first, std::int32_t end) {
        const std::int32_t last = WordOf(end - 1);
        if (WordOf(first) == last)
            Word(line, last) &= ~(From(first) & UpTo(end - 1));
        else
            ClearWords(line, first, end);
    }

  private:
    KVT_INLINE static std::int32_t WordOf(std::int32_t bit) { return bit >> 5; }
    KVT_INLINE static std::int32_t BitOf(std::int32_t bit) { return bit & (kWordBits - 1); }
    KVT_INLINE static std::uint32_t From(std::int32_t bit) { return ~std::uint32_t{0} << BitOf(bit); }
    KVT_INLINE static std::uint32_t UpTo(std::int32_t bit) { return ~std::uint32_t{0} >> (kWordBits - 1 - BitOf(bit)); }
    KVT_INLINE std::ptrdiff_t Place(std::ptrdiff_t line, std::ptrdiff_t word) const {
        return Order == WordOrder::LineByLine ? line * lineWords_ + word : word * lines_ + line;
    }

    /// The first word that is not empty, from `word` on; LineWords() when there is none.
    std::int32_t NextUsed(std::int32_t line, std::int32_t word) {
        std::int32_t used = word;
        while (used < lineWords_ && !Word(line, used))
            used += 1 + links_[Place(line, used)];
        while (word < used) {
            std::uint16_t &link = links_[Place(line, word)];
            const std::int32_t next = word + 1 + link;
            link = static_cast<std::uint16_t>(std::min(used - word - 1, 0xFFFF));
            word = next;
        }
        return used;
    }

    /// The first set bit in the words behind one; at the end of all words when there is none.
    [[gnu::noinline]] std::int32_t NextBehind(std::int32_t line, std::int32_t word) {
        const std::int32_t used = NextUsed(line, word + 1);
        return used * kWordBits + (used < lineWords_ ? std::countr_zero(Word(line, used)) : 0);
    }

    [[gnu::noinline]] void ClearWords(std::int32_t line, std::int32_t first, std::int32_t end) {
        const std::int32_t last = WordOf(end - 1);
        Word(line, WordOf(first)) &= ~From(first);
        std::int32_t word = NextUsed(line, WordOf(first) + 1);
        for (; word < last; word = NextUsed(line, word + 1))
            Word(line, word) = 0;
        if (word == last)
            Word(line, last) &= ~UpTo(end - 1);
    }

    std::int32_t lines_;
    std::int32_t lineWords_;
    ClearBuffer<std::uint32_t> words_;
    ClearBuffer<std::uint16_t> links_; ///< of an empty word: how many of the words behind it are known to be empty
};

/// Bit j of word i changes places with bit i of word j: quarters of the square of bits cross over, then the quarters of
/// each quarter, down to single bits.
inline void TransposeSquare(std::uint32_t (&words)[kWordBits]) {
    std::uint32_t lowHalves = 0x0000FFFF;
    for (int half = kWordBits / 2; half; half /= 2, lowHalves ^= lowHalves << half) {
        for (int quarters = 0; quarters < kWordBits; quarters += 2 * half) {
            KVT_INDEPENDENT_ITERATIONS
            for (int i = quarters; i < quarters + half; ++i) {
                const std::uint32_t crossing = (words[i] >> half ^ words[i + half]) & lowHalves;
                words[i] ^= crossing << half;
                words[i + half] ^= crossing;
            }
        }
    }
}

/// Bit y of line x of `from` becomes bit x of line y of `to`, which has as many lines as `from` has bits a line, and
/// the reverse.
template <WordOrder From, WordOrder To> void Transpose(const BitLines<From> &from, BitLines<To> &to) {
    for (std::int32_t x = 0; x < from.Lines(); x += kWordBits) {
        for (std::int32_t y = 0; y < to.Lines(); y += kWordBits) {
            std::uint32_t square[kWordBits] = {};
            std::uint32_t any = 0;
            for (std::int32_t i = 0; i < std::min(kWordBits, from.Lines() - x); ++i)
                any |= square[i] = from.Word(x + i, y / kWordBits);
            if (!any) // the new lines begin with all bits 0
                continue;
            TransposeSquare(square);
            for (std::int32_t i = 0; i < std::min(kWordBits, to.Lines() - y); ++i)
                to.Word(y + i, x / kWordBits) = square[i];
        }
    }
}

} // namespace kvt
