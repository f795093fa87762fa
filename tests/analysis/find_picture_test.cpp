#include "expected/analysis.h"

#include "support/pictures.h"

namespace {

using namespace expected;
using standin::Ref;

/// Where the needle is found; nowhere leaves zeros in the script's variables.
void ExpectFound(TestHost &host, const Ref &haystack, const Ref &needle, std::optional<std::pair<int, int>> place) {
    const standin::Result result = host.Call(haystack, "FindPicture", needle, 77, -77);
    EXPECT_EQ(result.value.AsBoolean(), place.has_value());
    EXPECT_EQ(std::pair(result.byref[0].second.AsInteger(), result.byref[1].second.AsInteger()),
              (std::pair<std::int64_t, std::int64_t>(place.value_or(std::pair(0, 0)))));
}

using EverySearch = EveryWay;

TEST_P(EverySearch, IsExact) {
    for (const auto &[width, height] : OddSizes()) {
        for (const int colors : {1, 2, 200}) {
            Picture picture = Filled(width, height + 3 + random.Below(20), {});
            const int seldom = 1 + random.Below(30); // nearly one color, or as good as noise
            for (Rgb &pixel : picture.pixels)
                if (random.Below(seldom) == 0)
                    pixel = {random.Below(colors), 7, 255 * random.Below(2)};
            const int left = random.Below(picture.width);
            const int top = random.Below(picture.height);
            Picture needle =
                Cut(picture, left, top, 1 + random.Below(picture.width - left), 1 + random.Below(picture.height - top));
            if (random.Below(3) == 0)
                needle.pixels.back().green ^= 1 << random.Below(8);
            SCOPED_TRACE(fmt::format("{} x {} of {} colors, needle {} x {} from ({}, {})", width, picture.height,
                                     colors, needle.width, needle.height, left, top));
            // The needle is stored as new pictures are, so that two layouts meet.
            ExpectFound(host, MakeAnyhow(picture), MakePicture(host, needle), FindPicture(picture, needle));
        }
    }
}

IN_EVERY_WAY(EverySearch);

/// A letter a color, a slash after each row.
Picture FromText(std::string_view text) {
    Picture picture;
    for (const char letter : text)
        if (letter == '/')
            ++picture.height;
        else
            picture.pixels.push_back({letter, 7, 'z' - letter});
    picture.width = static_cast<int>(picture.pixels.size()) / picture.height;
    return picture;
}

constexpr struct {
    const char *what;
    const char *haystack;
    const char *needle;
    int x, y; ///< -1: nowhere
} kSearches[] = {
    {"the whole picture", "abc/def/", "abc/def/", 0, 0},
    {"the last pixel", "abc/def/", "f/", 2, 1},
    {"the last place", "abcd/efgh/ijkl/", "gh/kl/", 2, 1},
    {"the topmost, not the leftmost", "....a./.a..../", "a/", 4, 0},
    {"the leftmost of a row", "...a.a/", ".a/", 2, 0},
    {"a beginning that goes on differently", "abc/dex/abc/def/", "abc/def/", 0, 2},
    {"one that overlaps the true one", "aabaabaac/", "aabaac/", 3, 0},
    {"not around the end of a row", "ab/cd/", "bc/", -1, -1},
    {"wider", "aa/aa/", "aaa/", -1, -1},
    {"higher", "aa/aa/", "a/a/a/", -1, -1},
};

TEST(Search, TakesTheTopmostThenTheLeftmost) {
    for (const auto &row : kSearches) {
        TestHost host;
        SCOPED_TRACE(row.what);
        const std::optional place(std::pair(row.x, row.y));
        ExpectFound(host, MakePicture(host, FromText(row.haystack)), MakePicture(host, FromText(row.needle)),
                    row.x < 0 ? std::nullopt : place);
    }
}

} // namespace
