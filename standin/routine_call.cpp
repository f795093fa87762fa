#include "standin/routine_call.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <utility>

#if defined(__i386__)
// Calls the first argument, a routine, with a copy of the words that the second one points to, their number times four
// bytes, while the stack lies the fourth argument's bytes below a multiple of 16. The routine's result stays where the
// routine left it, so this is called as a function of any result type.
extern "C" void standin_CallOnStack();
__asm__(R"(
    .text
    .type standin_CallOnStack, @function
standin_CallOnStack:
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
    .size standin_CallOnStack, . - standin_CallOnStack
)");
#endif

namespace standin {

#if defined(__i386__)

// Every argument is words on the stack, a double two.
void RoutineCall::Add(double number) {
    std::intptr_t halves[2];
    std::memcpy(halves, &number, sizeof number);
    words_.insert(words_.end(), std::begin(halves), std::end(halves));
}

template <class Result> Result RoutineCall::Run(void (*routine)()) const {
    using Caller = Result(void (*)(), const std::intptr_t *, std::size_t, int);
    return reinterpret_cast<Caller *>(standin_CallOnStack)(routine, words_.data(), words_.size(), stackShift_);
}

#else

namespace {

// Integers and doubles count separately: the first ones of each travel in registers, the other integers on the stack,
// so one wide prototype serves every signature with at most eight doubles.
#if defined(__aarch64__)
constexpr std::size_t kRegisters = 8;
#else
constexpr std::size_t kRegisters = 6;
#endif
constexpr std::size_t kMostDoubles = 8;
constexpr std::size_t kMostWords = 24;

template <std::size_t> using MachineWord = std::intptr_t;
template <std::size_t> using Double = double;

template <class Result, std::size_t... Register, std::size_t... Floating, std::size_t... Stack>
Result CallWith(void (*routine)(), const std::intptr_t *words, const double *doubles, std::index_sequence<Register...>,
                std::index_sequence<Floating...>, std::index_sequence<Stack...>) {
    using Routine = Result(MachineWord<Register>..., Double<Floating>..., MachineWord<Stack>...);
    return reinterpret_cast<Routine *>(routine)(words[Register]..., doubles[Floating]..., words[kRegisters + Stack]...);
}

} // namespace

void RoutineCall::Add(double number) { doubles_.push_back(number); }

template <class Result> Result RoutineCall::Run(void (*routine)()) const {
    std::array<std::intptr_t, kMostWords> words = {};
    std::array<double, kMostDoubles> doubles = {};
    if (words_.size() > words.size() || doubles_.size() > doubles.size())
        throw std::length_error("a routine with this many arguments cannot be called");
    std::copy(words_.begin(), words_.end(), words.begin());
    std::copy(doubles_.begin(), doubles_.end(), doubles.begin());
    return CallWith<Result>(routine, words.data(), doubles.data(), std::make_index_sequence<kRegisters>(),
                            std::make_index_sequence<kMostDoubles>(),
                            std::make_index_sequence<kMostWords - kRegisters>());
}

#endif

template std::intptr_t RoutineCall::Run(void (*routine)()) const;
template double RoutineCall::Run(void (*routine)()) const;

} // namespace standin
