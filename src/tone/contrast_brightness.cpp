#include "tone/contrast_brightness.h"

#include "tone/adjustment.h"

namespace kvt {
namespace {

Adjustment Contrast(double contrast) { return {.contrast = contrast + 1.0}; }

Adjustment AbsBrightness(double brightness) { return {.offset = brightness}; }

/// Scales towards black below 0, towards white above.
Adjustment LinBrightness(double brightness) {
    if (brightness < 0.0)
        return {.scale = (brightness + 255.0) / 255.0};
    return {.scale = (255.0 - brightness) / 255.0, .offset = brightness};
}

Adjustment WithContrast(double contrast, Adjustment brightness) {
    brightness.contrast = Contrast(contrast).contrast;
    return brightness;
}

Adjustment ContrastAbsBrightness(double contrast, double brightness) {
    return WithContrast(contrast, AbsBrightness(brightness));
}

Adjustment ContrastLinBrightness(double contrast, double brightness) {
    return WithContrast(contrast, LinBrightness(brightness));
}

} // namespace

REALpictureStruct *ContrastPicture1(REALpictureStruct *picture, double contrast) {
    return AdjustPicture(picture, Contrast(contrast));
}

REALpictureStruct *ContrastPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                    double contrastBlue) {
    return AdjustPicture(picture, Contrast(contrastRed), Contrast(contrastGreen), Contrast(contrastBlue));
}

REALpictureStruct *LinBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return AdjustPicture(picture, LinBrightness(brightness));
}

REALpictureStruct *LinBrightnessPicture3(REALpictureStruct *picture, double brightnessRed, double brightnessGreen,
                                         double brightnessBlue) {
    return AdjustPicture(picture, LinBrightness(brightnessRed), LinBrightness(brightnessGreen),
                         LinBrightness(brightnessBlue));
}

REALpictureStruct *AbsBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return AdjustPicture(picture, AbsBrightness(brightness));
}

REALpictureStruct *AbsBrightnessPicture3(REALpictureStruct *picture, double brightnessRed, double brightnessGreen,
                                         double brightnessBlue) {
    return AdjustPicture(picture, AbsBrightness(brightnessRed), AbsBrightness(brightnessGreen),
                         AbsBrightness(brightnessBlue));
}

REALpictureStruct *ContrastLinBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness) {
    return AdjustPicture(picture, ContrastLinBrightness(contrast, brightness));
}

REALpictureStruct *ContrastLinBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    return AdjustPicture(picture, ContrastLinBrightness(contrastRed, brightnessRed),
                         ContrastLinBrightness(contrastGreen, brightnessGreen),
                         ContrastLinBrightness(contrastBlue, brightnessBlue));
}

REALpictureStruct *ContrastAbsBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness) {
    return AdjustPicture(picture, ContrastAbsBrightness(contrast, brightness));
}

REALpictureStruct *ContrastAbsBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    return AdjustPicture(picture, ContrastAbsBrightness(contrastRed, brightnessRed),
                         ContrastAbsBrightness(contrastGreen, brightnessGreen),
                         ContrastAbsBrightness(contrastBlue, brightnessBlue));
}

} // namespace kvt
