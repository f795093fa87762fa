#pragma once

#include "host/handles.h"

namespace kvt {

/// Contrast and brightness of every channel, as a new picture of the same size. A contrast multiplies a level's
/// distance from 127 by (contrast + 1): 0 changes nothing, -1 flattens to 127. A brightness is in levels: absolute
/// brightness is added; linear brightness maps 0..255 onto brightness..255 or, when negative, onto 0..255 + brightness.
/// Where both are given, contrast comes first and is not limited before the brightness. Results are truncated toward
/// zero and limited to 0..255. One reference for the caller; null when the picture cannot be read or no new one can be
/// made. The forms that end in 1 take one value for all channels.

REALpictureStruct *ContrastPicture1(REALpictureStruct *picture, double contrast);
REALpictureStruct *ContrastPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                    double contrastBlue);

REALpictureStruct *LinBrightnessPicture1(REALpictureStruct *picture, double brightness);
REALpictureStruct *LinBrightnessPicture3(REALpictureStruct *picture, double brightnessRed, double brightnessGreen,
                                         double brightnessBlue);

REALpictureStruct *AbsBrightnessPicture1(REALpictureStruct *picture, double brightness);
REALpictureStruct *AbsBrightnessPicture3(REALpictureStruct *picture, double brightnessRed, double brightnessGreen,
                                         double brightnessBlue);

REALpictureStruct *ContrastLinBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness);
REALpictureStruct *ContrastLinBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue);

REALpictureStruct *ContrastAbsBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness);
REALpictureStruct *ContrastAbsBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue);

} // namespace kvt
