#include "expected/color.h"
#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "kernels/channel_tables.h"
#include "kernels/level.h"
#include "kernels/rotate.h"
#include "support/levels.h"

#include <gtest/gtest.h>

/// Loops where no picture of a host's leads them: with stores past the caches, which large pictures take alone, and in
/// rows that begin at odd addresses.
namespace {

using namespace kvt;

class EveryLevel : public testing::TestWithParam<int> {
  protected:
    void SetUp() override { gForcedLevel = GetParam(); }
    void TearDown() override {
        EXPECT_EQ(gActiveLevel, GetParam());
        gForcedLevel = -1;
    }
};
INSTANTIATE_TEST_SUITE_P(Loops, EveryLevel, testing::ValuesIn(EveryLevelOffered()),
                         [](const auto &level) { return kLevelNames[level.param]; });

/// Every number of pixels up to three blocks of four of the widest vectors, and around the pieces that are converted.
std::vector<std::int32_t> Widths() {
    std::vector<std::int32_t> widths = {1023, 1024, 1025, 2049};
    for (std::int32_t width = 1; width <= 3 * 64 + 1; ++width)
        widths.push_back(width);
    return widths;
}

TEST_P(EveryLevel, MapsAnAreaWhereverItLies) {
    expected::LookupTable levels[3];
    ChannelTables tables;
    for (std::size_t level = 0; level < 256; ++level) {
        tables.red.levels[level] = levels[0][level] = static_cast<unsigned char>(level ^ 0x0A);
        tables.green.levels[level] = levels[1][level] = static_cast<unsigned char>(255 - level);
        tables.blue.levels[level] = levels[2][level] = static_cast<unsigned char>(level * 7);
    }
    for (const std::int32_t width : Widths())
        for (const auto &[guard, stream] : {std::pair(kOddRows, true), {kWholeWords, false}, {kWholeWords, true}})
            for (const std::int32_t to : kFormats)
                for (const std::int32_t from : kFormats) {
                    const expected::Picture colors = expected::Noise(width + 5, 4, 2);
                    const expected::Picture mapped =
                        expected::TransformColors(colors, levels[0], levels[1], levels[2], colors);
                    Memory source(colors, from, guard);
                    Memory target(expected::Noise(width + 5, 4, 3), to, guard);
                    Memory wanted = target;
                    const Area area{width % 4, 1, width % 4 + width, 3};
                    for (std::int32_t y = area.top; y < area.bottom; ++y)
                        for (std::int32_t x = area.left; x < area.right; ++x)
                            wanted.SetWord(x, y, expected::OpaqueWord(mapped.At(x, y), target.layout));
                    const std::vector<unsigned char> before = source.bytes;
                    MapJob job = JobOf(target.Opened(), area, source.Opened());
                    job.stream = stream;
                    MapThroughTables(job, tables);
                    ASSERT_TRUE(target.bytes == wanted.bytes && source.bytes == before)
                        << width << " pixels, guard " << guard << ", stream " << stream << ", from format " << from
                        << " to " << to;
                }
}

TEST(Jobs, KeepInsideAllPicturesAndStreamLargeResultsApart) {
    Memory small(expected::Noise(3, 5, 1), 1);
    Memory other(expected::Noise(9, 4, 2), 2);
    const MapJob job = JobOf(small.Opened(), {1, 0, 8, 9}, other.Opened());
    EXPECT_EQ(std::tuple(job.area.left, job.area.top, job.area.right, job.area.bottom), std::tuple(1, 0, 3, 4));
    PictureEditor large = small.Opened();
    large.width = 2048;
    large.height = 1024;
    PictureEditor source = large;
    source.firstRow = &other.bytes[0];
    EXPECT_TRUE(JobOf(large, {0, 0, 2048, 1024}, source).stream);
    EXPECT_FALSE(JobOf(large, {0, 0, 2047, 1024}, source).stream) << "fits the caches";
    EXPECT_FALSE(JobOf(large, {0, 0, 2048, 1024}, source, large).stream) << "in place";
}

TEST(Wrapping, LeavesPixelsWhereTheyAreWhenMemoryIsRefused) {
    Memory memory(expected::Noise(5, 3, 1), kConsoleFormat);
    const std::vector<unsigned char> before = memory.bytes;
    const heap::Grants none(0);
    EXPECT_TRUE(WrapVertically(memory.Opened(), -3)) << "nothing to move, no buffer needed";
    EXPECT_FALSE(WrapVertically(memory.Opened(), 1));
    EXPECT_FALSE(WrapHorizontally(memory.Opened(), 1));
    EXPECT_EQ(memory.bytes, before);
}

} // namespace
