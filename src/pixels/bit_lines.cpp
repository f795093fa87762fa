#include "pixels/bit_lines.h"

#include <algorithm>

namespace kvt {
namespace {

/// Bit j of word i changes places with bit i of word j: quarters of the square of bits cross over, then the quarters of
/// each quarter, down to single bits.
void TransposeSquare(std::uint32_t (&words)[32]) {
    std::uint32_t lowHalves = 0x0000FFFF;
    for (int half = 16; half; half /= 2, lowHalves ^= lowHalves << half) {
        for (int i = 0; i < 32; i = (i + half + 1) & ~half) {
            const std::uint32_t crossing = (words[i] >> half ^ words[i + half]) & lowHalves;
            words[i] ^= crossing << half;
            words[i + half] ^= crossing;
        }
    }
}

} // namespace

/// The first word that is not empty, from `word` on; LineWords() when there is none.
std::int32_t BitLines::NextUsedWord(std::int32_t line, std::int32_t word) const {
    std::int32_t used = word;
    while (used < lineWords_ && !Word(line, used))
        used += 1 + links_[Place(line, used)];
    while (word < used) {
        std::int32_t &link = links_[Place(line, word)];
        const std::int32_t next = word + 1 + link;
        link = used - word - 1;
        word = next;
    }
    return used;
}

std::int32_t BitLines::NextAfterWord(std::int32_t line, std::int32_t word) const {
    const std::int32_t used = NextUsedWord(line, word + 1);
    return used * kWordBits + (used < lineWords_ ? std::countr_zero(Word(line, used)) : 0);
}

void BitLines::ClearWords(std::int32_t line, std::int32_t first, std::int32_t end) const {
    const std::int32_t last = (end - 1) / kWordBits;
    Word(line, first / kWordBits) &= ~From(first);
    std::int32_t word = NextUsedWord(line, first / kWordBits + 1);
    for (; word < last; word = NextUsedWord(line, word + 1))
        Word(line, word) = 0;
    if (word == last)
        Word(line, last) &= ~UpTo(end - 1);
}

void Transpose(const BitLines &from, const BitLines &to) {
    constexpr std::int32_t kBits = BitLines::kWordBits;
    for (std::int32_t y = 0; y < to.Lines(); y += kBits) {
        for (std::int32_t x = 0; x < from.Lines(); x += kBits) {
            std::uint32_t square[kBits] = {};
            for (std::int32_t i = 0; i < std::min(kBits, from.Lines() - x); ++i)
                square[i] = from.Word(x + i, y / kBits);
            TransposeSquare(square);
            for (std::int32_t i = 0; i < std::min(kBits, to.Lines() - y); ++i)
                to.Word(y + i, x / kBits) = square[i];
        }
    }
}

} // namespace kvt
