#include "platform/CoreGraphics.h"

void *CGBitmapContextGetData(CGContextRef context) { return context ? context->data : nullptr; }
std::size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) { return context ? context->bitsPerPixel : 0; }
std::size_t CGBitmapContextGetWidth(CGContextRef context) { return context ? context->width : 0; }
std::size_t CGBitmapContextGetHeight(CGContextRef context) { return context ? context->height : 0; }
std::size_t CGBitmapContextGetBytesPerRow(CGContextRef context) { return context ? context->bytesPerRow : 0; }
std::uint32_t CGBitmapContextGetAlphaInfo(CGContextRef context) { return context ? context->alphaInfo : 0; }
