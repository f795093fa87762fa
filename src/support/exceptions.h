#pragma once

#include <cstdint>

namespace kvt {

/// Raises a host exception of that class (or, where the host has no such class, a "RuntimeException") with that message
/// and returns; the caller then returns its own failure value, and the host delivers the exception to the script.
/// `message` is ASCII text or null; `encoding` is 0x0600 in every call and not looked at. Nothing is raised when no
/// exception instance can be made.
void RaiseException(const char *className, const char *message, std::uint32_t encoding);

/// The exception of every argument check: class "NilObjectException".
void RaiseNilObject(const char *message);

} // namespace kvt
