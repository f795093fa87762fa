#include "platform/CoreGraphics.h"

#include "platform/internal.h"

#include <type_traits>

namespace {

/// The field of a living context; zero without one and when the function is made to fail. The function, one a field, is
/// looked up once: the module makes a dozen of these calls an operation, whose time benchmarks count as the module's.
template <auto kField> auto Field(const char *function, CGContextRef context) {
    static kvt::platform::FunctionState &state = kvt::platform::StateOf(function);
    return kvt::platform::Works(state) && context ? context->*kField
                                                  : std::remove_cvref_t<decltype(context->*kField)>{};
}

} // namespace

void *CGBitmapContextGetData(CGContextRef context) { return Field<&CGContext::data>(__func__, context); }

std::size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) {
    return Field<&CGContext::bitsPerPixel>(__func__, context);
}

std::size_t CGBitmapContextGetWidth(CGContextRef context) { return Field<&CGContext::width>(__func__, context); }
std::size_t CGBitmapContextGetHeight(CGContextRef context) { return Field<&CGContext::height>(__func__, context); }

std::size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
    return Field<&CGContext::bytesPerRow>(__func__, context);
}

std::uint32_t CGBitmapContextGetAlphaInfo(CGContextRef context) {
    return Field<&CGContext::alphaInfo>(__func__, context);
}
