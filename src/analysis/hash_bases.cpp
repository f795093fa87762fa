#include "analysis/find_picture.h"

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

void DrawByChance(HashBases (&bases)[kHashes]) {
    std::uint64_t words[2 * kHashes];
    if (getrandom(words, sizeof words, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof words)) {
        std::timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        std::uint64_t state =
            Mixed(static_cast<std::uint64_t>(now.tv_sec) << 30 ^ static_cast<std::uint64_t>(now.tv_nsec));
        state ^= Mixed(reinterpret_cast<std::uintptr_t>(&now)) ^ reinterpret_cast<std::uintptr_t>(&DrawByChance);
        for (std::uint64_t &word : words)
            word = Mixed(state++);
    }
    for (std::ptrdiff_t i = 0; i < kHashes; ++i)
        bases[i] = {static_cast<std::uint32_t>(words[2 * i] % kPrime),
                    static_cast<std::uint32_t>(words[2 * i + 1] % kPrime)};
}

} // namespace kvt
