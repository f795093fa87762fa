#pragma once

#include "pixels/inline.h"

#include <cstddef>
#include <type_traits>

namespace kvt {

/// What the kernels are compiled for. Every level yields the same bits.
enum class InstructionSet : int {
    Baseline = 0, ///< SSE2 on x86, plain code elsewhere
    Avx2 = 1,
    Avx512 = 2, ///< F, BW, DQ, VL and VBMI
};

/// The best level that the processor and its system offer, at most the forced one. Found out once.
InstructionSet ActiveInstructionSet();

extern "C" {
extern int gForcedLevel; ///< for tests and benchmarks: an InstructionSet's number, or -1 for the best one
extern int
    gActiveLevel; ///< of the code that ran last, noted by that code itself where it is compiled for a level; or -1
}

#if defined(__x86_64__) || defined(__i386__)
#define KVT_TARGET_AVX2 [[gnu::target("avx2")]]
#define KVT_TARGET_AVX512 [[gnu::target("avx2,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi")]]

template <class Body> KVT_TARGET_AVX2 auto RunWithAvx2(Body body) {
    gActiveLevel = static_cast<int>(InstructionSet::Avx2);
    return body();
}
template <class Body> KVT_TARGET_AVX512 auto RunWithAvx512(Body body) {
    gActiveLevel = static_cast<int>(InstructionSet::Avx512);
    return body();
}
#endif

/// Runs `body` (a lambda marked KVT_INLINE_LAMBDA that captures by value) compiled for the active level.
template <class Body> auto AtActiveLevel(Body body) {
    switch (ActiveInstructionSet()) {
#if defined(__x86_64__) || defined(__i386__)
    case InstructionSet::Avx512:
        return RunWithAvx512(body);
    case InstructionSet::Avx2:
        return RunWithAvx2(body);
#endif
    default:
        break;
    }
    gActiveLevel = static_cast<int>(InstructionSet::Baseline);
    return body();
}

/// Likewise, with the bytes of the level's widest vector as a constant, for a body that is written in vectors:
/// `body(std::integral_constant<std::size_t, 16>())`, or 32, or 64.
template <class Body> auto AtActiveWidth(Body body) {
    switch (ActiveInstructionSet()) {
#if defined(__x86_64__) || defined(__i386__)
    case InstructionSet::Avx512:
        return RunWithAvx512([=]() KVT_INLINE_LAMBDA { return body(std::integral_constant<std::size_t, 64>()); });
    case InstructionSet::Avx2:
        return RunWithAvx2([=]() KVT_INLINE_LAMBDA { return body(std::integral_constant<std::size_t, 32>()); });
#endif
    default:
        break;
    }
    gActiveLevel = static_cast<int>(InstructionSet::Baseline);
    return body(std::integral_constant<std::size_t, 16>());
}

} // namespace kvt
