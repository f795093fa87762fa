#pragma once

#include <cstddef>

namespace kvt {

/// What kernels are compiled for. Every level yields the same bits.
enum class Level : int {
    Baseline = 0, ///< SSE2 on x86, plain code elsewhere
    Avx2 = 1,
    Avx512 = 2, ///< F, BW, DQ, VL and VBMI
};

extern "C" {
extern int gForcedLevel; ///< for tests and benchmarks: the number of a Level that is not to be passed, or -1
extern int gActiveLevel; ///< the level of the form that was selected last; -1 before the first
}

/// The best of the first `forms` levels that the processor and its system offer and that is not above the forced one.
std::size_t BestLevel(std::size_t forms);

/// The form of a kernel to run: forms for the lowest levels, the lowest one first. KVT_SELECT in each_level.h names
/// them.
template <class Function, std::size_t kForms> Function *Select(Function *const (&forms)[kForms]) {
    return forms[BestLevel(kForms)];
}

} // namespace kvt
