#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

/// A new picture with the photographic negative of the rectangle; a width or height of 0 or less stands for the whole
/// picture's. Pixels outside the rectangle are those of a fresh picture. One reference for the caller; null when the
/// picture cannot be read or no new one can be made.
REALpictureStruct *InvertPicture(REALpictureStruct *picture, std::int32_t left, std::int32_t top, std::int32_t width,
                                 std::int32_t height);
REALpictureStruct *InvertPicture2(REALpictureStruct *picture); ///< the whole picture

/// As above, but only gray pixels are inverted, colored ones are copied; and a width or height of 0 is an empty
/// rectangle, only a negative one stands for the whole picture's.
REALpictureStruct *InvertGrayPicture(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                     std::int32_t width, std::int32_t height);
REALpictureStruct *InvertGrayPicture2(REALpictureStruct *picture); ///< the whole picture

} // namespace kvt
