#include "bench/targets.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <iterator>

namespace bench {
namespace {

// As multiples of the limit loop.
constexpr std::array kMoves = {1.25, 1.1, 1.1};
constexpr std::array kReads = {1.6, 1.15, 1.15};
constexpr std::array kLines = {1.4, 1.2, 1.2};

// As multiples of memcpy. Of tables, saturation, sepia, tint, lookup tables in three dimensions and histograms they are
// what bare kernels take that compute the same out of registers, in 32 bits at 6000 x 4000 on an Intel Xeon of family
// 6, model 207; where 1.1 stands before the figure, a tenth more.
constexpr std::array kTables = {1.44, 1.49, 0.90};
constexpr std::array kSearch = {45.0, 28.0, 28.0};
constexpr std::array kScroll = {1.8, 1.8, 1.8};

constexpr Target kTargets[] = {
    {"InvertKVT", "", Loop::MapOne, kMoves},
    {"InvertGrayKVT", "", Loop::MapOne, kMoves},
    {"ReplaceColorKVT", "", Loop::MapOne, kMoves},
    {"ExtractColorKVT", "", Loop::MapOne, kMoves},
    {"EmbeddedMaskKVT", "read", Loop::MapOne, kMoves},
    {"EmbeddedMaskKVT", "assigned", Loop::Update, kMoves},
    {"ReplaceRedChannelKVT", "", Loop::MapTwo, kMoves},
    {"ReplaceGreenChannelKVT", "", Loop::MapTwo, kMoves},
    {"ReplaceBlueChannelKVT", "", Loop::MapTwo, kMoves},
    {"MergePictureKVT", "", Loop::MapTwo, kMoves},
    {"CombinePicturesKVT", "", Loop::MapThree, kMoves},
    {"PicturetoBinaryStringKVT", "", Loop::Pack, kMoves},
    {"BinaryStringtoPictureKVT", "", Loop::Unpack, kMoves},
    {"CountColorKVT", "", Loop::Read, kReads},
    {"isWhiteKVT", "", Loop::Read, kReads},
    {"isBlackKVT", "", Loop::Read, kReads},
    {"isGrayKVT", "", Loop::Read, kReads},
    {"ColornessKVT", "", Loop::Read, kReads},
    {"ChangeContrastKVT", "", Loop::MapOne, kLines},
    {"ChangeBrightnessLinearKVT", "", Loop::MapOne, kLines},
    {"ChangeBrightnessAbsoluteKVT", "", Loop::MapOne, kLines},
    {"ChangeContrastBrightnessLinearKVT", "", Loop::MapOne, kLines},
    {"ChangeContrastBrightnessAbsoluteKVT", "", Loop::MapOne, kLines},
    {"ChangeCustomKVT", "", Loop::MapOne, kLines},
    {"TransformColorsKVT", "", std::nullopt, kTables},
    {"ChangeSaturationKVT", "", std::nullopt, {1.1 * 1.76, 1.08, 1.03}},
    {"PictureSepiaKVT.Run", "", std::nullopt, {1.1 * 1.31, 1.03, 0.94}},
    {"TintPictureKVT", "general colors", std::nullopt, {1.1 * 1.94, 1.25, 1.35}},
    {"TintPictureKVT", "colors that land on whole numbers", std::nullopt, {1.1 * 2.95, 1.55, 1.33}},
    {"PictureLut3DKVT.Run", "a photo", std::nullopt, {9.2, 1.1 * 4.3, 1.1 * 4.3}},
    {"PictureLut3DKVT.Run", "random colors", std::nullopt, {10.0, 1.1 * 4.9, 1.1 * 4.9}},
    {"CountColorsKVT", "a photo", std::nullopt, {1.1 * 1.72, 1.1 * 1.72, 1.1 * 1.72}},
    {"CountColorsKVT", "random colors", std::nullopt, {1.1 * 1.73, 1.1 * 1.73, 1.1 * 1.73}},
    {"CountColorsKVT", "one color", std::nullopt, {1.1 * 2.2, 1.1 * 2.2, 1.1 * 2.2}},
    {"ExtractColorRectangleMaskKVT", "sparse marks", std::nullopt, {2.5, 1.8, 1.8}},
    {"FindPicture", "a late hit", std::nullopt, {1.0, 0.8, 0.8}},
    {"FindPicture", "one color between specks", std::nullopt, kSearch},
    {"FindPicture", "a checkerboard, but for its last pixel", std::nullopt, kSearch},
    {"FindPicture", "made to collide", std::nullopt, kSearch},
    {"FindPicture", "9 x 2 pixels in noise of two colors", std::nullopt, kSearch},
    {"ScrollVerticalKVT", "", std::nullopt, kScroll},
    {"ScrollHorizontalKVT", "", std::nullopt, kScroll},
    {"ScrollKVT", "", std::nullopt, kScroll},
};

bool Names(const Target &target, const Operation &operation) {
    return target.method == operation.method && operation.cost == Cost::PerPixel &&
           (target.what.empty() || target.what == operation.what);
}

} // namespace

const Target *TargetOf(const Operation &operation) {
    const auto *found = std::find_if(std::begin(kTargets), std::end(kTargets),
                                     [&](const Target &target) { return Names(target, operation); });
    return found == std::end(kTargets) ? nullptr : found;
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
