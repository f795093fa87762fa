#include "bench/targets.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace bench {
namespace {

struct Target {
    std::string_view method;
    std::string_view what; ///< empty: all lines of the method that pixels decide over
    std::array<double, 3> limits;
};

constexpr std::array kStream = {1.0, 0.8, 0.8};
constexpr std::array kTwoRead = {1.4, 1.1, 1.1};
constexpr std::array kTables = {3.0, 2.2, 0.85};
constexpr std::array kOneColorRead = {0.55, 0.5, 0.5};
constexpr std::array kColornessRead = {1.0, 0.5, 0.5};
constexpr std::array kByteString = {2.0, 1.1, 1.0};
constexpr std::array kScroll = {1.8, 1.8, 1.8};

constexpr Target kTargets[] = {
    {"InvertKVT", "", kStream},
    {"InvertGrayKVT", "", kStream},
    {"ReplaceColorKVT", "", kStream},
    {"ExtractColorKVT", "", kStream},
    {"EmbeddedMaskKVT", "", kStream},
    {"ReplaceRedChannelKVT", "", kTwoRead},
    {"ReplaceGreenChannelKVT", "", kTwoRead},
    {"ReplaceBlueChannelKVT", "", kTwoRead},
    {"MergePictureKVT", "", kTwoRead},
    {"CombinePicturesKVT", "", {1.8, 1.4, 1.4}},
    {"ChangeContrastKVT", "", kTables},
    {"ChangeBrightnessLinearKVT", "", kTables},
    {"ChangeBrightnessAbsoluteKVT", "", kTables},
    {"ChangeContrastBrightnessLinearKVT", "", kTables},
    {"ChangeContrastBrightnessAbsoluteKVT", "", kTables},
    {"ChangeCustomKVT", "", kTables},
    {"TransformColorsKVT", "", kTables},
    {"PictureSepiaKVT.Run", "", {2.0, 0.95, 0.9}},
    {"ChangeSaturationKVT", "", {2.5, 1.05, 1.0}},
    {"TintPictureKVT", "general colors", {3.2, 1.7, 1.6}},
    {"TintPictureKVT", "colors that land on whole numbers", {4.5, 2.6, 2.4}},
    {"CountColorKVT", "", kOneColorRead},
    {"isWhiteKVT", "", kOneColorRead},
    {"isBlackKVT", "", kOneColorRead},
    {"isGrayKVT", "", kColornessRead},
    {"ColornessKVT", "", kColornessRead},
    {"CountColorsKVT", "", {2.8, 2.8, 2.8}},
    {"ExtractColorRectangleMaskKVT", "sparse marks", {2.5, 1.8, 1.8}},
    {"PictureLut3DKVT.Run", "a photo", {19, 8.2, 7.8}},
    {"PictureLut3DKVT.Run", "random colors", {21, 10, 8.8}},
    {"FindPicture", "a late hit", {1.0, 0.8, 0.8}},
    {"FindPicture", "one color between specks", {45, 28, 28}},
    {"FindPicture", "a checkerboard, but for its last pixel", {45, 28, 28}},
    {"FindPicture", "made to collide", {45, 28, 28}},
    {"FindPicture", "9 x 2 pixels in noise of two colors", {45, 28, 28}},
    {"PicturetoBinaryStringKVT", "", kByteString},
    {"BinaryStringtoPictureKVT", "", kByteString},
    {"ScrollVerticalKVT", "", kScroll},
    {"ScrollHorizontalKVT", "", kScroll},
    {"ScrollKVT", "", kScroll},
};

bool Names(const Target &target, const Operation &operation) {
    return target.method == operation.method && operation.cost == Cost::PerPixel &&
           (target.what.empty() || target.what == operation.what);
}

} // namespace

std::optional<double> TargetOf(const Operation &operation, int level) {
    for (const Target &target : kTargets)
        if (Names(target, operation))
            return target.limits[static_cast<std::size_t>(level)];
    return std::nullopt;
}

std::vector<std::string> StrayTargets() {
    std::vector<std::string> stray;
    for (const Target &target : kTargets)
        if (std::none_of(Operations().begin(), Operations().end(),
                         [&](const Operation &operation) { return Names(target, operation); }))
            stray.push_back(fmt::format("the target for {} ({}) names no operation", target.method, target.what));
    return stray;
}

} // namespace bench
