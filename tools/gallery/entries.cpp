#include "tools/gallery/entries.h"

#include "tools/call_parser.h"

#include <algorithm>
#include <fmt/format.h>

namespace tools::gallery {
namespace {

using standin::RegisteredMethod;
using standin::SameName;

const std::vector<Chapter> kChapters = {
    {"Change tones",
     {{"InvertKVT",
       "Photographic negative",
       "255 minus each channel. Inverting twice gives the colors back, opaque.",
       {{"InvertKVT", "The whole picture."},
        {"InvertKVT(100, 100, 300, 200)", "A rectangle alone: what lies outside stays a fresh picture's."}},
       Illustration::Curve},
      {"InvertGrayKVT",
       "Negative of the gray pixels alone",
       "Inverts the pixels whose three channels are equal. Colored pixels are copied.",
       {{"InvertGrayKVT", "Paper and print change places, the pens keep their colors.", "page.png"},
        {"InvertGrayKVT", "Of the landscape, only the ramp of grays is gray."},
        {"InvertGrayKVT(120, 190, 400, 220)", "A rectangle alone.", "page.png"}}},
      {"ChangeContrastKVT",
       "Contrast around the middle level",
       "Stretches the distance from level 127: more than 0 raises the contrast, -1 makes everything 127.",
       {{"ChangeContrastKVT(0.6)", "Dark and bright move apart."},
        {"ChangeContrastKVT(-0.5)", "Everything moves towards the middle."},
        {"ChangeContrastKVT(0.5, 0, -0.5)", "A contrast for each channel: red, green, blue."}},
       Illustration::Curve},
      {"ChangeBrightnessLinearKVT",
       "Brightness that keeps white or black",
       "Lifts the dark end and keeps white, or lowers the bright end and keeps black. Nothing is cut off.",
       {{"ChangeBrightnessLinearKVT(60)", "Shadows open, the sun stays white."},
        {"ChangeBrightnessLinearKVT(-60)", "Lights sink, black stays black."},
        {"ChangeBrightnessLinearKVT(40, 0, -40)", "Warmer: red lifted, blue lowered."}},
       Illustration::Curve},
      {"ChangeBrightnessAbsoluteKVT",
       "Brightness by the same for every level",
       "Adds the same to every level and limits at 0 and 255, so that an end may be cut off.",
       {{"ChangeBrightnessAbsoluteKVT(60)", "The bright clouds run into white."},
        {"ChangeBrightnessAbsoluteKVT(-60)", "Shadows run into black."},
        {"ChangeBrightnessAbsoluteKVT(30, 0, -30)", "An amount for each channel."}},
       Illustration::Curve},
      {"ChangeContrastBrightnessLinearKVT",
       "Contrast, then linear brightness",
       "Both in one go. Between the two nothing is truncated or limited.",
       {{"ChangeContrastBrightnessLinearKVT(0.5, 40)", "More contrast, with lifted shadows."},
        {"ChangeContrastBrightnessLinearKVT(0.3, 0.1, 0, 0, 10, 50)", "Each channel with its own contrast and lift."}},
       Illustration::Curve},
      {"ChangeContrastBrightnessAbsoluteKVT",
       "Contrast, then absolute brightness",
       "Both in one go. Between the two nothing is truncated or limited.",
       {{"ChangeContrastBrightnessAbsoluteKVT(0.5, -20)", "More contrast, all a little darker."},
        {"ChangeContrastBrightnessAbsoluteKVT(0.2, 0, -0.3, 20, 0, 20)", "Each channel on a line of its own."}},
       Illustration::Curve},
      {"ChangeCustomKVT",
       "Any straight line, x * a + b",
       "x * a + b for every channel, truncated and limited to 0..255.",
       {{"ChangeCustomKVT(-0.5, 200)", "A soft negative."},
        {"ChangeCustomKVT(2.5, -190)", "A steep line: most levels end at 0 or 255."}},
       Illustration::Curve},
      {"ChangeSaturationKVT",
       "More or less color",
       "Moves each channel away from the pixel's gray, or towards it. Grays stay; green counts twice in the gray.",
       {{"ChangeSaturationKVT(150)", "Stronger colors."},
        {"ChangeSaturationKVT(-255)", "No color is left."},
        {"ChangeSaturationKVT(-510)", "Colors mirrored around gray: opposite hues of the same lightness."}}},
      {"TintPictureKVT",
       "One color in all shades",
       "Weighs a pixel's channels by the first color to one level, and colors that level with the second.",
       {{"TintPictureKVT(me, &c4D961D, &cFFF0C0)", "Weights about as the eye has them, on warm paper."},
        {"TintPictureKVT(me, &c555555, &c8FC7FF)", "All channels alike, as a blueprint."},
        {"TintPictureKVT(me, &cFF0000, &cFFFFFF)", "The red channel as grays."}},
       Illustration::Curve},
      {"PictureSepiaKVT",
       "Toning by weights and offsets",
       "A class: a gray by weights in 1024ths, then an offset for each channel, all in whole numbers.",
       {{"PictureSepiaKVT(SepiaRed=40, SepiaGreen=20, SepiaBlue=-20).Run", "The brown of old prints."},
        {"PictureSepiaKVT(FactorRed=1, FactorBlue=0, FactorGreen=0).Run",
         "Weights of your own: red alone, as through a red filter. FactorBlue weighs green, FactorGreen weighs blue."},
        {"PictureSepiaKVT(SepiaBlue=40, MinX=160, MinY=60, MaxX=480, MaxY=300).Run",
         "Bounds: MaxX and MaxY are the first column and row behind the area."}},
       Illustration::Curve}}},
    {"Map colors through tables",
     {{"TransformColorsKVT",
       "A lookup table for each channel",
       "What a channel's level becomes stands in a block of 256 bytes. The blocks are given in the order red, blue, "
       "green.",
       {{"TransformColorsKVT(steps.bin, steps.bin, same.bin)", "Red and blue in four steps, green as it is."},
        {"TransformColorsKVT(bright.bin, dark.bin, same.bin)", "A curve up for red, down for blue: evening light."}},
       Illustration::CurveAndHistograms},
      {"PictureLut3DKVT",
       "A color table in three dimensions, interpolated",
       "A class: each output depends on red, green and blue together. Between the 16 grid points of an axis, colors "
       "are "
       "interpolated inside a tetrahedron.",
       {{"PictureLut3DKVT(\"film.cube\").Run", "The look of a film: soft contrast, warm lights, cool shadows."},
        {"PictureLut3DKVT(\"film.cube\", MinX=120, MinY=60, MaxX=520, MaxY=420).Run", "Inside bounds alone."}},
       Illustration::Histograms}}},
    {"Find and replace colors",
     {{"ReplaceColorKVT",
       "One color for another",
       "Pixels of exactly the first color take the second; all others are copied.",
       {{"ReplaceColorKVT(&cD03A2F, &c1F8A4C)", "The red pen turns green.", "page.png"},
        {"ReplaceColorKVT(&cFFFFFF, &cF6E7C8)", "White paper turns cream.", "page.png"}}},
      {"ExtractColorKVT",
       "One color on a plain background",
       "A picture of two colors: where a pixel is exactly the first color, and everywhere else.",
       {{"ExtractColorKVT(&cD03A2F, &c000000, &cFFFFFF)", "What the red pen wrote.", "page.png"},
        {"ExtractColorKVT(&cFFE066, &cFFE066, &c20242C)", "The marker alone, on dark.", "page.png"}}},
      {"ExtractColorRectangleMaskKVT",
       "Boxes around what is colored",
       "Black boxes around connected colored areas, on white. A pixel is colored when its channels are not all equal.",
       {{"ExtractColorRectangleMaskKVT", "A box for each mark, the gray inside included.", "page.png"},
        {"ExtractColorRectangleMaskKVT(0, 0, 640, 260)", "Only what lies in the upper part.", "page.png"}}}}},
    {"Work with channels and two pictures",
     {{"ReplaceRedChannelKVT",
       "Red from another picture",
       "The red of the other picture at the same place; green and blue stay.",
       {{"ReplaceRedChannelKVT(shifted.png)", "Red from the picture moved to the left: fringes at every edge."},
        {"ReplaceRedChannelKVT(lights.png)", "Red from three lights on black."}}},
      {"ReplaceGreenChannelKVT",
       "Green from another picture",
       "The green of the other picture at the same place; red and blue stay.",
       {{"ReplaceGreenChannelKVT(shifted.png)", "Green from the picture moved to the left."},
        {"ReplaceGreenChannelKVT(lights.png)", "Green from three lights on black."}}},
      {"ReplaceBlueChannelKVT",
       "Blue from another picture",
       "The blue of the other picture at the same place; red and green stay.",
       {{"ReplaceBlueChannelKVT(shifted.png)", "Blue from the picture moved to the left."},
        {"ReplaceBlueChannelKVT(lights.png)", "Blue from three lights on black."}}},
      {"CombinePicturesKVT",
       "A channel from each of three pictures",
       "Red of the first picture, blue of the second, green of the third. All three have one size.",
       {{"CombinePicturesKVT(shifted.png, me, me)", "Red from the moved picture: for glasses of red and cyan."},
        {"CombinePicturesKVT(me, lights.png, shifted.png)", "Three pictures in one."}}},
      {"MergePictureKVT",
       "The lighter of two, channel by channel",
       "For each channel the larger of the two values. The order makes no difference.",
       {{"MergePictureKVT(me, lights.png)", "Lights shine into the scene."},
        {"MergePictureKVT(me, shifted.png)", "Bright edges twice."}}}}},
    {"Work with the alpha channel and the mask",
     {{"EmbeddedMaskKVT",
       "The alpha channel as a gray picture, to read and assign",
       "Read, it gives every pixel's alpha as a gray; swapped, as its negative. Assigned, it stores a picture's red as "
       "alpha, in place; colors stay.",
       {{"EmbeddedMaskKVT(false)", "The alpha of a picture with soft edges.", "soft.png"},
        {"EmbeddedMaskKVT(true)", "The same, swapped.", "soft.png"},
        {"EmbeddedMaskKVT(false) = oval.png", "An oval becomes the alpha of the photo.", "photo.png",
         Setting::WithAlpha}}},
      {"HasMaskKVT",
       "Whether a mask is attached",
       "True when the host has attached a mask to the picture. The alpha channel does not count.",
       {{"HasMaskKVT", "A picture from a file has none."},
        {"HasMaskKVT", "An alpha channel is no mask.", "soft.png"},
        {"HasMaskKVT", "The same photo, once the host has attached a mask to it.", "photo.png", Setting::WithMask}}}}},
    {"Measure and test",
     {{"CountColorKVT",
       "How many pixels have one color",
       "How many pixels have exactly that color.",
       {{"CountColorKVT(&cD03A2F)", "How much the red pen wrote.", "page.png"},
        {"CountColorKVT(&cFFFFFF)", "White paper.", "page.png"}}},
      {"CountColorsKVT",
       "Three histograms",
       "How often each level occurs in each channel. Counts are added to what the blocks hold. The block declared blue "
       "counts green, the one declared green counts blue.",
       {{"CountColorsKVT(nil, nil, nil, 0)", "Blocks that are nil are made in the call."},
        {"CountColorsKVT(nil, nil, nil, 0)", "Lights on black: level 0 leads in every channel.", "lights.png"}},
       Illustration::Histograms},
      {"ColornessKVT",
       "The part of the picture that is colored",
       "The part of all pixels that is neither dark nor nearly gray: green differs from red or blue by more than a "
       "threshold.",
       {{"ColornessKVT", "Almost everything, with the threshold of 10."},
        {"ColornessKVT(60)", "Strong colors alone."},
        {"ColornessKVT", "Pens and marker on a page.", "page.png"}}},
      {"isWhiteKVT",
       "Whether all is white",
       "True when every pixel of the rectangle is white. Without one, the whole picture counts.",
       {{"isWhiteKVT", "A written page is not.", "page.png"},
        {"isWhiteKVT(0, 0, 640, 30)", "Its upper margin is.", "page.png"}}},
      {"isBlackKVT",
       "Whether all is black",
       "True when every pixel of the rectangle is black. Without one, the whole picture counts.",
       {{"isBlackKVT", "A page is not.", "page.png"},
        {"isBlackKVT(56, 44, 260, 22)", "The bar of its title is.", "page.png"}}},
      {"isGrayKVT",
       "Whether all is gray, within a tolerance",
       "True when in every pixel of the rectangle the channels differ by the tolerance at the most.",
       {{"isGrayKVT", "The pens on the page are not.", "page.png"},
        {"isGrayKVT(0, 40, 30, 560, 56)", "Its title is.", "page.png"},
        {"isGrayKVT(160, 40, 136, 420, 44)", "A tolerance of 160 lets even the yellow marker pass.", "page.png"}}},
      {"FindPicture",
       "Where a picture occurs in another",
       "The topmost, then leftmost place where the other picture occurs, pixel for pixel.",
       {{"FindPicture(stamp.png, 0, 0)", "Found: the frame is where it says."},
        {"FindPicture(oval.png, 0, 0)", "This one does not occur."}}}}},
    {"Scroll",
     {{"ScrollVerticalKVT",
       "Shifts up or down, in place",
       "Moves the content down, or up, in place. With wrap, what leaves at one edge comes in at the other.",
       {{"ScrollVerticalKVT(120, true, false)", "120 rows down, wrapped around."},
        {"ScrollVerticalKVT(-120, false, false)",
         "Without wrap, in a graphics world: what is uncovered shows the background.", "photo.png",
         Setting::InGraphicsWorld}}},
      {"ScrollHorizontalKVT",
       "Shifts left or right, in place",
       "Moves the content to the right, or left, in place. Its result is always true.",
       {{"ScrollHorizontalKVT(160, true, false)", "160 columns to the right, wrapped around."},
        {"ScrollHorizontalKVT(-160, false, false)", "Without wrap, in a graphics world.", "photo.png",
         Setting::InGraphicsWorld}}},
      {"ScrollKVT",
       "Shifts both ways at once, in place",
       "Horizontally, then vertically. The result is the vertical one's.",
       {{"ScrollKVT(160, 120, true, false)", "Both, wrapped around."},
        {"ScrollKVT(-40, 60, false, false)", "Both without wrap, in a graphics world.", "photo.png",
         Setting::InGraphicsWorld}}}}},
    {"Save as bytes, draw a sound",
     {{"PicturetoBinaryStringKVT",
       "A picture to bytes",
       "A header of 40 bytes, then red, green and blue of every pixel, however the host stores pictures.",
       {{"PicturetoBinaryStringKVT(me)", "The same bytes on every host."}}},
      {"BinaryStringtoPictureKVT",
       "Bytes to a picture",
       "The way back: a new opaque picture with exactly those colors. Anything that is not a whole byte string gives "
       "nil.",
       {{"BinaryStringtoPictureKVT(@photo.ppic)", "What the call above saved.", ""}}},
      {"RenderSamplesKVT",
       "A sound as a waveform",
       "An overview of a sound, one bar a column: up by what lies below silence, down by what lies above.",
       {{"RenderSamplesKVT(voice.wav, 0, 1, 800, 200, 1, &c88B5C4, &c274C5A, &c203F4E, 15)",
         "Two seconds of sound on its own scale, with a thin outline.", ""},
        {"RenderSamplesKVT(voice.wav, 0, 12, 800, 200, 1, &cF3E9D7, &cD08A4E, &c7A4A22, 15, true)",
         "Smoothed, and scaled to the loudest column.", ""},
        {"RenderSamplesKVT(voice.wav, 16000, 3, 800, 200, 3, &c1C1F26, &c5AA9A0, &cDDEBE8, 15, true)",
         "The first of the two seconds, with the host's thick pen.", ""}}}}},
};

/// Whether a call is one of that method, in that form.
bool Calls(const Call &call, const RegisteredMethod &method) {
    const standin::Declaration &declaration = method.declaration;
    return SameName(call.name, declaration.name) && call.arguments.size() >= declaration.Required() &&
           call.arguments.size() <= declaration.parameters.size();
}

} // namespace

const std::vector<Chapter> &Chapters() { return kChapters; }

const Entry *FindEntry(std::string_view name) {
    for (const Chapter &chapter : kChapters)
        for (const Entry &entry : chapter.entries)
            if (SameName(entry.method, name))
                return &entry;
    return nullptr;
}

std::vector<std::string> Mismatches(const standin::Host &host) {
    std::vector<std::string> mismatches;
    std::vector<Call> calls;
    for (const Chapter &chapter : kChapters)
        for (const Entry &entry : chapter.entries)
            for (const Shot &shot : entry.shots) {
                calls.push_back(ParseCall(shot.call));
                if (calls.back().name != entry.method)
                    mismatches.push_back(fmt::format("the entry {} calls {}", entry.method, shot.call));
            }
    std::vector<std::string_view> names;
    for (const auto *methods : {&host.GlobalMethods(), &host.PictureMethods()})
        for (const RegisteredMethod &method : *methods) {
            names.push_back(method.declaration.name);
            const auto shows = [&](const Call &call) { return Calls(call, method) && !call.assigned; };
            const auto assigns = [&](const Call &call) { return Calls(call, method) && call.assigned; };
            if (std::none_of(calls.begin(), calls.end(), shows))
                mismatches.push_back(fmt::format("no entry calls {}", method.declaration.text));
            if (method.record.setter && std::none_of(calls.begin(), calls.end(), assigns))
                mismatches.push_back(fmt::format("no entry assigns to {}", method.declaration.text));
        }
    for (const auto &definition : host.Classes()) {
        names.push_back(definition->name);
        if (std::none_of(calls.begin(), calls.end(), [&](const Call &call) { return call.name == definition->name; }))
            mismatches.push_back(fmt::format("no entry runs {}", definition->name));
    }
    for (const Chapter &chapter : kChapters)
        for (const Entry &entry : chapter.entries)
            if (std::find(names.begin(), names.end(), entry.method) == names.end())
                mismatches.push_back(fmt::format("{} has an entry and is not registered", entry.method));
    return mismatches;
}

} // namespace tools::gallery
