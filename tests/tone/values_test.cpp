#include "support/pictures.h"

#include <cmath>
#include <cstdint>

/// Results that are written down, so that no computation of these tests stands between them and what is promised.
namespace {

using namespace expected;
using standin::Ref;
using standin::Result;
using standin::Value;

/// A picture of one row.
Picture Row(std::vector<Rgb> pixels) {
    const int width = static_cast<int>(pixels.size());
    return {width, 1, std::move(pixels)};
}

const struct {
    const char *method;
    std::vector<Value> arguments;
    std::vector<int> from, to; ///< levels of all three channels
} kLevelResults[] = {
    {"ChangeContrastKVT", {-1.0}, {0, 5, 255}, {127, 127, 127}},
    {"ChangeContrastKVT", {1.0}, {0, 64, 100, 127, 128, 200}, {0, 1, 73, 127, 129, 255}},
    {"ChangeContrastKVT", {1e300}, {0, 126, 128}, {0, 0, 255}},
    {"ChangeContrastKVT", {NAN}, {0, 200}, {0, 0}},
    {"ChangeBrightnessLinearKVT", {51.0}, {0, 1, 128, 255}, {51, 51, 153, 255}},
    {"ChangeBrightnessLinearKVT", {-51.0}, {0, 128, 255}, {0, 102, 204}},
    {"ChangeBrightnessLinearKVT", {510.0}, {0, 100, 255}, {255, 255, 255}},
    {"ChangeBrightnessAbsoluteKVT", {0.9}, {0, 1, 254, 255}, {0, 1, 254, 255}},
    {"ChangeBrightnessAbsoluteKVT", {-0.5}, {0, 1, 255}, {0, 0, 254}},
    {"ChangeContrastBrightnessLinearKVT", {1.0, 51.0}, {0, 100, 127, 128, 200}, {0, 109, 152, 154, 255}},
    {"ChangeContrastBrightnessAbsoluteKVT", {1.0, 20.0}, {0, 100, 127, 128}, {0, 93, 147, 149}},
    {"ChangeCustomKVT", {0.5, 0.5}, {0, 1, 2, 3, 255}, {0, 1, 1, 2, 128}},
};

const struct {
    const char *method;
    std::vector<Value> arguments;
    Rgb from, to;
} kPixelResults[] = {
    {"InvertKVT", {}, {10, 200, 30}, {245, 55, 225}},
    {"InvertGrayKVT", {}, {128, 128, 128}, {127, 127, 127}},
    {"InvertGrayKVT", {}, {5, 5, 6}, {5, 5, 6}},
    {"ChangeBrightnessAbsoluteKVT", {10.0, 0.0, -10.0}, {100, 100, 100}, {110, 100, 90}},
    {"ChangeSaturationKVT", {100}, {200, 100, 50}, {234, 96, 26}},
    {"ChangeSaturationKVT", {-100}, {200, 100, 50}, {165, 105, 75}},
    {"ChangeSaturationKVT", {INT32_MAX}, {200, 100, 112}, {255, 0, 0}},
    {"ChangeSaturationKVT", {-INT32_MAX - 1}, {200, 100, 50}, {0, 255, 255}},
    {"ReplaceColorKVT", {0xFF0A141E, 0x010203}, {10, 20, 30}, {1, 2, 3}},
    {"ExtractColorKVT", {0x0A151E, 0x010203, 0x040506}, {10, 20, 30}, {4, 5, 6}},
};

constexpr struct {
    std::uint32_t gray, tint;
    Rgb from, to;
} kTintResults[] = {
    {0xFFFFFF, 0xFFFFFF, {200, 100, 50}, {255, 255, 255}},
    {0x555555, 0xFFF0C0, {200, 100, 50}, {116, 109, 87}},
    {0xFF4D961D, 0xFFFF8000, {200, 100, 50}, {124, 62, 0}},
};

constexpr struct {
    double weights[3];
    int offsets[3];
    Rgb from, to;
} kTonings[] = {
    {{0.299, 0.587, 0.114}, {0, 0, 0}, {255, 255, 255}, {254, 254, 254}},
    {{0.299, 0.587, 0.114}, {40, 20, -20}, {200, 100, 50}, {164, 144, 104}},
    {{-1, 0, 0}, {300, 0, 0}, {200, 100, 50}, {100, 0, 0}},
    {{-0.5, 0, 0}, {1, 2, 3}, {1, 0, 0}, {1, 2, 3}},
    {{1e300, HUGE_VAL, -1e300}, {INT32_MAX, 0, 0}, {255, 0, 255}, {255, 0, 0}},
    {{NAN, 1, 0}, {0, 0, 0}, {255, 7, 0}, {7, 7, 7}},
};

TEST(WrittenDown, ResultsOfLevelsAndPixels) {
    TestHost host;
    for (const auto &row : kLevelResults) {
        std::vector<Rgb> from, to;
        for (std::size_t i = 0; i < row.from.size(); ++i) {
            from.push_back({row.from[i], row.from[i], row.from[i]});
            to.push_back({row.to[i], row.to[i], row.to[i]});
        }
        EXPECT_PICTURE(host.CallWith(MakePicture(host, Row(from)), row.method, row.arguments), Row(to))
            << row.method << TextOf(row.arguments);
    }
    for (const auto &row : kPixelResults)
        EXPECT_PICTURE(host.CallWith(MakePicture(host, Row({row.from})), row.method, row.arguments), Row({row.to}))
            << row.method << TextOf(row.arguments);
    for (const auto &row : kTintResults)
        EXPECT_PICTURE(host.CallGlobal("TintPictureKVT", MakePicture(host, Row({row.from})), row.gray, row.tint),
                       Row({row.to}));
    for (const auto &row : kTonings) {
        const Ref sepia = host.New("PictureSepiaKVT");
        host.Set(sepia, "SourcePicture", MakePicture(host, Row({row.from})));
        for (int i = 0; i < 3; ++i) {
            constexpr const char *kFactors[] = {"FactorRed", "FactorBlue", "FactorGreen"}; // of red, green and blue
            constexpr const char *kOffsets[] = {"SepiaRed", "SepiaGreen", "SepiaBlue"};
            host.Set(sepia, kFactors[i], row.weights[i]);
            host.Set(sepia, kOffsets[i], row.offsets[i]);
        }
        host.Call(sepia, "Run");
        EXPECT_PICTURE(host.Get(sepia, "DestinationPicture"), Row({row.to})) << row.weights[0];
    }
}

} // namespace
