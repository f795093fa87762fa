#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

// Each yields a new picture with one reference for the caller; null when a picture cannot be read, does not fit, or no
// new one can be made.

// Channels as host colors.
inline constexpr std::uint32_t kRed = 0xFF0000;
inline constexpr std::uint32_t kGreen = 0x00FF00;
inline constexpr std::uint32_t kBlue = 0x0000FF;

/// The picture with one channel taken from `channel`, which must be at least as large; its top left is used. A nil
/// `channel` raises NilObjectException.
REALpictureStruct *ReplaceChannel(REALpictureStruct *picture, REALpictureStruct *channel, std::uint32_t bits);

inline REALpictureStruct *ReplaceRedChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, kRed);
}
inline REALpictureStruct *ReplaceGreenChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, kGreen);
}
inline REALpictureStruct *ReplaceBlueChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, kBlue);
}

/// The red of `red`, the green of `green` and the blue of `blue`; all three of one size. Mind the order.
REALpictureStruct *CombinePicturesKVT(REALpictureStruct *red, REALpictureStruct *blue, REALpictureStruct *green);

/// Channel by channel the lighter of two pictures of one size. Null, too, when a picture is nil: then none is opened.
REALpictureStruct *MergePicture(REALpictureStruct *source1, REALpictureStruct *source2);

} // namespace kvt
