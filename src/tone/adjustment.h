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

/// Methods with one value, or two, for all channels.
template <Adjustment (*kAdjustment)(double)> REALpictureStruct *Adjust(REALpictureStruct *picture, double value) {
    const Adjustment all = kAdjustment(value);
    return AdjustPicture(picture, {all, all, all});
}
template <Adjustment (*kAdjustment)(double, double)>
REALpictureStruct *Adjust(REALpictureStruct *picture, double first, double second) {
    const Adjustment all = kAdjustment(first, second);
    return AdjustPicture(picture, {all, all, all});
}

/// Methods with a value for each channel, or with two.
template <Adjustment (*kAdjustment)(double)>
REALpictureStruct *AdjustEach(REALpictureStruct *picture, double red, double green, double blue) {
    return AdjustPicture(picture, {kAdjustment(red), kAdjustment(green), kAdjustment(blue)});
}
template <Adjustment (*kAdjustment)(double, double)>
REALpictureStruct *AdjustEach(REALpictureStruct *picture, double firstRed, double firstGreen, double firstBlue,
                              double secondRed, double secondGreen, double secondBlue) {
    return AdjustPicture(picture, {kAdjustment(firstRed, secondRed), kAdjustment(firstGreen, secondGreen),
                                   kAdjustment(firstBlue, secondBlue)});
}

} // namespace kvt
