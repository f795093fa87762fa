#pragma once

#include "pixels/inline.h"
#include "support/memory.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace kvt {

/// Lines of bits that are set word by word in the beginning and from then on only cleared. To look for a set bit and to
/// clear a stretch take a few steps each, however many zeros lie there: a word that has become empty links to a later
/// one, and every search that follows links makes them longer.
class BitLines {
  public:
    /// Which words are neighbors in memory: those of one line, or those that stand at one place in all lines.
    enum class Order { LineByLine, WordByWord };

    static constexpr std::int32_t kWordBits = 32;

    /// All bits 0. Converts to false when the memory was refused or there is no bit.
    BitLines(std::int32_t lines, std::int32_t length, Order order)
        : lines_(lines), lineWords_(length / kWordBits + (length % kWordBits > 0)),
          lineStep_(order == Order::LineByLine ? lineWords_ : 1), wordStep_(order == Order::LineByLine ? 1 : lines),
          words_(std::int64_t{lines} * lineWords_), links_(std::int64_t{lines} * lineWords_) {}

    explicit operator bool() const { return words_ && links_; }
    std::int32_t Lines() const { return lines_; }
    std::int32_t LineWords() const { return lineWords_; }

    /// Bits 32 * word up to 32 * word + 31 of a line, the first one lowest.
    KVT_INLINE std::uint32_t &Word(std::int32_t line, std::int32_t word) const { return words_[Place(line, word)]; }

    /// The first set bit of the line from `first` on; beyond the line's end when there is none.
    KVT_INLINE std::int32_t Next(std::int32_t line, std::int32_t first) const {
        if (first / kWordBits >= lineWords_)
            return lineWords_ * kWordBits;
        const std::uint32_t bits = Word(line, first / kWordBits) & From(first);
        return bits ? first / kWordBits * kWordBits + std::countr_zero(bits) : NextAfterWord(line, first / kWordBits);
    }

    /// Whether any bit from `first` up to, not including, `end` is set; first < end.
    KVT_INLINE bool Any(std::int32_t line, std::int32_t first, std::int32_t end) const {
        const std::int32_t word = first / kWordBits;
        const std::uint32_t bits = Word(line, word) & From(first);
        if (word == (end - 1) / kWordBits)
            return (bits & UpTo(end - 1)) != 0;
        return bits || NextAfterWord(line, word) < end;
    }

    /// Clears the bits from `first` up to, not including, `end`; first < end.
    KVT_INLINE void Clear(std::int32_t line, std::int32_t first, std::int32_t end) const {
        const std::int32_t word = first / kWordBits;
        if (word == (end - 1) / kWordBits)
            Word(line, word) &= ~(From(first) & UpTo(end - 1));
        else
            ClearWords(line, first, end);
    }

  private:
    KVT_INLINE static std::uint32_t From(std::int32_t bit) { return ~std::uint32_t{0} << bit % kWordBits; }
    KVT_INLINE static std::uint32_t UpTo(std::int32_t bit) {
        return ~std::uint32_t{0} >> (kWordBits - 1 - bit % kWordBits);
    }
    KVT_INLINE std::ptrdiff_t Place(std::int32_t line, std::int32_t word) const {
        return line * lineStep_ + word * wordStep_;
    }

    std::int32_t NextUsedWord(std::int32_t line, std::int32_t word) const;
    std::int32_t NextAfterWord(std::int32_t line, std::int32_t word) const;
    void ClearWords(std::int32_t line, std::int32_t first, std::int32_t end) const;

    std::int32_t lines_;
    std::int32_t lineWords_;
    std::ptrdiff_t lineStep_;
    std::ptrdiff_t wordStep_;
    ClearBuffer<std::uint32_t> words_;
    ClearBuffer<std::int32_t> links_; ///< of an empty word: how many of the words behind it are known to be empty too
};

/// Bit x of line y of `to` becomes bit y of line x of `from`. Each has as many lines as the other has bits a line.
void Transpose(const BitLines &from, const BitLines &to);

} // namespace kvt
