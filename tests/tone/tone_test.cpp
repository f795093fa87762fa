#include "expected/tone.h"
#include "support/pictures.h"

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

using EveryToneOperation = EveryOperation;

PerChannel Any(Random &random, double useful) {
    return {AnyDouble(random, useful), AnyDouble(random, useful), AnyDouble(random, useful)};
}

/// The one-value and the per-channel form of an adjustment with one parameter a channel.
template <Picture (*adjust)(const Picture &, PerChannel), int useful> Trial OneValue(Random &random, const Picture &) {
    const double value = AnyDouble(random, useful);
    return {{value}, [=](const Picture &source, const Picture &) { return adjust(source, Each(value)); }};
}
template <Picture (*adjust)(const Picture &, PerChannel), int useful>
Trial ThreeValues(Random &random, const Picture &) {
    const PerChannel value = Any(random, useful);
    return {{value.red, value.green, value.blue},
            [=](const Picture &source, const Picture &) { return adjust(source, value); }};
}

/// The same for contrast followed by brightness.
using AdjustBoth = Picture (*)(const Picture &, PerChannel, PerChannel);
template <AdjustBoth adjust> Trial TwoValues(Random &random, const Picture &) {
    const double contrast = AnyDouble(random, 3);
    const double brightness = AnyDouble(random, 255);
    return {{contrast, brightness},
            [=](const Picture &source, const Picture &) { return adjust(source, Each(contrast), Each(brightness)); }};
}
template <AdjustBoth adjust> Trial SixValues(Random &random, const Picture &) {
    const PerChannel contrast = Any(random, 3);
    const PerChannel brightness = Any(random, 255);
    return {{contrast.red, contrast.green, contrast.blue, brightness.red, brightness.green, brightness.blue},
            [=](const Picture &source, const Picture &) { return adjust(source, contrast, brightness); }};
}

template <Picture (*invert)(const Picture &, Rectangle, Picture)> Trial InArea(Random &random, const Picture &picture) {
    const Rectangle area = AnyRectangle(random, picture.width, picture.height);
    return {{area.left, area.top, area.width, area.height},
            [=](const Picture &source, const Picture &fresh) { return invert(source, area, fresh); }};
}
template <Picture (*invert)(const Picture &, Rectangle, Picture)> Trial Whole(Random &, const Picture &) {
    return {{}, [](const Picture &source, const Picture &fresh) { return invert(source, {}, fresh); }};
}

Trial AnyCustom(Random &random, const Picture &) {
    const double a = AnyDouble(random, 3);
    const double b = AnyDouble(random, 255);
    return {{a, b}, [=](const Picture &source, const Picture &) { return CustomTransform(source, a, b); }};
}

Trial AnySaturation(Random &random, const Picture &) {
    const int amount = AnyInteger(random, 600);
    return {{amount}, [=](const Picture &source, const Picture &) { return Saturation(source, amount); }};
}

Trial AnyTint(Random &random, const Picture &) {
    const std::uint32_t grey = random.Next();
    const std::uint32_t sepia = random.Next();
    return {{grey, sepia}, [=](const Picture &source, const Picture &) { return Tint(source, grey, sepia); }};
}

TEST_P(EveryToneOperation, IsExact) {
    constexpr Operation kOperations[] = {
        {"InvertKVT", Whole<Invert>},
        {"InvertKVT", InArea<Invert>},
        {"InvertGrayKVT", Whole<InvertGray>},
        {"InvertGrayKVT", InArea<InvertGray>},
        {"ChangeContrastKVT", OneValue<Contrast, 3>},
        {"ChangeContrastKVT", ThreeValues<Contrast, 3>},
        {"ChangeBrightnessLinearKVT", OneValue<LinearBrightness, 255>},
        {"ChangeBrightnessLinearKVT", ThreeValues<LinearBrightness, 255>},
        {"ChangeBrightnessAbsoluteKVT", OneValue<AbsoluteBrightness, 255>},
        {"ChangeBrightnessAbsoluteKVT", ThreeValues<AbsoluteBrightness, 255>},
        {"ChangeContrastBrightnessLinearKVT", TwoValues<ContrastLinearBrightness>},
        {"ChangeContrastBrightnessLinearKVT", SixValues<ContrastLinearBrightness>},
        {"ChangeContrastBrightnessAbsoluteKVT", TwoValues<ContrastAbsoluteBrightness>},
        {"ChangeContrastBrightnessAbsoluteKVT", SixValues<ContrastAbsoluteBrightness>},
        {"ChangeCustomKVT", AnyCustom},
        {"ChangeSaturationKVT", AnySaturation},
        {"TintPictureKVT", AnyTint, true, true},
    };
    for (const Operation &operation : kOperations)
        Expect(operation);
}

IN_EVERY_WAY(EveryToneOperation);

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
}

TEST(SepiaClass, OwnsItsPictures) {
    TestHost host;
    const Ref sepia = host.New("PictureSepiaKVT");
    const std::size_t alone = host.LivingObjects();
    host.Set(sepia, "SourcePicture", MakePicture(host, Filled(3, 2, {1, 2, 3})));
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
        EXPECT_EQ(host.LivingObjects(), alone + 2) << "a source and one result, the one before released";
    }
    const Value kept = host.Get(sepia, "DestinationPicture");
    for (const Value &failing : {Value(), Value(host.Make({.width = 0, .height = 0}))}) {
        host.Set(sepia, "SourcePicture", failing);
        EXPECT_FALSE(host.Call(sepia, "Run").value.AsBoolean());
        EXPECT_EQ(host.Get(sepia, "DestinationPicture").AsRef(), kept.AsRef()) << "a failed run keeps the old result";
    }
    host.Set(sepia, "SourcePicture", kept);
    host.Call(sepia, "Close");
    EXPECT_TRUE(host.Get(sepia, "SourcePicture").IsNil() && host.Get(sepia, "DestinationPicture").IsNil());
    host.Set(sepia, "SourcePicture", kept);
    EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean()) << "usable after closing; destruction gives both back";
}

} // namespace
