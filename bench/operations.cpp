#include "bench/operations.h"

#include <fmt/format.h>
#include <set>
#include <type_traits>
#include <utility>

namespace bench {
namespace {

using standin::Host;
using standin::Value;

// Each line states one call, over the whole picture. A method whose time depends on what the picture shows has a line
// for the worst content known.
const std::vector<Operation> kOperations = {
    {"InvertKVT", "", &Inputs::Photo},
    {"InvertGrayKVT", "", &Inputs::Photo},
    {"ChangeContrastKVT", "", &Inputs::Photo, {0.3}},
    {"ChangeBrightnessLinearKVT", "", &Inputs::Photo, {20.0}},
    {"ChangeBrightnessAbsoluteKVT", "", &Inputs::Photo, {20.0}},
    {"ChangeContrastBrightnessLinearKVT", "", &Inputs::Photo, {0.1, 0.2, 0.3, 5.0, 10.0, -10.0}},
    {"ChangeContrastBrightnessAbsoluteKVT", "", &Inputs::Photo, {0.1, 0.2, 0.3, 5.0, 10.0, -10.0}},
    {"ChangeCustomKVT", "", &Inputs::Photo, {1.2, -9.0}},
    {"TransformColorsKVT", "", &Inputs::Photo, {&Inputs::Table, &Inputs::Table, &Inputs::Table}},
    {"ChangeSaturationKVT", "", &Inputs::Photo, {60}},
    {"TintPictureKVT", "general colors", nullptr, {&Inputs::Photo, 0x4C961D, 0xFFE0B3}},
    {"TintPictureKVT", "colors that land on whole numbers", nullptr, {&Inputs::Photo, 0x555555, 0xFFFFFF}},
    {"PictureSepiaKVT.Run", "", &Inputs::Sepia},
    {"PictureLut3DKVT.Run", "a photo", &Inputs::Lut},
    {"PictureLut3DKVT.Run", "random colors", &Inputs::LutOfNoise},
    {"PictureLut3DKVT.Run", "an infinite entry", &Inputs::LutWithInfinity},
    {"ReplaceColorKVT", "", &Inputs::Photo, {0x808080, 0x102030}},
    {"ExtractColorKVT", "", &Inputs::Photo, {0x808080, 0x102030, 0xFFFFFF}},
    {"ExtractColorRectangleMaskKVT", "sparse marks", &Inputs::SparseMarks},
    {"ExtractColorRectangleMaskKVT", "a photo", &Inputs::Photo},
    {"ExtractColorRectangleMaskKVT", "all marked", &Inputs::AllMarked},
    {"ExtractColorRectangleMaskKVT", "single marks in a checkerboard", &Inputs::SingleMarks},
    {"ExtractColorRectangleMaskKVT", "packed lying pairs", &Inputs::LyingPairs},
    {"ExtractColorRectangleMaskKVT", "packed standing pairs", &Inputs::StandingPairs},
    {"EmbeddedMaskKVT", "read", &Inputs::Photo, {false}},
    {"EmbeddedMaskKVT", "assigned", &Inputs::Scratch, {false}, &Inputs::Second},
    {"HasMaskKVT", "", &Inputs::Photo, {}, nullptr, Cost::Constant},
    {"ReplaceRedChannelKVT", "", &Inputs::Photo, {&Inputs::Second}},
    {"ReplaceGreenChannelKVT", "", &Inputs::Photo, {&Inputs::Second}},
    {"ReplaceBlueChannelKVT", "", &Inputs::Photo, {&Inputs::Second}},
    {"MergePictureKVT", "", nullptr, {&Inputs::Photo, &Inputs::Second}},
    {"CombinePicturesKVT", "", nullptr, {&Inputs::Photo, &Inputs::Second, &Inputs::SparseMarks}},
    {"CountColorKVT", "", &Inputs::Photo, {0x808080}},
    {"CountColorsKVT", "a photo", &Inputs::Photo, {Value(), Value(), Value(), 0}},
    {"CountColorsKVT", "one color", &Inputs::White, {Value(), Value(), Value(), 0}},
    {"CountColorsKVT", "random colors", &Inputs::Noise, {Value(), Value(), Value(), 0}},
    {"ColornessKVT", "", &Inputs::Photo},
    {"isWhiteKVT", "all white", &Inputs::White},
    {"isBlackKVT", "all black", &Inputs::Black},
    {"isBlackKVT", "all white", &Inputs::White, {}, nullptr, Cost::Constant},
    {"isGrayKVT", "all white, tolerance 3", &Inputs::White, {3}},
    {"FindPicture", "a late hit", &Inputs::Photo, {&Inputs::LateNeedle, 0, 0}},
    {"FindPicture", "one color between specks", &Inputs::Specks, {&Inputs::WhiteNeedle, 0, 0}},
    {"FindPicture", "a checkerboard, but for its last pixel", &Inputs::SingleMarks, {&Inputs::AlmostSingle, 0, 0}},
    {"FindPicture", "made to collide", &Inputs::Stripes, {&Inputs::CancellingNeedle, 0, 0}},
    {"FindPicture", "9 x 2 pixels in noise of two colors", &Inputs::TwoColors, {&Inputs::TwoColorsNeedle, 0, 0}},
    {"ScrollVerticalKVT", "wrap-around", &Inputs::Scratch, {7, true, false}},
    {"ScrollHorizontalKVT", "wrap-around", &Inputs::Scratch, {7, true, false}},
    {"ScrollKVT", "wrap-around", &Inputs::Scratch, {7, 7, true, false}},
    {"PicturetoBinaryStringKVT", "", nullptr, {&Inputs::Photo}, nullptr, Cost::PerPixel, 3},
    {"BinaryStringtoPictureKVT", "", nullptr, {&Inputs::ByteString}},
    {"RenderSamplesKVT", "a tone, outline", nullptr, {&Inputs::Sound, 0, 3, &Inputs::Width, &Inputs::Height, 1}},
    {"RenderSamplesKVT", "noise, outline", nullptr, {&Inputs::LoudNoise, 0, 3, &Inputs::Width, &Inputs::Height, 1}},
};

Value ValueOf(const Argument &argument, Inputs &inputs) {
    return std::visit(
        [&](const auto &given) -> Value {
            if constexpr (std::is_same_v<decltype(given), const Value &>)
                return given;
            else
                return (inputs.*given)();
        },
        argument);
}

/// "Class.Method" of everything that a script can call and a picture's size decides over.
std::set<std::string, std::less<>> MeasuredNames(const Host &host) {
    std::set<std::string, std::less<>> names;
    for (const auto *methods : {&host.GlobalMethods(), &host.PictureMethods()})
        for (const standin::RegisteredMethod &method : *methods)
            names.insert(method.declaration.name);
    for (const auto &definition : host.Classes())
        names.insert(definition->name + ".Run");
    return names;
}

} // namespace

std::string Operation::Name() const {
    return what.empty() ? std::string(method) : fmt::format("{} ({})", method, what);
}

standin::Result Operation::Run(Host &host, Inputs &inputs) const {
    std::vector<Value> values;
    for (const Argument &argument : arguments)
        values.push_back(ValueOf(argument, inputs));
    const std::string_view name = method.substr(method.find('.') + 1);
    if (!receiver)
        return host.CallGlobalWith(name, std::move(values));
    const standin::Ref &on = (inputs.*receiver)();
    return assigned ? host.Assign(on, name, std::move(values), (inputs.*assigned)())
                    : host.CallWith(on, name, std::move(values));
}

const std::vector<Operation> &Operations() { return kOperations; }

std::vector<std::string> Mismatches(const Host &host) {
    std::vector<std::string> mismatches;
    std::set<std::string, std::less<>> unmeasured = MeasuredNames(host);
    const auto registered = unmeasured;
    for (const Operation &operation : kOperations) {
        unmeasured.erase(std::string(operation.method));
        if (!registered.contains(operation.method))
            mismatches.push_back(fmt::format("{} is measured and not registered", operation.method));
    }
    for (const std::string &name : unmeasured)
        mismatches.push_back(fmt::format("{} is registered and not measured", name));
    return mismatches;
}

} // namespace bench
