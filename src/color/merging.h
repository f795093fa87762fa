#pragma once

#include "host/handles.h"

namespace kvt {

/// A new picture that keeps, channel by channel, the lighter of two pictures of one size. One reference for the caller;
/// null when a picture is nil or cannot be read, the sizes differ, or no new picture can be made.
REALpictureStruct *MergePicture(REALpictureStruct *source1, REALpictureStruct *source2);

} // namespace kvt
