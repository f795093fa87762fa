#pragma once

#include <vector>

/// The instruction sets, named in the order of their levels.
inline constexpr const char *kLevelNames[] = {"Baseline", "Avx2", "Avx512"};

/// Whether there is more than the baseline for this kind of processor.
#if defined(__x86_64__) || defined(__i386__)
inline constexpr bool kHasLevels = true;
#else
inline constexpr bool kHasLevels = false;
#endif

/// The levels of this processor, found without the module's help, so that one that it wrongly falls back from is a
/// failure.
inline std::vector<int> EveryLevelOffered() {
    std::vector<int> levels = {0};
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("avx2"))
        levels.push_back(1);
    if (levels.size() == 2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512vbmi"))
        levels.push_back(2);
#endif
    return levels;
}
