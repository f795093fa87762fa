#pragma once

#include "platform/export.h"

#include <cstddef>
#include <cstdint>

/// Bitmap contexts of the platform's graphics library, as far as this project needs them. On a real platform its own
/// framework offers these functions under the same names.

/// A bitmap context. In this stand-in a plain record that its maker lays out and owns; on a real platform opaque. A
/// null context yields null and zeros.
struct CGContext {
    void *data;               ///< row 0
    std::size_t bitsPerPixel; ///< 32 for the pictures that can be worked on
    std::size_t width;        ///< pixels
    std::size_t height;       ///< rows
    std::size_t bytesPerRow;  ///< from row to row, padding included
    std::uint32_t alphaInfo;  ///< which byte of a pixel is alpha: 1 premultiplied last, 2 premultiplied first, 3 last,
                              ///< 4 first, 5 none and the last byte skipped, 6 none and the first byte skipped
};
using CGContextRef = CGContext *;

extern "C" {
KVT_PLATFORM void *CGBitmapContextGetData(CGContextRef context);
KVT_PLATFORM std::size_t CGBitmapContextGetBitsPerPixel(CGContextRef context);
KVT_PLATFORM std::size_t CGBitmapContextGetWidth(CGContextRef context);
KVT_PLATFORM std::size_t CGBitmapContextGetHeight(CGContextRef context);
KVT_PLATFORM std::size_t CGBitmapContextGetBytesPerRow(CGContextRef context);
KVT_PLATFORM std::uint32_t CGBitmapContextGetAlphaInfo(CGContextRef context);
}
