#include "pixels/instruction_set.h"

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
InstructionSet BestLevel() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx) || !(ecx & bit_OSXSAVE))
        return InstructionSet::Baseline;
    unsigned stateLow = 0;
    unsigned stateHigh = 0;
    __asm__("xgetbv" : "=a"(stateLow), "=d"(stateHigh) : "c"(0));
    constexpr unsigned kYmmState = 0x06;
    constexpr unsigned kZmmState = 0xE6;
    if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) || (stateLow & kYmmState) != kYmmState || !(ebx & bit_AVX2))
        return InstructionSet::Baseline;
    constexpr unsigned kAvx512 = bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL;
    if ((stateLow & kZmmState) != kZmmState || (ebx & kAvx512) != kAvx512 || !(ecx & bit_AVX512VBMI))
        return InstructionSet::Avx2;
    return InstructionSet::Avx512;
}
#else
InstructionSet BestLevel() { return InstructionSet::Baseline; }
#endif

} // namespace

InstructionSet ActiveInstructionSet() {
    static int best = -1;
    if (best < 0)
        best = static_cast<int>(BestLevel());
    gActiveLevel = gForcedLevel >= 0 && gForcedLevel < best ? gForcedLevel : best;
    return static_cast<InstructionSet>(gActiveLevel);
}

} // namespace kvt
