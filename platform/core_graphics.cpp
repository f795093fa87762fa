#include "platform/CoreGraphics.h"

#include "platform/internal.h"

namespace {

/// The field of a living context; zero without one and when the function is made to fail.
template <class Value> Value Field(const char *function, CGContextRef context, Value CGContext::*field) {
    return kvt::platform::Works(function) && context ? context->*field : Value{};
}

} // namespace

void *CGBitmapContextGetData(CGContextRef context) { return Field(__func__, context, &CGContext::data); }

std::size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) {
    return Field(__func__, context, &CGContext::bitsPerPixel);
}

std::size_t CGBitmapContextGetWidth(CGContextRef context) { return Field(__func__, context, &CGContext::width); }
std::size_t CGBitmapContextGetHeight(CGContextRef context) { return Field(__func__, context, &CGContext::height); }

std::size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
    return Field(__func__, context, &CGContext::bytesPerRow);
}

std::uint32_t CGBitmapContextGetAlphaInfo(CGContextRef context) {
    return Field(__func__, context, &CGContext::alphaInfo);
}
