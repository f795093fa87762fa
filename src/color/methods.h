#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstdint>

/// The routines of the methods that count, replace and take apart colors. Where one yields a picture, it is a new one
/// of the first picture's size with one reference for the caller; null when a picture cannot be read, does not fit, or
/// no new one can be made. Colors are 0x00RRGGBB and match exactly; their top byte does not count.
namespace kvt {

/// The number of pixels of that color; 0 when the picture cannot be read.
std::int32_t CountColorKVT(REALpictureStruct *picture, std::uint32_t color);

/// Adds the picture's three histograms to memory blocks of 256 unsigned 32-bit counters each (1024 bytes). The first
/// block counts red; the second, declared `blue`, counts green; the third, declared `green`, counts blue. A variable
/// that holds nil receives a new block. `count` receives the number of pixels counted, or -1, with all histograms
/// unchanged, when the picture cannot be read or a block cannot be made, has no address or is too short.
void CountColorsKVT(REALpictureStruct *picture, REALmemoryBlockStruct **red, REALmemoryBlockStruct **blue,
                    REALmemoryBlockStruct **green, std::int32_t *count);

/// Maps every pixel through three tables of 256 bytes, each serving the channel of its name (declared red, blue,
/// green). The result is written into the top left of `dest` when that is at least as large and can be opened, which is
/// then the picture returned. `dest` may be the picture itself. Raises NilObjectException for a nil picture or table;
/// null, quietly, for a table without an address or shorter than 256 bytes as well.
REALpictureStruct *TransformColorsKVT(REALpictureStruct *picture, REALmemoryBlockStruct *red,
                                      REALmemoryBlockStruct *blue, REALmemoryBlockStruct *green,
                                      REALpictureStruct *dest);

/// Pixels of the search color become `replaceWithColor`; all others are copied, or become `backGroundColor`.
REALpictureStruct *ReplaceColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor);
REALpictureStruct *ExtractColorKVT(REALpictureStruct *picture, std::uint32_t searchColor,
                                   std::uint32_t replaceWithColor, std::uint32_t backGroundColor);

/// The picture with one channel taken from `channel`, which must be at least as large; its top left is used. A nil
/// `channel` raises NilObjectException.
REALpictureStruct *ReplaceRedChannel(REALpictureStruct *picture, REALpictureStruct *channel);
REALpictureStruct *ReplaceGreenChannel(REALpictureStruct *picture, REALpictureStruct *channel);
REALpictureStruct *ReplaceBlueChannel(REALpictureStruct *picture, REALpictureStruct *channel);

/// The red of `red`, the green of `green` and the blue of `blue`; all three of one size. Mind the order.
REALpictureStruct *CombinePicturesKVT(REALpictureStruct *red, REALpictureStruct *blue, REALpictureStruct *green);

/// Channel by channel the lighter of two pictures of one size. Null, too, when a picture is nil: then none is opened.
REALpictureStruct *MergePicture(REALpictureStruct *source1, REALpictureStruct *source2);

/// The alpha of every pixel as an opaque gray picture: 255 is opaque in a bitmap context, but transparent in a console
/// picture, whose 7 bits are widened to 8. `swap` other than 0 turns values into 255 - value.
REALpictureStruct *GetEmbededMask(REALpictureStruct *picture, signed char swap);

/// Stores the red of `mask`, swapped likewise, as the alpha of the picture's own pixels; its colors stay. Pixels beyond
/// a smaller mask keep their alpha. Does nothing when the mask is nil or either picture cannot be opened.
void SetEmbededMask(REALpictureStruct *picture, signed char swap, REALpictureStruct *mask);

/// 1 when the host has attached a mask picture; asking attaches none.
unsigned char PictureHasMask(REALpictureStruct *picture);

/// A black and white mask of where the picture is colored (not gray) inside a rectangle, by the boxes around what
/// belongs together: a box grows as long as colored pixels lie directly beside it, above, below, left or right; those
/// that meet it at a corner do not join. All pixels of the boxes are black, all others white. Only a negative width or
/// height stands for the whole picture's. Null as well when memory is refused. The form that ends in 2 takes the whole
/// picture.
REALpictureStruct *ExtractColorRectangleMaskKVT(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                                std::int32_t width, std::int32_t height);
REALpictureStruct *ExtractColorRectangleMaskKVT2(REALpictureStruct *picture);

/// The class "PictureLut3DKVT", which maps a picture's colors through a table.
extern REALclassDefinition gPictureLut3DClass;

} // namespace kvt
