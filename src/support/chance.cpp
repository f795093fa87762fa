#include "support/chance.h"

#include <cstddef>
#include <ctime>
#include <sys/random.h>

namespace kvt {
namespace {

/// Each bit of the result depends on all of the word's.
std::uint64_t Mixed(std::uint64_t word) {
    word = (word ^ word >> 32) * 0xD6E8FEB86659FD93u;
    word = (word ^ word >> 32) * 0xD6E8FEB86659FD93u;
    return word ^ word >> 32;
}

} // namespace

void DrawWords(std::uint64_t *words, int count) {
    const std::size_t size = static_cast<std::size_t>(count) * sizeof *words;
    if (getrandom(words, size, GRND_NONBLOCK) == static_cast<ssize_t>(size))
        return;
    std::timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::uint64_t state = Mixed(static_cast<std::uint64_t>(now.tv_sec) << 30 ^ static_cast<std::uint64_t>(now.tv_nsec));
    state ^= Mixed(reinterpret_cast<std::uintptr_t>(&now)) ^ reinterpret_cast<std::uintptr_t>(&DrawWords);
    for (int i = 0; i < count; ++i)
        words[i] = Mixed(state + static_cast<std::uint64_t>(i));
}

} // namespace kvt
