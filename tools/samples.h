#pragma once

#include "tools/cube_file.h"
#include "tools/picture_files.h"

namespace tools {

/// A scene with something for every operation: a sky that runs from blue to pale, clouds, a sun, two ranges of hills, a
/// meadow of fine texture, and below them a ramp of skin tones, a ramp of grays and saturated patches. With alpha, the
/// right edge fades out along a wavy line. The same pixels on every machine; width and height at least 1.
Image SamplePicture(int width, int height, bool withAlpha);

/// A WAV file of two seconds that sound a little like speech: syllables of a gliding voice with pauses between. 16
/// bits.
Bytes SampleSound();

/// A .cube file with the look of a film: soft contrast, warm lights, cool shadows.
std::string SampleTable();

} // namespace tools
