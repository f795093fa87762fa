#include "expected/area.h"
#include "expected/print.h"
#include "inside/plain_picture.h"
#include "pixels/channel_tables.h"
#include "pixels/packed_rgb.h"
#include "pixels/walk.h"
#include "support/levels.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace kvt;

/// Every number of pixels up to three of the widest vectors and one more.
constexpr std::int32_t kWidest = 3 * 64 + 1;

/// Inner areas of this many columns are written past the caches, where rows begin at whole words.
constexpr std::int32_t kLarge = kPastCachesPixels / 2;

/// `count` columns of the inner rows, from a column on that varies, in a picture of count + 5 columns.
Area InnerArea(std::int32_t count) { return {count % 4, 1, count % 4 + count, 3}; }

Memory PictureAround(std::int32_t count, std::int32_t format, std::uint32_t seed) {
    return {count + 5, 4, format, seed, count < kLarge ? kOddRows : kWholeWords};
}

template <class Use> void ForEachPixel(Area area, Use use) {
    for (std::int32_t y = area.top; y < area.bottom; ++y)
        for (std::int32_t x = area.left; x < area.right; ++x)
            use(x, y);
}

/// Tells the channels apart.
struct Mix {
    template <class Pixel> KVT_INLINE Pixel operator()(Pixel pixel) const {
        return {255 - pixel.green, pixel.blue, pixel.red ^ 1};
    }
};

class EveryLevel : public testing::TestWithParam<int> {
  protected:
    void SetUp() override { gForcedLevel = GetParam(); }
    void TearDown() override { gForcedLevel = -1; }

    /// Kernels of their own for each level need not ask for it on processors that have one level only.
    static void ExpectLevel() {
        if (kHasLevels) {
            EXPECT_EQ(gActiveLevel, GetParam());
        }
    }

