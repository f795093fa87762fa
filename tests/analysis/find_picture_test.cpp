#include "expected/analysis.h"

#include "support/pictures.h"

namespace {

using namespace expected;

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
            if (random.Below(8) == 0) // too large
                needle = random.Below(2) ? Filled(picture.width + 1, 1, needle.At(0, 0))
                                         : Filled(1, picture.height + 1, needle.At(0, 0));
            SCOPED_TRACE(fmt::format("{} x {} of {} colors, needle {} x {} from ({}, {})", width, picture.height,
                                     colors, needle.width, needle.height, left, top));
            // The needle is stored as new pictures are, so that two layouts meet.
            const standin::Result result =
                host.Call(MakeAnyhow(picture), "FindPicture", MakePicture(host, needle), 77, -77);
            const std::optional<std::pair<int, int>> place = FindPicture(picture, needle);
            EXPECT_EQ(result.value.AsBoolean(), place.has_value());
            EXPECT_EQ(result.byref[0].second.AsInteger(), place ? place->first : 0);
            EXPECT_EQ(result.byref[1].second.AsInteger(), place ? place->second : 0);
        }
    }
}

IN_EVERY_WAY(EverySearch);

} // namespace
