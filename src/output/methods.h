#pragma once

#include "host/handles.h"

#include <cstdint>

/// The routines of the methods that make strings of pictures, and pictures of strings and sounds. What they yield
/// carries one reference for the caller; null when it cannot be made.
namespace kvt {

// The picture binary string: a header of 40 bytes ("PPIC", then big-endian 32-bit words: total length, width, height,
// 32, offset of the pixels, and sixteen zero bytes), then red, green and blue of every pixel, row by row without
// padding.

/// The picture's colors as such a string without text encoding. Null when the picture cannot be read, the string would
/// be longer than 0x7FFFFFFF bytes, or memory or the host refuses.
REALstringStruct *PicturetoBinaryString(REALpictureStruct *picture);

/// A new opaque picture from such a string, whatever its encoding. The pixels are taken from the offset that the header
/// names. Null for a string that is no whole picture, or when none can be made.
REALpictureStruct *BinaryStringtoPicture(REALstringStruct *data);

/// A new picture that gives an overview of an audio signal: one column shows the mean levels of its share of the
/// samples, the negative half above the center row, the positive half below it.
///
/// `sampleCount` samples from the start of the block; less than 1 stands for all, and never more than the block holds.
/// `bits` is the sample kind: 7 signed bytes, 8 unsigned bytes, 15 signed and 16 unsigned little-endian words.
/// `smooth` averages each column with those to its left (1 leaves them, larger values smooth more, -1 and less is
/// none). `width` and `height` in pixels; less than 1 stands for one column a sample and for 500 rows. The loudest
/// column fills the height with `autoScale`; without it the height belongs to the sample kind's full scale. An outline
/// along both halves is anti-aliased for `outlineWidth` 1, drawn by the host's pen for more, else left out. Colors are
/// 0x00RRGGBB.
///
/// One reference for the caller. Null for a null block (with the exception "memoryblock is nil"), for another `bits`, a
/// size outside 1..32767, a block without an address, or when memory or the host refuses.
REALpictureStruct *RenderSamples(REALmemoryBlockStruct *samples, std::int32_t sampleCount, std::int32_t smooth,
                                 std::int32_t width, std::int32_t height, std::int32_t outlineWidth,
                                 std::uint32_t backColor, std::uint32_t foreColor, std::uint32_t outLineColor,
                                 std::int32_t bits, signed char autoScale);

} // namespace kvt
