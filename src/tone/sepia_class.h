#pragma once

#include "host/records.h"

namespace kvt {

/// The class PictureSepiaKVT, which tones a picture.
extern REALclassDefinition gPictureSepiaClass;

} // namespace kvt
