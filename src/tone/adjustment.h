#pragma once

#include "host/handles.h"
#include "kernels/rgb.h"

namespace kvt {

/// An adjustment of a channel's level by straight lines, each step in doubles and rounded: first the contrast around
/// 127, then scale and offset, truncated toward zero and limited to 0..255. What is left out changes no bit.
struct Adjustment {
    double contrast = 1.0; ///< the factor of the distance to 127
    double scale = 1.0;
    double offset = 0.0;
};
using Adjustments = Channelwise<Adjustment>;

/// Multiplies a level's distance from 127 by (contrast + 1): 0 changes nothing, -1 flattens to 127.
Adjustment Contrast(double contrast);

// Brightness is in levels. Absolute brightness is added; linear brightness maps 0..255 onto brightness..255 or, when
// negative, onto 0..255 + brightness. Contrast comes first and is not limited in between.
Adjustment AbsBrightness(double brightness);
Adjustment LinBrightness(double brightness);
Adjustment ContrastAbsBrightness(double contrast, double brightness);
Adjustment ContrastLinBrightness(double contrast, double brightness);

/// Level * a + b.
Adjustment Custom(double a, double b);

/// An adjustment of each channel, as a new picture of the same size with one reference for the caller; null when the
/// picture cannot be read or no new one can be made.
REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustments &adjustments);

// The routines of the methods, with values for all channels or for each.

inline REALpictureStruct *AdjustAll(REALpictureStruct *picture, const Adjustment &all) {
    return AdjustPicture(picture, {all, all, all});
}
inline REALpictureStruct *ContrastPicture1(REALpictureStruct *picture, double contrast) {
    return AdjustAll(picture, Contrast(contrast));
}
inline REALpictureStruct *ContrastPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                           double contrastBlue) {
    return AdjustPicture(picture, {Contrast(contrastRed), Contrast(contrastGreen), Contrast(contrastBlue)});
}
inline REALpictureStruct *AbsBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return AdjustAll(picture, AbsBrightness(brightness));
}
inline REALpictureStruct *AbsBrightnessPicture3(REALpictureStruct *picture, double brightnessRed,
                                                double brightnessGreen, double brightnessBlue) {
    return AdjustPicture(picture,
                         {AbsBrightness(brightnessRed), AbsBrightness(brightnessGreen), AbsBrightness(brightnessBlue)});
}
inline REALpictureStruct *LinBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return AdjustAll(picture, LinBrightness(brightness));
}
inline REALpictureStruct *LinBrightnessPicture3(REALpictureStruct *picture, double brightnessRed,
                                                double brightnessGreen, double brightnessBlue) {
    return AdjustPicture(picture,
                         {LinBrightness(brightnessRed), LinBrightness(brightnessGreen), LinBrightness(brightnessBlue)});
}
inline REALpictureStruct *ContrastAbsBrightnessPicture1(REALpictureStruct *picture, double contrast,
                                                        double brightness) {
    return AdjustAll(picture, ContrastAbsBrightness(contrast, brightness));
}
inline REALpictureStruct *ContrastAbsBrightnessPicture3(REALpictureStruct *picture, double contrastRed,
                                                        double contrastGreen, double contrastBlue, double brightnessRed,
                                                        double brightnessGreen, double brightnessBlue) {
    return AdjustPicture(picture, {ContrastAbsBrightness(contrastRed, brightnessRed),
                                   ContrastAbsBrightness(contrastGreen, brightnessGreen),
                                   ContrastAbsBrightness(contrastBlue, brightnessBlue)});
}
inline REALpictureStruct *ContrastLinBrightnessPicture1(REALpictureStruct *picture, double contrast,
                                                        double brightness) {
    return AdjustAll(picture, ContrastLinBrightness(contrast, brightness));
}
inline REALpictureStruct *ContrastLinBrightnessPicture3(REALpictureStruct *picture, double contrastRed,
                                                        double contrastGreen, double contrastBlue, double brightnessRed,
                                                        double brightnessGreen, double brightnessBlue) {
    return AdjustPicture(picture, {ContrastLinBrightness(contrastRed, brightnessRed),
                                   ContrastLinBrightness(contrastGreen, brightnessGreen),
                                   ContrastLinBrightness(contrastBlue, brightnessBlue)});
}
inline REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b) {
    return AdjustAll(picture, Custom(a, b));
}

} // namespace kvt
