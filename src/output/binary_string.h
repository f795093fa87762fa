#pragma once

#include "host/handles.h"

namespace kvt {

// The picture binary string: a header of 40 bytes ("PPIC", then big-endian 32-bit words: total length, width, height,
// 32, offset of the pixels, and sixteen zero bytes), then red, green and blue of every pixel, row by row without
// padding.

/// The picture's colors as such a string without text encoding, with one reference for the caller. Null when the
/// picture cannot be read, the string would be longer than 0x7FFFFFFF bytes, or memory or the host refuses.
REALstringStruct *PicturetoBinaryString(REALpictureStruct *picture);

/// A new opaque picture from such a string, whatever its encoding, with one reference for the caller. The pixels are
/// taken from the offset that the header names. Null for a string that is no whole picture, or when none can be made.
REALpictureStruct *BinaryStringtoPicture(REALstringStruct *data);

} // namespace kvt
