#include "bench/operations.h"

#include <fmt/format.h>
#include <set>

namespace bench {
namespace {

using standin::Host;

// Each line states one call, over the whole picture. A method whose time depends on what the picture shows has a line
// for the worst content known.
const std::vector<Operation> kOperations = {
    {"InvertKVT", "", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "InvertKVT"); }},
    {"InvertGrayKVT", "", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "InvertGrayKVT"); }},
    {"ChangeContrastKVT", "", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ChangeContrastKVT", 0.3); }},
    {"ChangeBrightnessLinearKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ChangeBrightnessLinearKVT", 20.0); }},
    {"ChangeBrightnessAbsoluteKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ChangeBrightnessAbsoluteKVT", 20.0); }},
    {"ChangeContrastBrightnessLinearKVT", "",
     [](Host &host, Inputs &in) {
         return host.Call(in.Photo(), "ChangeContrastBrightnessLinearKVT", 0.1, 0.2, 0.3, 5.0, 10.0, -10.0);
     }},
    {"ChangeContrastBrightnessAbsoluteKVT", "",
     [](Host &host, Inputs &in) {
         return host.Call(in.Photo(), "ChangeContrastBrightnessAbsoluteKVT", 0.1, 0.2, 0.3, 5.0, 10.0, -10.0);
     }},
    {"ChangeCustomKVT", "", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ChangeCustomKVT", 1.2, -9.0); }},
    {"TransformColorsKVT", "",
     [](Host &host, Inputs &in) {
         return host.Call(in.Photo(), "TransformColorsKVT", in.Table(), in.Table(), in.Table());
     }},
    {"ChangeSaturationKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ChangeSaturationKVT", 60); }},
    {"TintPictureKVT", "general colors",
     [](Host &host, Inputs &in) { return host.CallGlobal("TintPictureKVT", in.Photo(), 0x4C961D, 0xFFE0B3); }},
    {"TintPictureKVT", "colors that land on whole numbers",
     [](Host &host, Inputs &in) { return host.CallGlobal("TintPictureKVT", in.Photo(), 0x555555, 0xFFFFFF); }},
    {"PictureSepiaKVT.Run", "", [](Host &host, Inputs &in) { return host.Call(in.Sepia(), "Run"); }},
    {"PictureLut3DKVT.Run", "a photo", [](Host &host, Inputs &in) { return host.Call(in.Lut(), "Run"); }},
    {"PictureLut3DKVT.Run", "random colors", [](Host &host, Inputs &in) { return host.Call(in.LutOfNoise(), "Run"); }},
    {"PictureLut3DKVT.Run", "an infinite entry",
     [](Host &host, Inputs &in) { return host.Call(in.LutWithInfinity(), "Run"); }},
    {"ReplaceColorKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ReplaceColorKVT", 0x808080, 0x102030); }},
    {"ExtractColorKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ExtractColorKVT", 0x808080, 0x102030, 0xFFFFFF); }},
    {"ExtractColorRectangleMaskKVT", "sparse marks",
     [](Host &host, Inputs &in) { return host.Call(in.SparseMarks(), "ExtractColorRectangleMaskKVT"); }},
    {"ExtractColorRectangleMaskKVT", "a photo",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ExtractColorRectangleMaskKVT"); }},
    {"ExtractColorRectangleMaskKVT", "all marked",
     [](Host &host, Inputs &in) { return host.Call(in.AllMarked(), "ExtractColorRectangleMaskKVT"); }},
    {"ExtractColorRectangleMaskKVT", "single marks in a checkerboard",
     [](Host &host, Inputs &in) { return host.Call(in.SingleMarks(), "ExtractColorRectangleMaskKVT"); }},
    {"ExtractColorRectangleMaskKVT", "packed lying pairs",
     [](Host &host, Inputs &in) { return host.Call(in.LyingPairs(), "ExtractColorRectangleMaskKVT"); }},
    {"ExtractColorRectangleMaskKVT", "packed standing pairs",
     [](Host &host, Inputs &in) { return host.Call(in.StandingPairs(), "ExtractColorRectangleMaskKVT"); }},
    {"EmbeddedMaskKVT", "read", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "EmbeddedMaskKVT", false); }},
    {"EmbeddedMaskKVT", "assigned",
     [](Host &host, Inputs &in) { return host.Assign(in.Scratch(), "EmbeddedMaskKVT", {false}, in.Second()); }},
    {"HasMaskKVT", "", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "HasMaskKVT"); }, Cost::Constant},
    {"ReplaceRedChannelKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ReplaceRedChannelKVT", in.Second()); }},
    {"ReplaceGreenChannelKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ReplaceGreenChannelKVT", in.Second()); }},
    {"ReplaceBlueChannelKVT", "",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ReplaceBlueChannelKVT", in.Second()); }},
    {"MergePictureKVT", "",
     [](Host &host, Inputs &in) { return host.CallGlobal("MergePictureKVT", in.Photo(), in.Second()); }},
    {"CombinePicturesKVT", "",
     [](Host &host, Inputs &in) {
         return host.CallGlobal("CombinePicturesKVT", in.Photo(), in.Second(), in.SparseMarks());
     }},
    {"CountColorKVT", "", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "CountColorKVT", 0x808080); }},
    {"CountColorsKVT", "a photo",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "CountColorsKVT", nullptr, nullptr, nullptr, 0); }},
    {"CountColorsKVT", "one color",
     [](Host &host, Inputs &in) { return host.Call(in.White(), "CountColorsKVT", nullptr, nullptr, nullptr, 0); }},
    {"CountColorsKVT", "random colors",
     [](Host &host, Inputs &in) { return host.Call(in.Noise(), "CountColorsKVT", nullptr, nullptr, nullptr, 0); }},
    {"ColornessKVT", "", [](Host &host, Inputs &in) { return host.Call(in.Photo(), "ColornessKVT"); }},
    {"isWhiteKVT", "all white", [](Host &host, Inputs &in) { return host.Call(in.White(), "isWhiteKVT"); }},
    {"isBlackKVT", "all black", [](Host &host, Inputs &in) { return host.Call(in.Black(), "isBlackKVT"); }},
    {"isBlackKVT", "all white", [](Host &host, Inputs &in) { return host.Call(in.White(), "isBlackKVT"); },
     Cost::Constant},
    {"isGrayKVT", "all white, tolerance 3",
     [](Host &host, Inputs &in) { return host.Call(in.White(), "isGrayKVT", 3); }},
    {"FindPicture", "a late hit",
     [](Host &host, Inputs &in) { return host.Call(in.Photo(), "FindPicture", in.LateNeedle(), 0, 0); }},
    {"FindPicture", "one color between specks",
     [](Host &host, Inputs &in) { return host.Call(in.Specks(), "FindPicture", in.WhiteNeedle(), 0, 0); }},
    {"FindPicture", "a checkerboard, but for its last pixel",
     [](Host &host, Inputs &in) { return host.Call(in.SingleMarks(), "FindPicture", in.AlmostSingle(), 0, 0); }},
    {"FindPicture", "made to collide",
     [](Host &host, Inputs &in) { return host.Call(in.Stripes(), "FindPicture", in.CancellingNeedle(), 0, 0); }},
    {"FindPicture", "9 x 2 pixels in noise of two colors",
     [](Host &host, Inputs &in) { return host.Call(in.TwoColors(), "FindPicture", in.TwoColorsNeedle(), 0, 0); }},
    {"ScrollVerticalKVT", "wrap-around",
     [](Host &host, Inputs &in) { return host.Call(in.Scratch(), "ScrollVerticalKVT", 7, true, false); }},
    {"ScrollHorizontalKVT", "wrap-around",
     [](Host &host, Inputs &in) { return host.Call(in.Scratch(), "ScrollHorizontalKVT", 7, true, false); }},
    {"ScrollKVT", "wrap-around",
     [](Host &host, Inputs &in) { return host.Call(in.Scratch(), "ScrollKVT", 7, 7, true, false); }},
    {"PicturetoBinaryStringKVT", "",
     [](Host &host, Inputs &in) { return host.CallGlobal("PicturetoBinaryStringKVT", in.Photo()); }, Cost::PerPixel, 3},
    {"BinaryStringtoPictureKVT", "",
     [](Host &host, Inputs &in) { return host.CallGlobal("BinaryStringtoPictureKVT", in.ByteString()); }},
    {"RenderSamplesKVT", "a tone, outline",
     [](Host &host, Inputs &in) {
         return host.CallGlobal("RenderSamplesKVT", in.Sound(), 0, 3, in.size().width, in.size().height, 1);
     }},
    {"RenderSamplesKVT", "noise, outline",
     [](Host &host, Inputs &in) {
         return host.CallGlobal("RenderSamplesKVT", in.LoudNoise(), 0, 3, in.size().width, in.size().height, 1);
     }},
};

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
