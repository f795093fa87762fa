#include "expected/tone.h"
#include "support/pictures.h"

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

void SetAll(TestHost &host, const Ref &sepia, const SepiaSettings &settings) {
    SetBounds(host, sepia, settings.bounds);
    host.Set(sepia, "FactorRed", settings.weights.red);
    host.Set(sepia, "FactorBlue", settings.weights.green);
    host.Set(sepia, "FactorGreen", settings.weights.blue);
    host.Set(sepia, "SepiaRed", settings.red);
    host.Set(sepia, "SepiaGreen", settings.green);
    host.Set(sepia, "SepiaBlue", settings.blue);
}

using EverySepia = EveryWay;

TEST_P(EverySepia, IsExact) {
    const Ref sepia = host.New("PictureSepiaKVT");
    for (const auto &[width, height] : OddSizes()) {
        const Picture picture = Noise(width, height, random.Next());
        const SepiaSettings settings = {
            {AnyDouble(random, 1.2), AnyDouble(random, 1.2), AnyDouble(random, 1.2)},
            random.Below(2) == 0 ? Bounds{} : AnyBounds(random, width, height),
            AnyInteger(random, 100),
            AnyInteger(random, 100),
            AnyInteger(random, 100),
        };
        SetAll(host, sepia, settings);
        host.Set(sepia, "SourcePicture", MakeAnyhow(picture));
        ASSERT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
        const Value made = host.Get(sepia, "DestinationPicture");
        ASSERT_TRUE(Shows(made, Sepia(picture, settings, FreshLike(picture)))) << fmt::format(
            "{} x {}: weights {:.17g} {:.17g} {:.17g}, offsets {} {} {}, bounds {} {} {} {}", width, height,
            settings.weights.red, settings.weights.green, settings.weights.blue, settings.red, settings.green,
            settings.blue, settings.bounds.minX, settings.bounds.minY, settings.bounds.maxX, settings.bounds.maxY);
        EXPECT_FALSE(made.AsPicture().description.hasAlphaChannel);
    }
}

IN_EVERY_WAY(EverySepia);

TEST(SepiaClass, ExchangesTheNamesOfGreenAndBlue) {
    TestHost host;
    const Ref sepia = host.New("PictureSepiaKVT");
    EXPECT_EQ(host.Get(sepia, "FactorRed").AsDouble(), 0.299);
    EXPECT_EQ(host.Get(sepia, "FactorBlue").AsDouble(), 0.587);
    EXPECT_EQ(host.Get(sepia, "FactorGreen").AsDouble(), 0.114);
    host.Set(sepia, "SourcePicture", MakePicture(host, Filled(1, 1, {200, 100, 50})));
    host.Set(sepia, "FactorBlue", 0.0);
    host.Set(sepia, "FactorGreen", 0.587);
    EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
    EXPECT_PICTURE(host.Get(sepia, "DestinationPicture"), Filled(1, 1, {89, 89, 89}));
}

TEST(SepiaClass, OwnsItsPictures) {
    TestHost host;
    const Ref sepia = host.New("PictureSepiaKVT");
    EXPECT_FALSE(host.Call(sepia, "Run").value.AsBoolean()) << "without a source";
    const std::size_t alone = host.LivingObjects();

    host.Set(sepia, "SourcePicture", MakePicture(host, Filled(3, 2, {1, 2, 3})));
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
        EXPECT_EQ(host.LivingObjects(), alone + 2) << "a source and one result, the one before released";
    }
    const Value kept = host.Get(sepia, "DestinationPicture");
    host.Set(sepia, "SourcePicture", host.Make({.width = 0, .height = 0}));
    EXPECT_FALSE(host.Call(sepia, "Run").value.AsBoolean()) << "no result of that size";
    host.Set(sepia, "SourcePicture", nullptr);
    EXPECT_FALSE(host.Call(sepia, "Run").value.AsBoolean());
    EXPECT_EQ(host.Get(sepia, "DestinationPicture").AsRef(), kept.AsRef()) << "a failed run keeps the old result";

    host.Set(sepia, "SourcePicture", kept);
    host.Set(sepia, "FactorRed", 0.5);
    host.Call(sepia, "Close");
    EXPECT_TRUE(host.Get(sepia, "SourcePicture").IsNil());
    EXPECT_TRUE(host.Get(sepia, "DestinationPicture").IsNil());
    EXPECT_EQ(host.Get(sepia, "FactorRed").AsDouble(), 0.5);
    EXPECT_FALSE(host.Call(sepia, "Run").value.AsBoolean());

    host.Set(sepia, "SourcePicture", kept);
    EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean()) << "usable after closing; destruction gives both back";
}

} // namespace
