#include "kernels/bit_lines.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

using namespace kvt;

/// Searches that follow the first one take its links: all of them together take no longer than a few walks over the
/// empty words, where each would take one without.
TEST(BitLines, AreWalkedOnceWhereTheyAreEmpty) {
    constexpr std::int32_t kBits = 1 << 25;
    BitLines<WordOrder::LineByLine> lines(1, kBits);
    ASSERT_TRUE(lines);
    lines.Word(0, lines.LineWords() - 1) = 0x80000000;
    const auto timeOf = [&](int searches) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < searches; ++i)
            EXPECT_EQ(lines.Next(0, 0, kBits), kBits - 1);
        return std::chrono::steady_clock::now() - start;
    };
    const auto once = timeOf(1);
    EXPECT_LT(timeOf(300), 30 * once);
}

} // namespace
