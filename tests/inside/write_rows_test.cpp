#include "pixels/write_rows.h"

#include "pixels/layout.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace kvt;

constexpr std::uint32_t kUntouched = 0xA5A5A5A5;

std::uint32_t WordAt(std::int32_t row, std::ptrdiff_t x) {
    return static_cast<std::uint32_t>(row) * 2654435761u ^ static_cast<std::uint32_t>(x);
}

/// Rows of `width` pixels from `offset` bytes behind the beginning of a line of the cache, three pixels apart.
struct Target {
    Target(std::int32_t width, std::int32_t height, std::ptrdiff_t offset)
        : rowWords(width + 3),
          words(static_cast<std::size_t>(rowWords) * static_cast<std::size_t>(height) + 64, kUntouched) {
        auto *bytes = reinterpret_cast<unsigned char *>(words.data());
        first = bytes + -reinterpret_cast<std::uintptr_t>(bytes) % kCacheLine + offset;
    }
    Rows All() const { return {first, rowWords * 4, nullptr}; }

    std::ptrdiff_t rowWords;
    std::vector<std::uint32_t> words;
    unsigned char *first;
};

/// Writes the area in portions and returns how many of its pixels were written beside their places.
template <bool MayPassCaches> std::int64_t Write(const Target &target, Area area) {
    std::int64_t beside = 0;
    WriteRows<MayPassCaches>(target.All(), area,
                             [&](std::int32_t row, std::ptrdiff_t x, std::ptrdiff_t count, unsigned char *pixels) {
                                 beside += pixels == target.All()[row] + x * 4 ? 0 : count;
                                 for (std::ptrdiff_t i = 0; i < count; ++i)
                                     StoreWord(pixels + i * 4, WordAt(row, x + i));
                             });
    return beside;
}

void ExpectWritten(const Target &target, Area area, std::int32_t height) {
    std::int64_t wrong = 0;
    for (std::int32_t row = 0; row < height; ++row)
        for (std::ptrdiff_t x = 0; x < target.rowWords; ++x) {
            const bool inside = row >= area.top && row < area.bottom && x >= area.left && x < area.right;
            wrong += LoadWord(target.All()[row] + x * 4) != (inside ? WordAt(row, x) : kUntouched);
        }
    EXPECT_EQ(wrong, 0);
}

TEST(WriteRows, WritesTheAreaAloneInWholeLinesOrNot) {
    for (const std::int32_t width : {1, 15, 16, 17, 31, 127, 128, 129, 1000, 2100000}) {
        for (const std::ptrdiff_t offset : {0, 1, 2, 4, 12, 60}) {
            SCOPED_TRACE("width " + std::to_string(width) + ", offset " + std::to_string(offset));
            const auto height = static_cast<std::int32_t>(kPastCachesPixels / width + 3);
            const Area large{1, 1, width + 1, height - 1};
            Target target(width, height, offset);
            const std::int64_t beside = Write<true>(target, large);
            ExpectWritten(target, large, height);
            const bool canFillLines = kWritesPastCaches && width >= 31 && offset % 4 == 0;
            EXPECT_GE(beside, canFillLines ? std::int64_t{width - 30} * (height - 2) : 0);
            EXPECT_TRUE(beside == 0 || offset % 4 == 0);

            Target kept(width, height, offset);
            EXPECT_EQ(Write<false>(kept, large), 0);
            ExpectWritten(kept, large, height);
        }
    }
    Target small(1000, 20, 0);
    EXPECT_EQ(Write<true>(small, {3, 0, 900, 20}), 0);
    ExpectWritten(small, {3, 0, 900, 20}, 20);
}

} // namespace
