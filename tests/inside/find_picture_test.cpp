#include "analysis/find_picture.h"

#include "expected/find_picture.h"
#include "expected/noise.h"
#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "pixels/instruction_set.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

namespace {

using namespace kvt;
using expected::Rgb;
using Place = std::optional<std::pair<int, int>>;

Place Find(const expected::Picture &haystack, const expected::Picture &needle, std::int32_t haystackFormat,
           std::int32_t needleFormat) {
    const PlainPicture in(haystack, haystackFormat);
    const PlainPicture of(needle, needleFormat);
    Point hit{-1, -1};
    if (FindNeedle(*in, *of, hit))
        return std::pair{hit.x, hit.y};
    EXPECT_EQ(hit.x, -1) << "a miss leaves the place alone";
    return std::nullopt;
}

template <class Color> expected::Picture Make(int width, int height, Color color) {
    expected::Picture picture{width, height, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.pixels.push_back(color(x, y));
    return picture;
}

expected::Picture Part(const expected::Picture &picture, int left, int top, int width, int height) {
    return Make(width, height, [&](int x, int y) { return picture.At(left + x, top + y); });
}

constexpr Rgb kWhite{255, 255, 255};
constexpr Rgb kBlack{0, 0, 0};

TEST(FindNeedle, TakesTheTopmostThenTheLeftmost) {
    const auto distinct = Make(9, 7, [](int x, int y) { return Rgb{x, y, 5}; });
    EXPECT_EQ(Find(distinct, distinct, 1, 8), (Place{{0, 0}})) << "the whole picture";
    EXPECT_EQ(Find(distinct, Part(distinct, 8, 6, 1, 1), 2, 8), (Place{{8, 6}})) << "the last pixel";
    EXPECT_EQ(Find(distinct, Part(distinct, 3, 2, 6, 5), 8, 1), (Place{{3, 2}})) << "the last place";
    EXPECT_EQ(Find(distinct, Make(10, 1, [](int x, int) { return Rgb{x, 0, 5}; }), 1, 1), std::nullopt) << "too wide";
    EXPECT_EQ(Find(distinct, Make(1, 8, [](int, int y) { return Rgb{0, y, 5}; }), 1, 1), std::nullopt) << "too high";
    EXPECT_EQ(Find(distinct, Make(0, 0, [](int, int) { return kBlack; }), 1, 1), std::nullopt) << "no pixels";
    EXPECT_EQ(Find(Make(0, 3, [](int, int) { return kBlack; }), distinct, 1, 1), std::nullopt) << "nowhere to look";

    const auto twice =
        Make(9, 7, [](int x, int y) { return (y == 3 && x == 7) || (y == 4 && x % 4 == 1) ? kBlack : kWhite; });
    EXPECT_EQ(Find(twice, Part(twice, 6, 3, 2, 1), 1, 2), (Place{{6, 3}}));
    const auto oneRow = Make(12, 1, [](int x, int) { return x % 5 ? kWhite : kBlack; });
    EXPECT_EQ(Find(oneRow, Part(oneRow, 4, 0, 3, 1), 1, 2), (Place{{4, 0}}));
}

TEST(FindNeedle, GoesOnAfterABeginningThatDoesNotContinue) {
    auto haystack = Make(40, 30, [](int x, int y) { return Rgb{x, y, 9}; });
    const auto needle = Part(haystack, 20, 20, 5, 4);
    for (int x = 0; x < 5; ++x)
        haystack.At(x + 1, 2) = needle.At(x, 0);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            haystack.At(x + 3, y + 5) = needle.At(x, y);
    haystack.At(7, 8) = kWhite;
    EXPECT_EQ(Find(haystack, needle, 1, 1), (Place{{20, 20}}));
}

/// Textures in which a needle nearly stands at very many places, with a true place at the end or none.
const struct {
    const char *what;
    Rgb (*color)(int x, int y);
} kTextures[] = {
    {"one color", [](int, int) { return kWhite; }},
    {"stripes across", [](int, int y) { return y % 2 ? kWhite : kBlack; }},
    {"stripes down", [](int x, int) { return x % 3 ? kWhite : kBlack; }},
    {"checkerboard", [](int x, int y) { return (x + y) % 2 ? kWhite : kBlack; }},
    {"tiles",
     [](int x, int y) {
         return Rgb{x % 5, y % 7, 0};
     }},
    {"a spot in every tile", [](int x, int y) { return x % 8 == 7 && y % 8 == 7 ? kBlack : kWhite; }},
};

TEST(FindNeedle, FindsItInTexturesThatNearlyMatchEverywhere) {
    for (const auto &texture : kTextures) {
        SCOPED_TRACE(texture.what);
        for (const bool refused : {false, true}) {
            auto haystack = Make(260, 200, texture.color);
            auto needle = Part(haystack, 0, 0, 60, 50);
            needle.At(59, 49) = {1, 2, 3};
            heap::granted = refused ? 0 : -1;
            EXPECT_EQ(Find(haystack, needle, 2, 8), std::nullopt);
            haystack.At(59 + 190, 49 + 130) = {1, 2, 3};
            EXPECT_EQ(Find(haystack, needle, 8, 1), expected::FindPicture(haystack, needle));
            heap::granted = -1;
        }
    }
}

class SearchedPictures : public testing::TestWithParam<int> {};

TEST_P(SearchedPictures, AreSearchedAsByThePlainForm) {
    gForcedLevel = GetParam();
    expected::Random random(11);
    int found = 0;
    for (int round = 0; round < 3000; ++round) {
        const int colors = 1 + random.Below(3);
        const int often = 1 + random.Below(30);
        const auto color = [&](int, int) {
            return random.Below(often) ? Rgb{0, 0, 7} : Rgb{random.Below(colors), 0, 7};
        };
        const auto haystack = Make(1 + random.Below(round % 8 ? 24 : 300), 1 + random.Below(24), color);
        const int width = 1 + random.Below(haystack.width);
        const int height = 1 + random.Below(haystack.height);
        auto needle = Part(haystack, random.Below(haystack.width - width + 1),
                           random.Below(haystack.height - height + 1), width, height);
        for (int changes = random.Below(2); changes > 0; --changes)
            needle.At(random.Below(width), random.Below(height)) = color(0, 0);
        const Place place = expected::FindPicture(haystack, needle);
        found += place.has_value();
        ASSERT_EQ(Find(haystack, needle, kFormats[random.Below(3)], kFormats[random.Below(3)]), place)
            << "round " << round << ": " << width << " x " << height << " in " << haystack.width << " x "
            << haystack.height;
    }
    EXPECT_GT(found, 1000);
    EXPECT_LT(found, 2900);
    gForcedLevel = -1;
}

INSTANTIATE_TEST_SUITE_P(AtEveryLevel, SearchedPictures, testing::Values(0, 1, 2));

TEST(FindPicture, StoresZeroBeforeAnythingElse) {
    std::int32_t x = 5;
    std::int32_t y = 6;
    EXPECT_EQ(FindPicture(nullptr, nullptr, &x, &y), 0);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
    EXPECT_EQ(FindPicture(nullptr, nullptr, nullptr, nullptr), 0);
}

} // namespace
