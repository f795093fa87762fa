#include "tone/contrast_brightness.h"

#include "pixels/channel_tables.h"

namespace kvt {
namespace {

struct Contrast {
    explicit Contrast(double contrast) : factor(contrast + 1.0) {}
    double operator()(double level) const { return (level - 127.0) * factor + 127.0; }
    double factor;
};

struct AbsBrightness {
    explicit AbsBrightness(double value) : brightness(value) {}
    double operator()(double level) const { return level + brightness; }
    double brightness;
};

struct LinBrightness {
    explicit LinBrightness(double brightness)
        : scale(brightness < 0.0 ? (brightness + 255.0) / 255.0 : (255.0 - brightness) / 255.0),
          offset(brightness < 0.0 ? 0.0 : brightness) {}
    double operator()(double level) const { return level * scale + offset; }
    double scale;
    double offset;
};

template <class Brightness> struct ContrastThen {
    ContrastThen(double contrastValue, double brightnessValue) : contrast(contrastValue), brightness(brightnessValue) {}
    double operator()(double level) const { return brightness(contrast(level)); }
    Contrast contrast;
    Brightness brightness;
};

using ContrastLinBrightness = ContrastThen<LinBrightness>;
using ContrastAbsBrightness = ContrastThen<AbsBrightness>;

} // namespace

REALpictureStruct *ContrastPicture1(REALpictureStruct *picture, double contrast) {
    return MapChannels(picture, Contrast(contrast));
}

REALpictureStruct *ContrastPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                    double contrastBlue) {
    return MapChannels(picture, Contrast(contrastRed), Contrast(contrastGreen), Contrast(contrastBlue));
}

REALpictureStruct *LinBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return MapChannels(picture, LinBrightness(brightness));
}

REALpictureStruct *LinBrightnessPicture3(REALpictureStruct *picture, double brightnessRed, double brightnessGreen,
                                         double brightnessBlue) {
    return MapChannels(picture, LinBrightness(brightnessRed), LinBrightness(brightnessGreen),
                       LinBrightness(brightnessBlue));
}

REALpictureStruct *AbsBrightnessPicture1(REALpictureStruct *picture, double brightness) {
    return MapChannels(picture, AbsBrightness(brightness));
}

REALpictureStruct *AbsBrightnessPicture3(REALpictureStruct *picture, double brightnessRed, double brightnessGreen,
                                         double brightnessBlue) {
    return MapChannels(picture, AbsBrightness(brightnessRed), AbsBrightness(brightnessGreen),
                       AbsBrightness(brightnessBlue));
}

REALpictureStruct *ContrastLinBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness) {
    return MapChannels(picture, ContrastLinBrightness(contrast, brightness));
}

REALpictureStruct *ContrastLinBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    return MapChannels(picture, ContrastLinBrightness(contrastRed, brightnessRed),
                       ContrastLinBrightness(contrastGreen, brightnessGreen),
                       ContrastLinBrightness(contrastBlue, brightnessBlue));
}

REALpictureStruct *ContrastAbsBrightnessPicture1(REALpictureStruct *picture, double contrast, double brightness) {
    return MapChannels(picture, ContrastAbsBrightness(contrast, brightness));
}

REALpictureStruct *ContrastAbsBrightnessPicture3(REALpictureStruct *picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    return MapChannels(picture, ContrastAbsBrightness(contrastRed, brightnessRed),
                       ContrastAbsBrightness(contrastGreen, brightnessGreen),
                       ContrastAbsBrightness(contrastBlue, brightnessBlue));
}

} // namespace kvt
