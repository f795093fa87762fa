#include "plugin/interface.h"

#include "analysis/methods.h"
#include "color/methods.h"
#include "output/methods.h"
#include "tone/methods.h"

#include <iterator>

namespace kvt {
namespace {

// Tables are filled by casts in their initialisers, so that they are data and no code runs when the module is loaded.
using Entry = REALroutine;

// clang-format off

REALmethodDefinition gPictureMethods[] = {
    {Entry(ColornessKVT),                     nullptr, "ColornessKVT(threshold as integer = 10) as double", 0},
    {Entry(ScrollVerticalKVT),                nullptr, "ScrollVerticalKVT(delta as integer, wrap as boolean, scrollmask as boolean) as boolean", 0},
    {Entry(ScrollHorizontalKVT),              nullptr, "ScrollHorizontalKVT(delta as integer, wrap as boolean, scrollmask as boolean) as boolean", 0},
    {Entry(ScrollKVT),                        nullptr, "ScrollKVT(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean", 0},
    {Entry(PictureHasMask),                   nullptr, "HasMaskKVT as boolean", kConsoleSafe},
    {Entry(ContrastAbsBrightnessPicture3),    nullptr, "ChangeContrastBrightnessAbsoluteKVT(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsoleSafe},
    {Entry(ContrastLinBrightnessPicture3),    nullptr, "ChangeContrastBrightnessLinearKVT(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsoleSafe},
    {Entry(ContrastAbsBrightnessPicture1),    nullptr, "ChangeContrastBrightnessAbsoluteKVT(Contrast as double, Brightness as double) as picture", kConsoleSafe},
    {Entry(ContrastLinBrightnessPicture1),    nullptr, "ChangeContrastBrightnessLinearKVT(Contrast as double, Brightness as double) as picture", kConsoleSafe},
    {Entry(AbsBrightnessPicture3),            nullptr, "ChangeBrightnessAbsoluteKVT(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsoleSafe},
    {Entry(LinBrightnessPicture3),            nullptr, "ChangeBrightnessLinearKVT(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsoleSafe},
    {Entry(AbsBrightnessPicture1),            nullptr, "ChangeBrightnessAbsoluteKVT(Brightness as double) as picture", kConsoleSafe},
    {Entry(LinBrightnessPicture1),            nullptr, "ChangeBrightnessLinearKVT(Brightness as double) as picture", kConsoleSafe},
    {Entry(ContrastPicture1),                 nullptr, "ChangeContrastKVT(Contrast as double) as picture", kConsoleSafe},
    {Entry(ContrastPicture3),                 nullptr, "ChangeContrastKVT(ContrastRed as double, ContrastGreen as double, ContrastBlue as double) as picture", kConsoleSafe},
    {Entry(TransformPicture),                 nullptr, "ChangeCustomKVT(a as double, b as double) as picture", kConsoleSafe},
    {Entry(InvertPicture),                    nullptr, "InvertKVT(left as integer,top as integer,width as integer,height as integer) as picture", kConsoleSafe},
    {Entry(InvertPicture2),                   nullptr, "InvertKVT as picture", kConsoleSafe},
    {Entry(InvertGrayPicture),                nullptr, "InvertGrayKVT(left as integer,top as integer,width as integer,height as integer) as picture", kConsoleSafe},
    {Entry(InvertGrayPicture2),               nullptr, "InvertGrayKVT as picture", kConsoleSafe},
    {Entry(ExtractColorRectangleMaskKVT),     nullptr, "ExtractColorRectangleMaskKVT(left as integer,top as integer,width as integer,height as integer) as picture", kConsoleSafe},
    {Entry(ExtractColorRectangleMaskKVT2),    nullptr, "ExtractColorRectangleMaskKVT as picture", kConsoleSafe},
    {Entry(GetEmbededMask),                   Entry(SetEmbededMask), "EmbeddedMaskKVT(swap as boolean) as picture", kConsoleSafe},
    {Entry(CountColorKVT),                    nullptr, "CountColorKVT(col as color) as integer", kConsoleSafe},
    {Entry(CountColorsKVT),                   nullptr, "CountColorsKVT(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)", 0},
    {Entry(TransformColorsKVT),               nullptr, "TransformColorsKVT(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture", 0},
    {Entry(ReplaceColorKVT),                  nullptr, "ReplaceColorKVT(SearchColor as color, ReplaceWithColor as color) as picture", 0},
    {Entry(ExtractColorKVT),                  nullptr, "ExtractColorKVT(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture", 0},
    {Entry(SaturationPicture),                nullptr, "ChangeSaturationKVT(Amount as integer) as picture", kConsoleSafe},
    {Entry(ReplaceRedChannel),                nullptr, "ReplaceRedChannelKVT(RedChannel as picture) as picture", kConsoleSafe},
    {Entry(ReplaceGreenChannel),              nullptr, "ReplaceGreenChannelKVT(GreenChannel as picture) as picture", kConsoleSafe},
    {Entry(ReplaceBlueChannel),               nullptr, "ReplaceBlueChannelKVT(BlueChannel as picture) as picture", kConsoleSafe},
    {Entry(FindPicture),                      nullptr, "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean", kConsoleSafe},
    {Entry(isWhite2),                         nullptr, "isWhiteKVT as boolean", kConsoleSafe},
    {Entry(isWhite),                          nullptr, "isWhiteKVT(left as integer,top as integer,width as integer,height as integer) as boolean", kConsoleSafe},
    {Entry(isBlack2),                         nullptr, "isBlackKVT as boolean", kConsoleSafe},
    {Entry(isBlack),                          nullptr, "isBlackKVT(left as integer,top as integer,width as integer,height as integer) as boolean", kConsoleSafe},
    {Entry(isGray2),                          nullptr, "isGrayKVT(tolerance as integer = 0) as boolean", kConsoleSafe},
    {Entry(isGray),                           nullptr, "isGrayKVT(tolerance as integer, left as integer,top as integer,width as integer,height as integer) as boolean", kConsoleSafe},
};

REALmethodDefinition gGlobalMethods[] = {
    {Entry(BinaryStringtoPicture),            nullptr, "BinaryStringtoPictureKVT(data as String) as Picture", kConsoleSafe},
    {Entry(PicturetoBinaryString),            nullptr, "PicturetoBinaryStringKVT(p as picture) as string", kConsoleSafe},
    {Entry(CombinePicturesKVT),               nullptr, "CombinePicturesKVT(red as picture, blue as picture, green as picture) as picture", kConsoleSafe},
    {Entry(MergePicture),                     nullptr, "MergePictureKVT(source1 as picture, source2 as picture) as picture", kConsoleSafe},
    {Entry(TintPicture),                      nullptr, "TintPictureKVT(source as picture, GreyBase as color, SepiaBase as color) as picture", kConsoleSafe},
    {Entry(RenderSamples),                    nullptr, "RenderSamplesKVT(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height as integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor as color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture", kConsoleSafe},
};

// clang-format on

} // namespace

REALclassDefinition gPictureExtension = {
    .version = kInterfaceVersion,
    .name = "Picture",
    .methods = gPictureMethods,
    .methodCount = std::size(gPictureMethods),
    .flags = kHostConsole,
};

std::span<REALmethodDefinition> GlobalMethods() { return gGlobalMethods; }

} // namespace kvt
