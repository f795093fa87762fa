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
            EXPECT_PICTURE(inArea, ColorRectangleMask(picture, area.left, area.top, area.width, area.height));
            EXPECT_FALSE(inArea.picture().description.hasAlphaChannel);
            EXPECT_PICTURE(host.Call(source, "ExtractColorRectangleMaskKVT"),
                           ColorRectangleMask(picture, 0, 0, -1, -1));
        }
    }
}

IN_EVERY_WAY(EveryRectangleMask);

TEST(RectangleMask, BoxesWhatTouchesSideBySide) {
    TestHost host;
    Picture picture = Filled(6, 5, {90, 90, 90});
    picture.At(1, 1) = picture.At(2, 2) = {90, 90, 91}; // corner to corner
    picture.At(4, 0) = picture.At(4, 1) = picture.At(5, 1) = {255, 0, 0};
    Picture mask = Filled(6, 5, {255, 255, 255});
    mask.At(1, 1) = mask.At(2, 2) = {0, 0, 0};
    mask.At(4, 0) = mask.At(4, 1) = mask.At(5, 0) = mask.At(5, 1) = {0, 0, 0};
    const Ref source = MakePicture(host, picture);
    EXPECT_PICTURE(host.Call(source, "ExtractColorRectangleMaskKVT"), mask);
    mask.At(5, 0) = mask.At(5, 1) = {255, 255, 255}; // the area ends before them
    EXPECT_PICTURE(host.Call(source, "ExtractColorRectangleMaskKVT", -1, 0, 6, -1), mask);
    for (const Value &none : {Value(), Value(host.Make({.width = 0, .height = 5}))})
        EXPECT_TRUE(host.Call(none, "ExtractColorRectangleMaskKVT").value.IsNil());
}

} // namespace
