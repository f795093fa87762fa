#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstdint>

/// The routines of the methods that change tones. Each yields a new picture of the same size with one reference for the
/// caller; null when the picture cannot be read or no new one can be made. Colors are 0x00RRGGBB.
namespace kvt {

/// The photographic negative of the rectangle; a width or height of 0 or less stands for the whole picture's. Pixels
/// outside the rectangle are those of a fresh picture.
REALpictureStruct *InvertPicture(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                                 std::int32_t height);
REALpictureStruct *InvertPicture2(REALpictureStruct *picture); ///< the whole picture

/// As above, but only gray pixels are inverted, colored ones are copied; and a width or height of 0 is an empty
/// rectangle, only a negative one stands for the whole picture's.
REALpictureStruct *InvertGrayPicture(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                     std::int32_t width, std::int32_t height);
REALpictureStruct *InvertGrayPicture2(REALpictureStruct *picture); ///< the whole picture

/// Multiplies a level's distance from 127 by (contrast + 1): 0 changes nothing, -1 flattens to 127.
REALpictureStruct *ContrastPicture1(REALpictureStruct *picture, double contrast);
REALpictureStruct *ContrastPicture3(REALpictureStruct *picture, double red, double green, double blue);

// Brightness is in levels. Absolute brightness is added; linear brightness maps 0..255 onto brightness..255 or, when
// negative, onto 0..255 + brightness. Contrast comes first and is not limited in between.
REALpictureStruct *AbsBrightnessPicture1(REALpictureStruct *picture, double brightness);
REALpictureStruct *AbsBrightnessPicture3(REALpictureStruct *picture, double red, double green, double blue);
REALpictureStruct *LinBrightnessPicture1(REALpictureStruct *picture, double brightness);
REALpictureStruct *LinBrightnessPicture3(REALpictureStruct *picture, double red, double green, double blue);
REALpictureStruct *ContrastAbsBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness);
REALpictureStruct *ContrastAbsBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue);
REALpictureStruct *ContrastLinBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness);
REALpictureStruct *ContrastLinBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue);

/// Every level times `a`, plus `b`.
REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b);

/// Moves every channel away from the pixel's gray, (red + blue + 2 green) / 4, by (amount + 255) / 255 of its distance:
/// 0 changes nothing, -255 leaves the gray, 255 doubles the distance.
REALpictureStruct *SaturationPicture(REALpictureStruct *picture, std::int32_t amount);

/// A tinted monochrome picture: each pixel's channels, weighted by those of `greyBase` / 255 and added up, give its
/// gray; that gray times the channels of `sepiaBase` / 255 gives the result, truncated toward zero and limited to 255.
REALpictureStruct *TintPicture(REALpictureStruct *source, std::uint32_t greyBase, std::uint32_t sepiaBase);

/// The class "PictureSepiaKVT", which tones a picture.
extern REALclassDefinition gPictureSepiaClass;

} // namespace kvt
