#include "analysis/find_picture.h"
#include "expected/analysis.h"
#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "kernels/bit_lines.h"
#include "kernels/rgb.h"
#include "tone/straight_line.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <optional>
#include <set>
#include <sys/types.h>
#include <utility>

/// What no result tells: how much is done for it, even when pictures are made to have much done.

static bool gRefusesRandomness = false; ///< the system has no random bytes to give

// The linker sends every getrandom of the test program here, but not those of the libraries around it.
extern "C" {
ssize_t __real_getrandom(void *bytes, std::size_t size, unsigned flags);

ssize_t __wrap_getrandom(void *bytes, std::size_t size, unsigned flags) {
    return gRefusesRandomness ? -1 : __real_getrandom(bytes, size, flags);
}
}

namespace {

using namespace kvt;
using expected::Picture;
using expected::Rgb;
using Place = std::pair<int, int>;

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

/// Of settings as people give them and of any others; what rounding takes off a line is rare. That a line gives its
/// table is looked at before it is used.
TEST(StraightLine, GivesTheTablesOfAlmostAllAdjustments) {
    constexpr int kDrawn = 4000;
    expected::Random random(1);
    const auto between = [&](double low, double high) { return low + random.Next() / 4294967296.0 * (high - low); };
    int found = 0;
    for (int i = 0; i < kDrawn; ++i) {
        double scale = between(-2.5, 3);
        double offset = between(-255, 255);
        if (i % 2) {
            scale = std::round(scale * 100) / 100;
            offset = std::round(offset);
        }
        ChannelTable table;
        for (int level = 0; level < 256; ++level)
            table.levels[level] = static_cast<unsigned char>(ToByte(level * scale + offset));
        StraightLine line;
        found += FindLine(table, scale, line);
    }
    EXPECT_GE(found, kDrawn * 99 / 100);
}

// The search compares, which is counted in pixels.

std::optional<Place> Find(const Picture &haystack, const Picture &needle, SearchEffort &effort,
                          DrawBases draw = DrawByChance) {
    Memory in(haystack, 2);
    Memory of(needle, kConsoleFormat);
    Point hit{};
    return FindNeedle(in.Opened(), of.Opened(), hit, effort, draw) ? std::optional(Place(hit.x, hit.y)) : std::nullopt;
}

/// The bases that the pictures of these tests are made for, drawn as often as foreseen for each hash, and then such as
/// chance might yield.
HashBases gForeseen;
int gForeseenDraws[kHashes];

void DrawForeseen(HashBases (&bases)[kHashes]) {
    constexpr HashBases kByChance[kHashes] = {{1234567891, 987654321}, {1122334455, 246813579}};
    for (int i = 0; i < kHashes; ++i)
        bases[i] = gForeseenDraws[i]-- > 0 ? gForeseen : kByChance[i];
}

/// In stripes, with a needle that fits at every other place but for two pixels beside each other, near its last ones,
/// whose differences cancel in the hash: as numbers, red lowest, they differ by a and -a * base modulo 2^31 - 1.
const struct {
    const char *what;
    HashBases bases;
    Rgb color, first, second;
    bool upright; ///< the second pixel is below the first one, not to its right
} kCancelling[] = {
    {"in columns of a small base", {2, 5}, {50, 60, 70}, {51, 60, 70}, {48, 60, 70}, true},
    {"in rows of a small base", {5, 2}, {50, 60, 70}, {48, 60, 70}, {51, 60, 70}, false},
    {"in columns of a large base", {950706376, 742938285}, {0xC3, 0x4F, 0xA8}, {0x00, 0x50, 0xA8}, {0, 0, 0}, true},
};

/// How many draws are foreseen for the two hashes, and how many it then takes. The second one counts from the second
/// draw on.
constexpr struct {
    int foreseen[kHashes];
    int draws;
} kDraws[] = {{{0, 0}, 1}, {{0, 9}, 1}, {{1, 0}, 2}, {{9, 0}, 2}, {{1, 9}, 2}, {{2, 2}, 3}, {{4, 4}, 5}};

TEST(SearchEffort, IsAPictureForEachDrawThatWasForeseen) {
    for (const auto &row : kCancelling) {
        Picture haystack = expected::Filled(150, 100, row.color);
        for (int y = 0; y < haystack.height; ++y)
            for (int x = 0; x < haystack.width; ++x)
                if ((row.upright ? x : y) % 2)
                    haystack.At(x, y) = {1, 2, 3};
        Picture needle = expected::Cut(haystack, 0, 0, 80, 50);
        const Place marks[] = {{78, 48}, row.upright ? Place(78, 49) : Place(79, 48)};
        needle.At(marks[0].first, marks[0].second) = row.first;
        needle.At(marks[1].first, marks[1].second) = row.second;
        Picture withNeedle = haystack;
        for (const auto &[x, y] : marks)
            withNeedle.At(x + 2, y + 44) = needle.At(x, y);
        const std::int64_t pixels = 150 * 100;
        const auto foresee = [&](int first, int second) {
            gForeseen = row.bases;
            gForeseenDraws[0] = first;
            gForeseenDraws[1] = second;
        };
        SearchEffort effort;
        for (const auto &[foreseen, draws] : kDraws) {
            SCOPED_TRACE(testing::Message() << row.what << ", foreseen: " << foreseen[0] << ", " << foreseen[1]);
            foresee(foreseen[0], foreseen[1]);
            EXPECT_EQ(Find(haystack, needle, effort, DrawForeseen), std::nullopt);
            // The probes, then each of the foreseen draws, end as soon as they have compared a picture in vain.
            EXPECT_EQ(effort.draws, draws);
            EXPECT_GT(effort.compared, draws * pixels * 9 / 10);
            EXPECT_LT(effort.compared, draws * (pixels + 80 * 50));
            foresee(foreseen[0], foreseen[1]);
            EXPECT_EQ(Find(withNeedle, needle, effort, DrawForeseen), Place(2, 44));
        }
        foresee(2000, 2000);
        EXPECT_EQ(Find(withNeedle, needle, effort, DrawForeseen), Place(2, 44)) << "every draw gets further";
        EXPECT_LT(effort.draws, 2000);
    }
}

/// Textures in which a needle nearly stands at very many places.
constexpr Rgb kWhite{255, 255, 255};
constexpr struct {
    const char *what;
    Rgb (*color)(int x, int y);
    bool defeatsProbes;
} kTextures[] = {
    {"one color", [](int, int) { return kWhite; }, false},
    {"stripes across", [](int, int y) { return y % 2 ? kWhite : Rgb(); }, true},
    {"stripes down", [](int x, int) { return x % 3 ? kWhite : Rgb(); }, true},
    {"checkerboard", [](int x, int y) { return (x + y) % 2 ? kWhite : Rgb(); }, true},
};

TEST(SearchEffort, StaysBelowAPictureUnlessMemoryIsRefused) {
    constexpr Rgb kOther{1, 2, 3};
    for (const auto &texture : kTextures)
        for (const auto &[width, height] : {Place(140, 60), Place(2200, 13)}) {
            Picture haystack = expected::Filled(width, height, {});
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    haystack.At(x, y) = texture.color(x, y);
            Picture needle = expected::Cut(haystack, 0, 0, 24, 5);
            needle.At(23, 4) = kOther;
            // Nowhere; at the end; and then, above what there is, at the left, amid, at the right and at the left.
            for (const Place &at : {Place(-1, -1), Place((width - 24) / 6 * 6, 8), Place(0, 8),
                                    Place(width / 18 * 6, 6), Place((width - 24) / 6 * 6, 4), Place(6, 4)}) {
                if (at.first >= 0)
                    haystack.At(at.first + 23, at.second + 4) = kOther;
                const auto wanted = expected::FindPicture(haystack, needle);
                for (const int granted : {-1, 0}) {
                    SCOPED_TRACE(testing::Message() << texture.what << ", " << width << " x " << height << ", up to ("
                                                    << at.first << ", " << at.second << "), granted " << granted);
                    SearchEffort effort;
                    const heap::Grants grants(granted);
                    EXPECT_EQ(Find(haystack, needle, effort), wanted);
                    if (granted == 0)
                        continue;
                    EXPECT_LE(effort.compared, std::int64_t{width} * height + 2 * 24 * 5);
                    if (!wanted) {
                        EXPECT_EQ(effort.draws, texture.defeatsProbes ? 1 : 0);
                    }
                }
            }
        }
}

TEST(SearchEffort, IsForeseenByNobody) {
    for (const bool refused : {false, true}) {
        gRefusesRandomness = refused;
        std::set<std::uint32_t> drawn;
        for (int i = 0; i < 50; ++i) {
            HashBases bases[kHashes];
            DrawByChance(bases);
            for (const HashBases &pair : bases)
                for (const std::uint32_t base : {pair.column, pair.row}) {
                    EXPECT_LT(base, kPrime);
                    drawn.insert(base);
                }
        }
        gRefusesRandomness = false;
        EXPECT_GE(drawn.size(), 199u) << "of 200, of which two may be equal by chance";
    }
}

} // namespace
