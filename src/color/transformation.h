#pragma once

#include "host/handles.h"

namespace kvt {

/// Maps every pixel through three tables of 256 bytes, each serving the channel of its name (declared red, blue,
/// green). The result is written into the top left of `dest` when that is at least as large and can be opened, which is
/// then the picture returned; else into a new picture. `dest` may be the picture itself. One reference for the caller.
/// Raises NilObjectException for a nil picture or table; null, quietly, for a table without an address or shorter than
/// 256 bytes, a picture that cannot be read, or when there is nothing to write into.
REALpictureStruct *TransformColorsKVT(REALpictureStruct *picture, REALmemoryBlockStruct *red,
                                      REALmemoryBlockStruct *blue, REALmemoryBlockStruct *green,
                                      REALpictureStruct *dest);

} // namespace kvt
