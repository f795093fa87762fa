#pragma once

#include "pixels/picture_editor.h"

#include <cstddef>
#include <cstdint>

/// Colors without their fourth byte: red, green and blue of every pixel, row by row from the top, without padding.
namespace kvt {

inline constexpr std::ptrdiff_t kPackedBytes = 3; ///< a pixel

/// Writes the whole picture's colors: width x height x 3 bytes and not one more.
void PackRgb(const PictureEditor &source, unsigned char *packed);

/// Reads `width` x `height` colors and stores those that lie inside the target as opaque pixels.
void UnpackRgb(const unsigned char *packed, std::int32_t width, std::int32_t height, const PictureEditor &target);

} // namespace kvt
