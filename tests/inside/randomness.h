#pragma once

#include <cstddef>
#include <sys/types.h>

namespace randomness {

/// Whether the system has no random bytes to give.
inline bool refused = false;

} // namespace randomness

// The linker sends every getrandom of the test program here, but not those of the libraries around it.
extern "C" {
ssize_t __real_getrandom(void *bytes, std::size_t size, unsigned flags);

[[gnu::used]] inline ssize_t __wrap_getrandom(void *bytes, std::size_t size, unsigned flags) {
    return randomness::refused ? -1 : __real_getrandom(bytes, size, flags);
}
}
