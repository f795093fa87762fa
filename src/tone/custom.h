#pragma once

#include "host/handles.h"

namespace kvt {

/// Every channel's level x becomes x * a + b, truncated toward zero and limited to 0..255. A new picture of the same
/// size with one reference for the caller; null when the picture cannot be read or no new one can be made.
REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b);

} // namespace kvt
