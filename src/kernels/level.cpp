#include "kernels/level.h"

#include <algorithm>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

extern "C" {
int gForcedLevel = -1;
int gActiveLevel = -1;
}

namespace kvt {
namespace {

#if defined(__x86_64__) || defined(__i386__)
// Asked of the processor directly: the compiler's run-time for this would bring an initialiser into the module.
Level OfferedLevel() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx) || !(ecx & bit_OSXSAVE))
        return Level::Baseline;
    unsigned stateLow = 0;
    unsigned stateHigh = 0;
    __asm__("xgetbv" : "=a"(stateLow), "=d"(stateHigh) : "c"(0));
    constexpr unsigned kYmmState = 0x06;
    constexpr unsigned kZmmState = 0xE6;
    if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) || (stateLow & kYmmState) != kYmmState || !(ebx & bit_AVX2))
        return Level::Baseline;
    constexpr unsigned kAvx512 = bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL;
    if ((stateLow & kZmmState) != kZmmState || (ebx & kAvx512) != kAvx512 || !(ecx & bit_AVX512VBMI))
        return Level::Avx2;
    return Level::Avx512;
}
#else
Level OfferedLevel() { return Level::Baseline; }
#endif

} // namespace

std::size_t BestLevel(std::size_t forms) {
    static int offered = -1;
    if (offered < 0)
        offered = static_cast<int>(OfferedLevel());
    const int allowed = gForcedLevel >= 0 ? std::min(gForcedLevel, offered) : offered;
    gActiveLevel = std::min(allowed, static_cast<int>(forms) - 1);
    return static_cast<std::size_t>(gActiveLevel);
}

} // namespace kvt
