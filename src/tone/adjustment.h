#pragma once

#include "host/handles.h"

namespace kvt {

/// An adjustment of a channel's level by straight lines, each step in doubles and rounded: first the contrast around
/// 127, then scale and offset, truncated toward zero and limited to 0..255. What is left out changes no bit.
struct Adjustment {
    double contrast = 1.0; ///< the factor of the distance to 127
    double scale = 1.0;
    double offset = 0.0;

    friend bool operator==(const Adjustment &, const Adjustment &) = default;
};

/// An adjustment of each channel, as a new picture of the same size with one reference for the caller; null when the
/// picture cannot be read or no new one can be made.
REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustment &red, const Adjustment &green,
                                 const Adjustment &blue);

/// The same adjustment for all channels.
inline REALpictureStruct *AdjustPicture(REALpictureStruct *picture, const Adjustment &adjustment) {
    return AdjustPicture(picture, adjustment, adjustment, adjustment);
}

} // namespace kvt
