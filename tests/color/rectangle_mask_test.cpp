#include "expected/rectangle_mask.h"

#include "support/pictures.h"

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

using EveryRectangleMask = EveryWay;

TEST_P(EveryRectangleMask, IsExact) {
    for (const auto &[width, height] : OddSizes()) {
        // From nearly gray to nearly all colored, so that boxes of all sizes meet.
        for (const int grays : {0, 3, 20}) {
            Picture picture = Noise(width, height + 5, random.Next());
            for (Rgb &pixel : picture.pixels)
                if (random.Below(grays + 1) > 0)
                    pixel.green = pixel.blue = pixel.red;
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

TEST(RectangleMask, OfNoPictureIsNil) {
    TestHost host;
    for (const Value &none : {Value(), Value(host.Make({.width = 0, .height = 5}))})
        EXPECT_TRUE(host.Call(none, "ExtractColorRectangleMaskKVT").value.IsNil());
}

} // namespace
