#pragma once

#include "kernels/inline.h"

#include <cstdint>

/// Arithmetic modulo a prime whose products fit 64 bits. 2^31 is 1 there, so that upper bits are added to lower ones.
namespace kvt {

inline constexpr std::uint32_t kPrime = 0x7FFFFFFF;

/// A smaller number of the same residue: below 2^33 + 2^31 for any, at most 2^31 + 4 for one of those, and at most
/// 2^32 - 2 for a product of up to 2^31 * kPrime.
KVT_INLINE constexpr std::uint64_t Fold(std::uint64_t value) { return (value & kPrime) + (value >> 31); }

/// The residue itself, below kPrime.
KVT_INLINE constexpr std::uint32_t Residue(std::uint64_t value) {
    const auto folded = static_cast<std::uint32_t>(Fold(Fold(value)));
    return folded >= kPrime ? folded - kPrime : folded;
}

/// Of numbers below 2^32.
KVT_INLINE constexpr std::uint32_t Product(std::uint64_t a, std::uint64_t b) { return Residue(a * b); }

} // namespace kvt
