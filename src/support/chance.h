#pragma once

#include <cstdint>

namespace kvt {

/// Fills `count` words that nobody can foresee, from the system's source of randomness; while that has none to give,
/// from the time and from where memory lies.
void DrawWords(std::uint64_t *words, int count);

} // namespace kvt
