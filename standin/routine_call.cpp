#include "standin/routine_call.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace standin {
namespace {

template <std::size_t> using Word = std::intptr_t;
template <std::size_t> using Double = double;

template <class Result, std::size_t... Index>
Result CallWithWords(void (*routine)(), const std::array<std::intptr_t, sizeof...(Index)> &words,
                     std::index_sequence<Index...>) {
    return reinterpret_cast<Result (*)(Word<Index>...)>(routine)(words[Index]...);
}

template <class Result, std::size_t... Register, std::size_t... Floating, std::size_t... Stack>
Result CallWithRegisters(void (*routine)(), const std::array<std::intptr_t, RoutineCall::kLargest> &words,
                         const std::array<double, 8> &doubles, std::index_sequence<Register...>,
                         std::index_sequence<Floating...>, std::index_sequence<Stack...>) {
    using Routine = Result(Word<Register>..., Double<Floating>..., Word<Stack>...);
    return reinterpret_cast<Routine *>(routine)(words[Register]..., doubles[Floating]...,
                                                words[sizeof...(Register) + Stack]...);
}

#if defined(__i386__)
// The stack is set by hand: the compiler aligns it for every call that it makes itself.
#define KVT_CALL_SHIFTED                                                                                               \
    "movl %%esp, %%ebx\n\t"                                                                                            \
    "andl $-16, %%esp\n\t"                                                                                             \
    "subl %%eax, %%esp\n\t"                                                                                            \
    "movl %%esp, %%edi\n\t"                                                                                            \
    "cld\n\t"                                                                                                          \
    "rep movsl\n\t"                                                                                                    \
    "call *%%edx\n\t"                                                                                                  \
    "movl %%ebx, %%esp"
#define KVT_CALL_CLOBBERS                                                                                              \
    "ebx", "edi", "cc", "memory", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)", "xmm0", "xmm1",       \
        "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7"

template <class Result>
Result CallShifted(void (*routine)(), const std::array<std::intptr_t, RoutineCall::kLargest> &words, int shift) {
    auto result = static_cast<std::intptr_t>(sizeof words) + shift; // at first: what is taken from the stack
    const std::intptr_t *from = words.data();
    std::size_t count = words.size();
    static_assert(sizeof words % 16 == 0);
    if constexpr (std::is_same_v<Result, double>) {
        double number;
        asm volatile(KVT_CALL_SHIFTED
                     : "+a"(result), "+d"(routine), "+S"(from), "+c"(count), "=t"(number)
                     :
                     : KVT_CALL_CLOBBERS);
        return number;
    } else {
        asm volatile(KVT_CALL_SHIFTED
                     : "+a"(result), "+d"(routine), "+S"(from), "+c"(count)
                     :
                     : KVT_CALL_CLOBBERS, "st");
        return static_cast<Result>(result);
    }
}
#endif

} // namespace

template <class Result> Result RoutineCall::RunAs(void (*routine)()) const {
    std::array<std::intptr_t, kLargest> words = {};
    const auto refuse = [] { throw std::length_error("a routine with this many arguments cannot be called"); };
#if __SIZEOF_POINTER__ == 4
    // Every argument is words on the stack, a double two; the caller clears them, so words beyond the last do no harm.
    std::size_t used = 0;
    auto word = words_.begin();
    auto number = doubles_.begin();
    for (const bool isDouble : order_) {
        if (used + (isDouble ? 2 : 1) > kLargest)
            refuse();
        if (isDouble) {
            std::memcpy(&words[used], &*number++, sizeof(double));
            used += 2;
        } else {
            words[used++] = *word++;
        }
    }
#if defined(__i386__)
    if (stackShift_ != 0)
        return CallShifted<Result>(routine, words, stackShift_);
#endif
    return CallWithWords<Result>(routine, words, std::make_index_sequence<kLargest>());
#else
    // Integers and doubles count separately: the first ones of each travel in registers, the other integers on the
    // stack, so one wide prototype serves every signature with at most eight doubles.
#if defined(__aarch64__)
    constexpr std::size_t kRegisters = 8;
#else
    constexpr std::size_t kRegisters = 6;
#endif
    std::array<double, 8> doubles = {};
    if (words_.size() > words.size() || doubles_.size() > doubles.size())
        refuse();
    std::copy(words_.begin(), words_.end(), words.begin());
    std::copy(doubles_.begin(), doubles_.end(), doubles.begin());
    return CallWithRegisters<Result>(routine, words, doubles, std::make_index_sequence<kRegisters>(),
                                     std::make_index_sequence<8>(), std::make_index_sequence<kLargest - kRegisters>());
#endif
}

std::intptr_t RoutineCall::Run(void (*routine)()) const { return RunAs<std::intptr_t>(routine); }
double RoutineCall::RunForDouble(void (*routine)()) const { return RunAs<double>(routine); }
unsigned char RoutineCall::RunForByte(void (*routine)()) const { return RunAs<unsigned char>(routine); }

} // namespace standin
