#include "expected/color.h"
#include "support/pictures.h"

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

using EveryEmbeddedMask = EveryWay;

TEST_P(EveryEmbeddedMask, IsReadAndAssignedExactly) {
    ForEachSize([&](const Picture &colors, const Ref &picture) {
        const bool swap = random.Below(2) == 0;
        SCOPED_TRACE(swap);
        const StoredPicture before = WordsOf(picture.picture());
        const auto read = host.Call(picture, "EmbeddedMaskKVT", swap);
        EXPECT_PICTURE(read, EmbeddedMask(before, swap));
        EXPECT_FALSE(read.picture().description.hasAlphaChannel);

        // Smaller, as large and larger masks, some of them in the layout of new pictures.
        const Picture mask = Noise(std::max(1, colors.width + random.Between(-1, 1)),
                                   std::max(1, colors.height + random.Between(-1, 1)), random.Next());
        const Ref assigned = random.Below(2) == 0 ? MakeAnyhow(mask) : MakePicture(host, mask);
        host.MayChange(picture);
        host.Assign(picture, "EmbeddedMaskKVT", {swap}, assigned);
        EXPECT_PICTURE(picture.picture(), SetEmbeddedMask(before, swap, mask));

        const StoredPicture now = WordsOf(picture.picture());
        host.MayChange(picture);
        host.Assign(picture, "EmbeddedMaskKVT", {swap}, picture);
        EXPECT_PICTURE(picture.picture(), SetEmbeddedMask(now, swap, Load(now))) << "its own reds";
    });
}

IN_EVERY_WAY(EveryEmbeddedMask);

/// Nothing is written then: the host watches every picture.
using EveryRectangleMask = EveryWay;

TEST_P(EveryRectangleMask, IsExact) {
    std::vector<Size> sizes = OddSizes();
    sizes.insert(sizes.end(), {{40, 40}, {70, 90}, {33, 64}});
    for (const auto &[width, height] : sizes) {
        // From nearly gray to nearly all colored, and strokes, so that boxes of all sizes meet.
        for (const int grays : {0, 3, 20, 1000}) {
            Picture picture = Noise(width, height + 5, random.Next());
            for (Rgb &pixel : picture.pixels)
                if (random.Below(grays + 1) > 0)
                    pixel.green = pixel.blue = pixel.red;
            for (int stroke = grays == 1000 ? random.Below(12) : 0; stroke > 0; --stroke) {
                const bool down = random.Below(2);
                int x = random.Below(picture.width);
                int y = random.Below(picture.height);
                for (int length = random.Below(80); length > 0 && x < picture.width && y < picture.height; --length)
                    picture.At(down ? x : x++, down ? y++ : y).blue ^= 3;
            }
            const Ref source = MakeAnyhow(picture);
            const Rectangle area = AnyRectangle(random, picture.width, picture.height);
            SCOPED_TRACE(fmt::format("{} x {}, {} grays a color, area {} {} {} {}", picture.width, picture.height,
                                     grays, area.left, area.top, area.width, area.height));
            const auto inArea =
                host.Call(source, "ExtractColorRectangleMaskKVT", area.left, area.top, area.width, area.height);
            EXPECT_PICTURE(inArea, ColorRectangleMask(picture, area));
            EXPECT_FALSE(inArea.picture().description.hasAlphaChannel);
            EXPECT_PICTURE(host.Call(source, "ExtractColorRectangleMaskKVT"), ColorRectangleMask(picture, {}));
        }
    }
}

IN_EVERY_WAY(EveryRectangleMask);

/// Rows of text, each ended by a slash: x is colored, a dot gray; in the mask # is black and a dot white.
constexpr struct {
    const char *what;
    const char *picture;
    const char *mask;
    Rectangle rectangle = {};
} kShapes[] = {
    {"neighbors at a corner stay apart", "x../.x./", "#../.#./"},
    {"an L is taken with what it encloses", "x.../x.../xxx./..../", "###./###./###./..../"},
    {"a box grows to the left of its seed", "..x./xxx./..../", "###./###./..../"},
    {"what a box has taken, a later one does not see", ".x./x../xx./", ".#./##./##./"},
    {"boxes overlap", "..x./x.x./x.../xxxx/", "..#./####/####/####/"},
    {"outside the rectangle nothing is seen", "xxxx/x..x/xxxx/", "..../..##/..##/", {2, 1, 9, 9}},
    {"a left of -2 shortens the width", "xxxx/xxxx/", "##../##../", {-2, 0, 4, -1}},
};

Picture FromText(const char *text, Rgb dot, Rgb other) {
    Picture picture;
    for (; *text; ++text)
        if (*text == '/')
            ++picture.height;
        else
            picture.pixels.push_back(*text == '.' ? dot : other);
    picture.width = static_cast<int>(picture.pixels.size()) / picture.height;
    return picture;
}

TEST(RectangleMask, BoxesWhatBelongsTogether) {
    for (const auto &row : kShapes) {
        SCOPED_TRACE(row.what);
        TestHost host;
        const Picture picture = FromText(row.picture, {90, 90, 90}, {90, 91, 90});
        const Picture mask = FromText(row.mask, {255, 255, 255}, {0, 0, 0});
        const auto &[left, top, width, height] = row.rectangle;
        EXPECT_PICTURE(host.Call(MakePicture(host, picture), "ExtractColorRectangleMaskKVT", left, top, width, height),
                       mask);
        EXPECT_EQ(ColorRectangleMask(picture, row.rectangle), mask) << "the plain computation";
    }
}

} // namespace