    /// Runs a walk and makes sure that it really ran at the level.
    template <class Walk> auto AtLevel(Walk walk) {
        gActiveLevel = -1;
        if constexpr (std::is_void_v<decltype(walk())>) {
            walk();
            ExpectLevel();
        } else {
            const auto result = walk();
            ExpectLevel();
            return result;
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Walk, EveryLevel, testing::ValuesIn(EveryLevelOffered()),
                         [](const auto &level) { return kLevelNames[level.param]; });

/// The same on planes of bytes.
struct MixBytes {
    KVT_INLINE RgbBytes operator()(RgbBytes pixel) const {
        return {static_cast<std::uint8_t>(255 - pixel.green), pixel.blue, static_cast<std::uint8_t>(pixel.red ^ 1)};
    }
};

/// Tables without any order.
ChannelTables Shuffled() {
    ChannelTables tables;
    expected::Random random(16);
    for (ChannelTable *table : {&tables.red, &tables.green, &tables.blue})
        for (unsigned char &level : table->levels)
            level = static_cast<unsigned char>(random.Below(256));
    return tables;
}
const ChannelTables kShuffled = Shuffled();

expected::Rgb ThroughShuffled(expected::Rgb pixel) {
    return {kShuffled.red.levels[pixel.red], kShuffled.green.levels[pixel.green], kShuffled.blue.levels[pixel.blue]};
}

/// The same on words that are not taken apart.
struct MixWhole {
    template <class Layout> KVT_INLINE WholePixel<Layout> operator()(WholePixel<Layout> pixel) const {
        return pixel.IsGray() ? pixel.Of({1, 2, 3}) : pixel.Negative();
    }
    KVT_INLINE expected::Rgb operator()(expected::Rgb pixel) const {
        const bool isGray = pixel.red == pixel.green && pixel.green == pixel.blue;
        return isGray ? expected::Rgb{1, 2, 3} : expected::Rgb{255 - pixel.red, 255 - pixel.green, 255 - pixel.blue};
    }
};

enum class Kind { Colors, Whole, FromMask, ToMask, Planes, Tables };
constexpr Kind kKinds[] = {Kind::Colors, Kind::Whole, Kind::FromMask, Kind::ToMask, Kind::Planes, Kind::Tables};

void RunMap(Kind kind, const PictureEditor &source, const PictureEditor &target, Area area) {
    switch (kind) {
    case Kind::Colors:
        return Map(source, target, area, Mix{});
    case Kind::Whole:
        return Map(source, target, area, MixWhole{});
    case Kind::FromMask:
        return MapFromMask(source, target, area, Mix{});
    case Kind::ToMask:
        return MapToMask(source, target, area, Mix{});
    case Kind::Planes:
        return Map(source, target, area, MixBytes{});
    case Kind::Tables:
        return Map(source, target, area, ThroughTables{&kShuffled});
    }
}

std::uint32_t MappedWord(Kind kind, std::uint32_t source, expected::Layout from, std::uint32_t target,
                         expected::Layout to) {
    expected::Rgb pixel = expected::ColorOf(source, from);
    if (kind == Kind::FromMask)
        pixel.red = pixel.green = pixel.blue = expected::MaskValue(source, from);
    const expected::Rgb result = kind == Kind::Tables  ? ThroughShuffled(pixel)
                                 : kind == Kind::Whole ? MixWhole{}(pixel)
                                                       : Mix{}(pixel);
    return kind == Kind::ToMask ? expected::WithMaskValue(target, result.red, to) : expected::OpaqueWord(result, to);
}

void ExpectMaps(Kind kind, std::int32_t from, std::int32_t to, std::int32_t count) {
    Memory source = PictureAround(count, from, 1);
    Memory target = PictureAround(count, to, 2);
    const Memory sourceBefore = source;
    Memory after = target;
    ForEachPixel(InnerArea(count), [&](std::int32_t x, std::int32_t y) {
        after.SetWord(x, y, MappedWord(kind, source.Word(x, y), source.layout, target.Word(x, y), target.layout));
    });
    RunMap(kind, *Opened(source), *Opened(target), InnerArea(count));
    EXPECT_EQ(target.bytes, after.bytes);
    EXPECT_EQ(source.bytes, sourceBefore.bytes);
}

void ExpectMapsInPlace(Kind kind, std::int32_t from, std::int32_t to, std::int32_t count) {
    Memory memory = PictureAround(count, from, 3);
    Memory after = memory;
    ForEachPixel(InnerArea(count), [&](std::int32_t x, std::int32_t y) {
        const std::uint32_t word = memory.Word(x, y);
        after.SetWord(x, y, MappedWord(kind, word, memory.layout, word, expected::LayoutOf(to)));
    });
    RunMap(kind, *Opened(memory), *Opened(memory, to), InnerArea(count));
    EXPECT_EQ(memory.bytes, after.bytes);
}

TEST_P(EveryLevel, MapsEveryPairOfLayoutsInEveryWidth) {
    std::vector<std::int32_t> counts = {kPlanePixels - 1, kPlanePixels, kPlanePixels + 1, 2 * kPlanePixels + 67};
    for (std::int32_t count = 1; count <= kWidest; ++count)
        counts.push_back(count);
    for (const Kind kind : kKinds)
        for (const std::int32_t from : kFormats)
            for (const std::int32_t to : kFormats)
                for (const std::int32_t count : counts) {
                    AtLevel([&] { ExpectMaps(kind, from, to, count); });
                    AtLevel([&] { ExpectMapsInPlace(kind, from, to, count); });
                    ASSERT_FALSE(HasFailure()) << "kind " << static_cast<int>(kind) << ", format " << from << " to "
                                               << to << ", " << count << " pixels";
                }
}

TEST_P(EveryLevel, MapsPastTheCaches) {
    for (const Kind kind : {Kind::Colors, Kind::Whole, Kind::ToMask}) {
        AtLevel([&] { ExpectMaps(kind, kFormats[0], kFormats[1], kLarge); });
        AtLevel([&] { ExpectMapsInPlace(kind, kFormats[1], kFormats[1], kLarge + 1); });
        ASSERT_FALSE(HasFailure()) << "kind " << static_cast<int>(kind);
    }
}

TEST_P(EveryLevel, PacksAndUnpacksEveryWidth) {
    for (const std::int32_t format : kFormats) {
        for (std::int32_t count = 1; count <= kWidest; ++count) {
            SCOPED_TRACE("format " + std::to_string(format) + ", " + std::to_string(count) + " pixels");
            Memory memory(count, 3, format, 5);
            std::vector<unsigned char> packed(static_cast<std::size_t>(count) * 9 + 2, 0xA5);
            std::vector<unsigned char> after = packed;
            std::size_t at = 1;
            ForEachPixel({0, 0, count, 3}, [&](std::int32_t x, std::int32_t y) {
                const expected::Rgb pixel = memory.Color(x, y);
                after[at++] = static_cast<unsigned char>(pixel.red);
                after[at++] = static_cast<unsigned char>(pixel.green);
                after[at++] = static_cast<unsigned char>(pixel.blue);
            });
            AtLevel([&] { PackRgb(*Opened(memory), &packed[1]); });
            ASSERT_EQ(packed, after);

            for (const std::int32_t smaller : {0, 1}) {
                Memory target(count + 1 - smaller * 2, 3 - smaller, format, 6);
                Memory read = target;
                ForEachPixel({0, 0, std::min(count, target.width), target.height}, [&](std::int32_t x, std::int32_t y) {
                    read.SetWord(x, y, expected::OpaqueWord(memory.Color(x, y), memory.layout));
                });
                AtLevel([&] { UnpackRgb(&packed[1], count, 3, *Opened(target)); });
                ASSERT_EQ(target.bytes, read.bytes) << "a target that is " << (smaller ? "smaller" : "wider");
            }
        }
    }
}

/// One channel from each.
struct OneEach {
    template <class Pixel> KVT_INLINE Pixel operator()(Pixel a, Pixel b, Pixel c) const {
        return {a.red, 255 - b.green, c.blue};
    }
};

struct Higher {
    template <class Pixel> KVT_INLINE Pixel operator()(Pixel a, Pixel b) const {
        return {a.red > b.red ? a.red : b.red, a.green > b.green ? a.green : b.green,
                a.blue > b.blue ? a.blue : b.blue};
    }
};

/// The same in levels.
struct HigherLevel {
    KVT_INLINE std::uint8_t operator()(std::uint8_t a, std::uint8_t b) const { return a > b ? a : b; }
};

/// Two pictures into a third, in either way, then all three into the first of them.
void ExpectCombines(std::int32_t first, std::int32_t second, std::int32_t to, std::int32_t count) {
    const Area area = InnerArea(count);
    Memory a = PictureAround(count, first, 7);
    Memory b = PictureAround(count, second, 8);
    Memory target = PictureAround(count, to, 9);
    const Memory aBefore = a;
    const Memory bBefore = b;
    Memory after = target;
    ForEachPixel(area, [&](std::int32_t x, std::int32_t y) {
        after.SetWord(x, y, expected::OpaqueWord(Higher{}(a.Color(x, y), b.Color(x, y)), target.layout));
    });
    Memory other = target;
    Combine(*Opened(target), area, Higher{}, *Opened(a), *Opened(b));
    EXPECT_EQ(target.bytes, after.bytes);
    CombineLevels(*Opened(other), area, HigherLevel{}, *Opened(a), *Opened(b));
    EXPECT_EQ(other.bytes, after.bytes);

    after = a;
    ForEachPixel(area, [&](std::int32_t x, std::int32_t y) {
        const expected::Rgb result = OneEach{}(a.Color(x, y), b.Color(x, y), target.Color(x, y));
        after.SetWord(x, y, expected::OpaqueWord(result, a.layout));
    });
    EXPECT_EQ(a.bytes, aBefore.bytes);
    EXPECT_EQ(b.bytes, bBefore.bytes);
    const Opened both(a);
    Combine(*both, area, OneEach{}, *both, *Opened(b), *Opened(target));
    EXPECT_EQ(a.bytes, after.bytes);
    EXPECT_EQ(b.bytes, bBefore.bytes);
}

TEST_P(EveryLevel, CombinesEveryMixtureOfLayouts) {
    std::vector<std::int32_t> counts = {kPortionPixels - 1, kPortionPixels, kPortionPixels + 1, 2 * kPortionPixels + 3};
    for (std::int32_t count = 1; count <= kWidest; ++count)
        counts.push_back(count);
    for (const std::int32_t first : kFormats)
        for (const std::int32_t second : kFormats)
            for (const std::int32_t to : kFormats)
                for (const std::int32_t count : counts) {
                    AtLevel([&] { ExpectCombines(first, second, to, count); });
                    ASSERT_FALSE(HasFailure())
                        << "formats " << first << " and " << second << " to " << to << ", " << count << " pixels";
                }
}

TEST_P(EveryLevel, CombinesPastTheCaches) {
    AtLevel([&] { ExpectCombines(kFormats[0], kFormats[1], kFormats[0], kLarge); });
}

/// Passes one color alone, as IsColor does.
struct IsMark {
    template <class Pixel> KVT_INLINE bool operator()(Pixel pixel) const {
        return ((pixel.red ^ 10) | (pixel.green ^ 20) | (pixel.blue ^ 30)) == 0;
    }
};
constexpr IsColor kMark = {{10, 20, 30}};

TEST_P(EveryLevel, CountsAndTestsTheAreaAlone) {
    std::vector<std::int32_t> counts = {223, 224, 225, 255, 256, 257, 449, 513, 1000, 4097};
    for (std::int32_t count = 1; count <= kWidest; ++count)
        counts.push_back(count);
    for (const std::int32_t format : kFormats) {
        for (const std::int32_t count : counts) {
            SCOPED_TRACE("format " + std::to_string(format) + ", " + std::to_string(count) + " pixels");
            const Area area = InnerArea(count);
            expected::Random random(static_cast<std::uint32_t>(count));
            Memory memory = PictureAround(count, format, 10);
            std::int64_t marks = 0;
            ForEachPixel(area, [&](std::int32_t x, std::int32_t y) {
                if (random.Below(2))
                    memory.SetColor(x, y, {10, 20, 30});
                marks += IsMark{}(memory.Color(x, y));
            });
            const Opened editor(memory);
            ASSERT_EQ(AtLevel([&] { return Count(*editor, area, IsMark{}); }), marks);
            ASSERT_EQ(AtLevel([&] { return Count(*editor, area, kMark); }), marks);

            ForEachPixel(area, [&](std::int32_t x, std::int32_t y) { memory.SetColor(x, y, {10, 20, 30}); });
            ASSERT_TRUE(AtLevel([&] { return All(*editor, area, IsMark{}); }));
            ASSERT_TRUE(AtLevel([&] { return All(*editor, area, kMark); }));
            ASSERT_EQ(AtLevel([&] { return Count(*editor, area, IsMark{}); }), area.Pixels());
            for (const std::int32_t x : {area.left, random.Between(area.left, area.right - 1), area.right - 1}) {
                const std::int32_t y = random.Between(area.top, area.bottom - 1);
                memory.SetColor(x, y, {10, 20, 31});
                ASSERT_FALSE(AtLevel([&] { return All(*editor, area, IsMark{}); })) << "at " << x << ", " << y;
                ASSERT_FALSE(AtLevel([&] { return All(*editor, area, kMark); })) << "at " << x << ", " << y;
                memory.SetColor(x, y, {10, 20, 30});
            }
        }
    }
}

TEST(Walk, VisitsInReadingOrderAndInTurn) {
    for (const std::int32_t format : kFormats) {
        for (std::int32_t count = 1; count <= 9; ++count) {
            Memory memory(count + 3, 5, format, 11);
            const Area area = {2, 1, count + 2, 4};
            std::vector<expected::Rgb> colors;
            std::vector<std::size_t> turns;
            ForEachPixel(area, [&](std::int32_t x, std::int32_t y) {
                colors.push_back(memory.Color(x, y));
                turns.push_back(static_cast<std::size_t>(x - area.left) % 3);
            });
            std::vector<expected::Rgb> visited;
            std::vector<std::size_t> visitedTurns;
            ForEach<3>(*Opened(memory), area, [&](Rgb pixel, std::size_t turn) {
                visited.push_back({pixel.red, pixel.green, pixel.blue});
                visitedTurns.push_back(turn);
            });
            EXPECT_EQ(visited, colors) << "format " << format << ", " << count << " pixels";
            EXPECT_EQ(visitedTurns, turns) << "format " << format << ", " << count << " pixels";
        }
    }
}

constexpr struct {
    const char *what;
    Area area;
    Area walked;
} kClipped[] = {
    {"the smaller of both", {0, 0, 9, 9}, {0, 0, 3, 4}},
    {"without columns", {2, 0, 2, 4}, {}},
    {"ends before it begins", {2, 3, 1, 1}, {}},
    {"beyond the smaller one", {3, 0, 5, 4}, {}},
};

TEST(Walk, KeepsInsideTheSmallerPicture) {
    for (const auto &row : kClipped) {
        SCOPED_TRACE(row.what);
        for (const bool targetIsWider : {false, true}) {
            Memory source(targetIsWider ? 3 : 5, targetIsWider ? 6 : 4, 1, 12);
            Memory target(targetIsWider ? 5 : 3, targetIsWider ? 4 : 6, kConsoleFormat, 13);
            Memory after = target;
            ForEachPixel(row.walked, [&](std::int32_t x, std::int32_t y) {
                after.SetWord(x, y, expected::OpaqueWord(Mix{}(source.Color(x, y)), target.layout));
            });
            const Opened reader(source);
            Map(*reader, *Opened(target), row.area, Mix{});
            EXPECT_EQ(target.bytes, after.bytes);
            Combine(*Opened(target), row.area, Mix{}, *reader);
            EXPECT_EQ(target.bytes, after.bytes);
        }
    }
    Memory memory(3, 4, 2, 14);
    const Opened editor(memory);
    EXPECT_EQ(Count(*editor, {0, 0, 9, 9}, [](auto) { return true; }), 12);
    EXPECT_EQ(Count(*editor, {3, 0, 9, 9}, [](auto) { return true; }), 0);
    EXPECT_TRUE(All(*editor, {0, 4, 9, 9}, [](auto) { return false; })) << "an empty area passes";
}

} // namespace
