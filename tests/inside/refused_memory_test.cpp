#include "analysis/find_picture.h"
#include "expected/analysis.h"
#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "kernels/rotate.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

/// What the module does when the heap refuses it memory.
namespace {

using namespace kvt;
using expected::Rgb;

std::optional<std::pair<int, int>> Find(const expected::Picture &haystack, const expected::Picture &needle) {
    const PlainPicture in(haystack, 2);
    const PlainPicture of(needle, 8);
    Point hit{};
    return FindNeedle(*in, *of, hit) ? std::optional(std::pair(hit.x, hit.y)) : std::nullopt;
}

constexpr Rgb kWhite{255, 255, 255};

/// Textures in which a needle nearly stands at very many places, with a true place at the end or none.
constexpr struct {
    const char *what;
    Rgb (*color)(int x, int y);
} kTextures[] = {
    {"one color", [](int, int) { return kWhite; }},
    {"stripes across", [](int, int y) { return y % 2 ? kWhite : Rgb(); }},
    {"stripes down", [](int x, int) { return x % 3 ? kWhite : Rgb(); }},
    {"checkerboard", [](int x, int y) { return (x + y) % 2 ? kWhite : Rgb(); }},
    {"a spot in every tile", [](int x, int y) { return x % 8 == 7 && y % 8 == 7 ? Rgb() : kWhite; }},
};

TEST(RefusedMemory, LeavesASearchThatIsSlowerAndFindsTheSame) {
    for (const auto &texture : kTextures)
        for (const int granted : {-1, 0, 1, 2}) {
            SCOPED_TRACE(texture.what);
            expected::Picture haystack = expected::Filled(260, 200, {});
            for (int y = 0; y < haystack.height; ++y)
                for (int x = 0; x < haystack.width; ++x)
                    haystack.At(x, y) = texture.color(x, y);
            expected::Picture needle = expected::Filled(60, 50, {});
            for (int y = 0; y < needle.height; ++y)
                for (int x = 0; x < needle.width; ++x)
                    needle.At(x, y) = haystack.At(x, y);
            needle.At(59, 49) = {1, 2, 3};
            heap::granted = granted;
            EXPECT_EQ(Find(haystack, needle), std::nullopt);
            haystack.At(59 + 190, 49 + 130) = {1, 2, 3};
            EXPECT_EQ(Find(haystack, needle), expected::FindPicture(haystack, needle));
            heap::granted = -1;
        }
}

TEST(RefusedMemory, LeavesPixelsWhereTheyAre) {
    const PlainPicture picture(expected::Noise(5, 3, 1), kConsoleFormat);
    const expected::StoredPicture before = picture.Stored();
    heap::granted = 0;
    EXPECT_TRUE(Rotate(*picture, 0, -3)) << "nothing to move, no buffer needed";
    heap::granted = -1;
    PictureEditor endless = *picture;
    endless.width = 0x20000000;
    endless.rowBytes = INT32_MIN; // four times the width, in 32 bits
    EXPECT_FALSE(Rotate(endless, 0, 1));
    EXPECT_FALSE(Rotate(endless, 1, 0));
    EXPECT_EQ(picture.Stored(), before);
}

} // namespace
