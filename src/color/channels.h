#pragma once

#include "host/handles.h"

namespace kvt {

// Each yields a new picture with one reference for the caller; null when a picture cannot be read, does not fit, or no
// new one can be made.

/// The picture with one channel taken from `channel`, which must be at least as large; its top left is used. A nil
/// `channel` raises NilObjectException.
REALpictureStruct *ReplaceRedChannel(REALpictureStruct *picture, REALpictureStruct *channel);
REALpictureStruct *ReplaceGreenChannel(REALpictureStruct *picture, REALpictureStruct *channel);
REALpictureStruct *ReplaceBlueChannel(REALpictureStruct *picture, REALpictureStruct *channel);

/// The red of `red`, the green of `green` and the blue of `blue`; all three of one size. Mind the order.
REALpictureStruct *CombinePicturesKVT(REALpictureStruct *red, REALpictureStruct *blue, REALpictureStruct *green);

} // namespace kvt
