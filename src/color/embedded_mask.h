#pragma once

#include "host/handles.h"

namespace kvt {

/// The alpha of every pixel as a new opaque gray picture: 255 is opaque in a bitmap context, but transparent in a
/// console picture, whose 7 bits are widened to 8. `swap` other than 0 turns values into 255 - value. One reference for
/// the caller; null when the picture cannot be read or no new one can be made.
REALpictureStruct *GetEmbededMask(REALpictureStruct *picture, signed char swap);

/// Stores the red of `mask`, swapped likewise, as the alpha of the picture's own pixels; its colors stay. Pixels beyond
/// a smaller mask keep their alpha. Does nothing when the mask is nil or either picture cannot be opened.
void SetEmbededMask(REALpictureStruct *picture, signed char swap, REALpictureStruct *mask);

/// 1 when the host has attached a mask picture; asking attaches none.
unsigned char PictureHasMask(REALpictureStruct *picture);

} // namespace kvt
