#include "expected/print.h"
#include "inside/plain_picture.h"
#include "kernels/job.h"
#include "kernels/rgb.h"
#include "support/levels.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kvt {

constexpr std::uint32_t kMark = 0x0A141E;

struct MixedPixel {
    KVT_INLINE Rgb operator()(Rgb pixel) const { return {pixel.red ^ 0x0A, pixel.green ^ 0x14, pixel.blue ^ 0x1E}; }
};

} // namespace kvt

#define KVT_KERNELS "inside/loops_kernel.h"
#define KVT_WITH_AVX512
#include "kernels/each_level.h"

/// The loops that kernels share: every width, layout, address and level, in place and apart, with both kinds of stores.
namespace {

using namespace kvt;
using expected::Rgb;

struct Marked {
    Rgb operator()(Rgb a) const { return {a.red ^ 0x0A, a.green ^ 0x14, a.blue ^ 0x1E}; }
    Rgb operator()(Rgb a, Rgb b) const {
        return (*this)({std::max(a.red - b.red, 0), std::max(a.green - b.green, 0), std::max(a.blue - b.blue, 0)});
    }
    Rgb operator()(Rgb a, Rgb b, Rgb c) const {
        const Rgb two = (*this)(a, b);
        return {two.red ^ c.red, two.green ^ c.green, two.blue ^ c.blue};
    }
};

class EveryLevel : public testing::TestWithParam<int> {
  protected:
    void SetUp() override {
        gForcedLevel = GetParam();
        BestLevel(3);
        ASSERT_EQ(gActiveLevel, GetParam());
    }
    void TearDown() override { gForcedLevel = -1; }
};
INSTANTIATE_TEST_SUITE_P(Loops, EveryLevel, testing::ValuesIn(EveryLevelOffered()),
                         [](const auto &level) { return kLevelNames[level.param]; });

/// Every number of pixels up to three blocks of three of the widest vectors, and around the pieces that are converted.
std::vector<std::int32_t> Widths() {
    std::vector<std::int32_t> widths = {1023, 1024, 1025, 2049};
    for (std::int32_t width = 1; width <= 3 * 48 + 1; ++width)
        widths.push_back(width);
    return widths;
}

/// `width` columns of the inner rows, in pictures of five columns more.
Area InnerArea(std::int32_t width) { return {width % 4, 1, width % 4 + width, 3}; }

template <class Use> void ForEachPixel(Area area, Use use) {
    for (std::int32_t y = area.top; y < area.bottom; ++y)
        for (std::int32_t x = area.left; x < area.right; ++x)
            use(x, y);
}

struct Case {
    std::int32_t width;
    std::size_t guard; ///< whether rows begin at whole words
    bool stream;
    Memory Picture(std::int32_t format, std::uint32_t seed) const { return {width + 5, 4, format, seed, guard}; }
    friend std::ostream &operator<<(std::ostream &out, const Case &row) {
        return out << row.width << " pixels, guard " << row.guard << ", stream " << row.stream;
    }
};

/// Runs a kernel over `sources` and the target, and looks at every byte of them.
template <class... Sources>
void ExpectMixed(MapKernel<> *kernel, const Case &row, Memory &target, Sources &...sources) {
    const Area area = InnerArea(row.width);
    Memory after = target;
    ForEachPixel(area, [&](std::int32_t x, std::int32_t y) {
        after.SetWord(x, y, expected::OpaqueWord(Marked{}(sources.Color(x, y)...), target.layout));
    });
    const std::vector<std::vector<unsigned char>> before = {(&sources == &target ? after.bytes : sources.bytes)...};
    const auto run = [&](const PictureEditor &to, const auto &...from) {
        MapJob job = JobOf(to, area, from...);
        job.stream = row.stream && ((from.firstRow != to.firstRow) && ...);
        kernel(job);
    };
    run(*Opened(target), *Opened(sources)...);
    ASSERT_EQ(target.bytes, after.bytes) << row;
    ASSERT_EQ((std::vector<std::vector<unsigned char>>{sources.bytes...}), before) << row;
}

TEST_P(EveryLevel, MapsEveryMixtureOfLayouts) {
    const auto one = {KVT_SELECT(MixOne), KVT_SELECT(MixBlocks), KVT_SELECT(MixEach)};
    for (const std::int32_t width : Widths())
        for (const Case &row :
             {Case{width, kOddRows, true}, Case{width, kWholeWords, false}, Case{width, kWholeWords, true}}) {
            for (const std::int32_t to : kFormats) {
                Memory target = row.Picture(to, 1);
                for (const std::int32_t from : kFormats) {
                    Memory first = row.Picture(from, 2);
                    Memory second = row.Picture(kFormats[width % 3], 3);
                    Memory third = row.Picture(kFormats[width / 3 % 3], 4);
                    for (MapKernel<> *kernel : one)
                        ExpectMixed(kernel, row, target, first);
                    if (from == to)
                        ExpectMixed(KVT_SELECT(MixOwn), row, target, first);
                    ExpectMixed(KVT_SELECT(MixTwo), row, target, first, second);
                    ExpectMixed(KVT_SELECT(MixThree), row, target, first, second, third);
                    ExpectMixed(KVT_SELECT(MixTwo), row, target, target, first);
                }
                for (MapKernel<> *kernel : one)
                    ExpectMixed(kernel, row, target, target);
                ASSERT_FALSE(HasFailure()) << "to format " << to;
            }
        }
}

TEST_P(EveryLevel, CountsAndTestsTheAreaAlone) {
    for (const std::int32_t width : Widths())
        for (const std::int32_t format : kFormats) {
            SCOPED_TRACE(std::to_string(width) + " pixels, format " + std::to_string(format));
            const Area area = InnerArea(width);
            Memory memory(width + 5, 4, format, 10);
            const Rgb mark = Marked{}(Rgb{0, 0, 0});
            expected::Random random(static_cast<std::uint32_t>(width));
            std::int64_t marks = 0;
            ForEachPixel(area, [&](std::int32_t x, std::int32_t y) {
                if (random.Below(2))
                    memory.SetColor(x, y, mark);
                marks += memory.Color(x, y) == mark;
            });
            const Opened opened(memory);
            const Pixels pixels = PixelsOf(*opened);
            ASSERT_EQ(KVT_SELECT(CountMarks)(pixels, area), marks);
            ForEachPixel(area, [&](std::int32_t x, std::int32_t y) { memory.SetColor(x, y, mark); });
            ASSERT_EQ(KVT_SELECT(CountMarks)(pixels, area), area.Pixels());
            ASSERT_TRUE(KVT_SELECT(AllMarks)(pixels, area));
            ForEachPixel(area, [&](std::int32_t x, std::int32_t y) {
                memory.SetColor(x, y, {mark.red, mark.green, mark.blue ^ 1});
                ASSERT_FALSE(KVT_SELECT(AllMarks)(pixels, area)) << "at " << x << ", " << y;
                memory.SetColor(x, y, mark);
            });
        }
}

TEST(Loops, TouchNoRowOfAnAreaWithoutPixels) {
    const Pixels nowhere{{nullptr, 0, nullptr}, kAlphaHigh};
    for (const Area area : {Area{2, 0, 2, 4}, Area{2, 3, 1, 1}, Area{0, 4, 9, 4}}) {
        KVT_SELECT(MixTwo)({nowhere, {nowhere, nowhere}, area, true});
        EXPECT_EQ(KVT_SELECT(CountMarks)(nowhere, area), 0);
        EXPECT_TRUE(KVT_SELECT(AllMarks)(nowhere, area));
    }
}

TEST(Jobs, KeepInsideAllPicturesAndStreamLargeResultsApart) {
    Memory small(3, 5, 1, 1);
    Memory other(9, 4, 2, 2);
    const MapJob job = JobOf(*Opened(small), {1, 0, 8, 9}, *Opened(other));
    EXPECT_EQ(std::tuple(job.area.left, job.area.top, job.area.right, job.area.bottom), std::tuple(1, 0, 3, 4));
    PictureEditor large = *Opened(small);
    large.width = 2048;
    large.height = 1024;
    PictureEditor source = large;
    source.firstRow = &other.bytes[0];
    EXPECT_TRUE(JobOf(large, {0, 0, 2048, 1024}, source).stream);
    EXPECT_FALSE(JobOf(large, {0, 0, 2047, 1024}, source).stream) << "fits the caches";
    EXPECT_FALSE(JobOf(large, {0, 0, 2048, 1024}, source, large).stream) << "in place";
}

} // namespace
