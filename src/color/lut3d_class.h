#pragma once

#include "host/records.h"

namespace kvt {

/// The class PictureLut3DKVT, which maps a picture's colors through a table.
extern REALclassDefinition gPictureLut3DClass;

} // namespace kvt
