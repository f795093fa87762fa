#include "bench/operations.h"

#include "tools/samples.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <set>

namespace bench {
namespace {

using standin::ColorValue;
using standin::Host;
using standin::Ref;

constexpr int kNeedle = 64;

Ref Copy(Host &host, int width, int height, const tools::Image &image, int left = 0, int top = 0) {
    return host.Make({.width = width, .height = height, .color = [&](int x, int y) -> ColorValue {
                          const unsigned char *pixel = image.At(left + x, top + y);
                          return standin::MakeColor(pixel[0], pixel[1], pixel[2]);
                      }});
}

/// A fine grain over the scene, as cameras add it; without it, skies are runs of one color.
void AddGrain(tools::Image &image) {
    std::uint32_t state = 1;
    for (unsigned char &byte : image.pixels) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(std::clamp<int>(byte + static_cast<int>(state >> 30) - 1, 0, 255));
    }
}

/// Random colors, which no branch predictor follows.
Ref Noise(Host &host, int width, int height) {
    std::uint32_t state = 1;
    return host.Make({.width = width, .height = height, .color = [&](int, int) -> ColorValue {
                          state = state * 1664525u + 1013904223u;
                          return (state >> 8 ^ state << 12) & 0xFFFFFFu;
                      }});
}

/// A warm film look: no output depends on one input alone, and every tetrahedron occurs.
void FillTable(Host &host, const Ref &lut) {
    for (int r = 0; r < 16; ++r)
        for (int g = 0; g < 16; ++g)
            for (int b = 0; b < 16; ++b) {
                const double out[3] = {14.0 * r + 2.0 * g + 1.0 * b, 1.0 * r + 15.0 * g + 1.0 * b,
                                       0.5 * r + 2.5 * g + 13.0 * b};
                for (int x = 0; x < 3; ++x)
                    host.Assign(lut, "Table", {r, g, b, x}, out[x]);
            }
}

// Each line states one call. A method without a second line of its own is measured over the whole picture.
const std::vector<Operation> kOperations = {
    {"InvertKVT", "", [](Host &host, const Inputs &in) { return host.Call(in.photo, "InvertKVT"); }},
    {"InvertGrayKVT", "", [](Host &host, const Inputs &in) { return host.Call(in.photo, "InvertGrayKVT"); }},
    {"ChangeContrastKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ChangeContrastKVT", 0.3); }},
    {"ChangeBrightnessLinearKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ChangeBrightnessLinearKVT", 20.0); }},
    {"ChangeBrightnessAbsoluteKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ChangeBrightnessAbsoluteKVT", 20.0); }},
    {"ChangeContrastBrightnessLinearKVT", "",
     [](Host &host, const Inputs &in) {
         return host.Call(in.photo, "ChangeContrastBrightnessLinearKVT", 0.1, 0.2, 0.3, 5.0, 10.0, -10.0);
     }},
    {"ChangeContrastBrightnessAbsoluteKVT", "",
     [](Host &host, const Inputs &in) {
         return host.Call(in.photo, "ChangeContrastBrightnessAbsoluteKVT", 0.1, 0.2, 0.3, 5.0, 10.0, -10.0);
     }},
    {"ChangeCustomKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ChangeCustomKVT", 1.2, -9.0); }},
    {"TransformColorsKVT", "",
     [](Host &host, const Inputs &in) {
         return host.Call(in.photo, "TransformColorsKVT", in.table, in.table, in.table);
     }},
    {"ChangeSaturationKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ChangeSaturationKVT", 60); }},
    {"TintPictureKVT", "general colors",
     [](Host &host, const Inputs &in) { return host.CallGlobal("TintPictureKVT", in.photo, 0x4C961D, 0xFFE0B3); }},
    {"TintPictureKVT", "colors that land on whole numbers",
     [](Host &host, const Inputs &in) { return host.CallGlobal("TintPictureKVT", in.photo, 0x555555, 0xFFFFFF); }},
    {"PictureSepiaKVT.Run", "", [](Host &host, const Inputs &in) { return host.Call(in.sepia, "Run"); }},
    {"PictureLut3DKVT.Run", "a photo", [](Host &host, const Inputs &in) { return host.Call(in.lut, "Run"); }},
    {"PictureLut3DKVT.Run", "random colors",
     [](Host &host, const Inputs &in) { return host.Call(in.lutOfNoise, "Run"); }},
    {"ReplaceColorKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ReplaceColorKVT", 0x808080, 0x102030); }},
    {"ExtractColorKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ExtractColorKVT", 0x808080, 0x102030, 0xFFFFFF); }},
    {"ExtractColorRectangleMaskKVT", "sparse marks",
     [](Host &host, const Inputs &in) { return host.Call(in.gray, "ExtractColorRectangleMaskKVT"); }},
    {"ExtractColorRectangleMaskKVT", "a photo",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ExtractColorRectangleMaskKVT"); }},
    {"EmbeddedMaskKVT", "read",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "EmbeddedMaskKVT", false); }},
    {"EmbeddedMaskKVT", "assigned",
     [](Host &host, const Inputs &in) { return host.Assign(in.scratch, "EmbeddedMaskKVT", {false}, in.second); }},
    {"HasMaskKVT", "", [](Host &host, const Inputs &in) { return host.Call(in.photo, "HasMaskKVT"); }},
    {"ReplaceRedChannelKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ReplaceRedChannelKVT", in.second); }},
    {"ReplaceGreenChannelKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ReplaceGreenChannelKVT", in.second); }},
    {"ReplaceBlueChannelKVT", "",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "ReplaceBlueChannelKVT", in.second); }},
    {"MergePictureKVT", "",
     [](Host &host, const Inputs &in) { return host.CallGlobal("MergePictureKVT", in.photo, in.second); }},
    {"CombinePicturesKVT", "",
     [](Host &host, const Inputs &in) { return host.CallGlobal("CombinePicturesKVT", in.photo, in.second, in.gray); }},
    {"CountColorKVT", "", [](Host &host, const Inputs &in) { return host.Call(in.photo, "CountColorKVT", 0x808080); }},
    {"CountColorsKVT", "a photo",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "CountColorsKVT", nullptr, nullptr, nullptr, 0); }},
    {"CountColorsKVT", "one color",
     [](Host &host, const Inputs &in) { return host.Call(in.white, "CountColorsKVT", nullptr, nullptr, nullptr, 0); }},
    {"ColornessKVT", "", [](Host &host, const Inputs &in) { return host.Call(in.photo, "ColornessKVT"); }},
    {"isWhiteKVT", "all white", [](Host &host, const Inputs &in) { return host.Call(in.white, "isWhiteKVT"); }},
    {"isBlackKVT", "at its first pixel",
     [](Host &host, const Inputs &in) { return host.Call(in.white, "isBlackKVT"); }},
    {"isGrayKVT", "all white, tolerance 3",
     [](Host &host, const Inputs &in) { return host.Call(in.white, "isGrayKVT", 3); }},
    {"FindPicture", "a late hit",
     [](Host &host, const Inputs &in) { return host.Call(in.photo, "FindPicture", in.needle, 0, 0); }},
    {"ScrollVerticalKVT", "wrap-around",
     [](Host &host, const Inputs &in) { return host.Call(in.scratch, "ScrollVerticalKVT", 7, true, false); }},
    {"ScrollHorizontalKVT", "wrap-around",
     [](Host &host, const Inputs &in) { return host.Call(in.scratch, "ScrollHorizontalKVT", 7, true, false); }},
    {"ScrollKVT", "wrap-around",
     [](Host &host, const Inputs &in) { return host.Call(in.scratch, "ScrollKVT", 7, 7, true, false); }},
    {"PicturetoBinaryStringKVT", "",
     [](Host &host, const Inputs &in) { return host.CallGlobal("PicturetoBinaryStringKVT", in.photo); }},
    {"BinaryStringtoPictureKVT", "",
     [](Host &host, const Inputs &in) { return host.CallGlobal("BinaryStringtoPictureKVT", in.byteString); }},
    {"RenderSamplesKVT", "a sample a pixel, outline",
     [](Host &host, const Inputs &in) {
         const standin::Picture &photo = in.photo.picture();
         return host.CallGlobal("RenderSamplesKVT", in.sound, 0, 3, photo.width, photo.height, 1);
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

const std::vector<Operation> &Operations() { return kOperations; }

Inputs MakeInputs(Host &host, int width, int height) {
    tools::Image scene = tools::SamplePicture(width, height, false);
    AddGrain(scene);
    Inputs in;
    in.photo = Copy(host, width, height, scene);
    in.scratch = Copy(host, width, height, scene);
    in.needle = Copy(host, std::min(width, kNeedle), std::min(height, kNeedle), scene, std::max(width - kNeedle, 0),
                     std::max(height - kNeedle, 0));
    in.second = host.Make({.width = width, .height = height, .color = [&](int x, int y) {
                               const unsigned char *pixel = scene.At(width - 1 - x, y);
                               return standin::MakeColor(pixel[1], pixel[2], pixel[0]);
                           }});
    in.white = host.Make({.width = width, .height = height, .color = [](int, int) { return 0xFFFFFFu; }});
    in.gray = host.Make({.width = width, .height = height, .color = [&](int x, int y) {
                             const unsigned level = scene.At(x, y)[1];
                             return x % 97 == 5 && y % 89 == 7 ? 0xFF8000u : standin::MakeColor(level, level, level);
                         }});
    std::vector<unsigned char> table(256);
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<unsigned char>(i * i / 255);
    in.table = host.MakeBlock(table.size(), table);
    std::vector<unsigned char> sound(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = static_cast<unsigned char>(128 + 100 * std::sin(0.001 * static_cast<double>(i)));
    in.sound = host.MakeBlock(sound.size(), sound);
    in.byteString = host.CallGlobal("PicturetoBinaryStringKVT", in.photo).value.AsRef();
    in.sepia = host.New("PictureSepiaKVT");
    host.Set(in.sepia, "SourcePicture", in.photo);
    host.Set(in.sepia, "SepiaRed", 40);
    host.Set(in.sepia, "SepiaBlue", -20);
    in.lut = host.New("PictureLut3DKVT");
    host.Set(in.lut, "SourcePicture", in.photo);
    FillTable(host, in.lut);
    in.lutOfNoise = host.New("PictureLut3DKVT");
    host.Set(in.lutOfNoise, "SourcePicture", Noise(host, width, height));
    FillTable(host, in.lutOfNoise);
    return in;
}

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
