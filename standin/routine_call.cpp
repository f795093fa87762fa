#include "standin/routine_call.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

#if defined(__i386__)
// Calls the first argument, a routine, with a copy of the words that the second one points to, their number times four
// bytes, while the stack lies the fourth argument's bytes below a multiple of 16. The routine's result stays where the
// routine left it, so this is called as a function of any result type.
extern "C" void standin_CallShifted();
__asm__(R"(
    .text
    .type standin_CallShifted, @function
standin_CallShifted:
    pushl %ebp
    movl %esp, %ebp
    pushl %esi
    pushl %edi
    movl 12(%ebp), %esi
    movl 16(%ebp), %ecx
    leal 0(,%ecx,4), %eax
    subl %eax, %esp
    andl $-16, %esp
    subl 20(%ebp), %esp
    movl %esp, %edi
    cld
    rep movsl
    call *8(%ebp)
    leal -8(%ebp), %esp
    popl %edi
    popl %esi
    popl %ebp
    ret
    .size standin_CallShifted, . - standin_CallShifted
)");
#endif

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
    if (stackShift_ != 0) {
        using Shifted = Result(void (*)(), const std::intptr_t *, std::size_t, int);
        return reinterpret_cast<Shifted *>(standin_CallShifted)(routine, words.data(), used, stackShift_);
    }
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
