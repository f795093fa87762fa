#pragma once

#include <cstdint>
#include <vector>

namespace standin {

/// Calls a routine whose signature is known only at run time, by the platform's calling convention. Arguments are added
/// in the order of the declaration. Integers narrower than a word are passed as the compiler passes them, extended.
class RoutineCall {
  public:
    /// With the first arguments. `stackShift`: how far off 16-byte alignment the routine finds the stack, a multiple of
    /// 4; it is for 32-bit x86 alone, others keep the alignment that compiled code relies on.
    template <class... Arguments>
    explicit RoutineCall(int stackShift, Arguments... arguments) : stackShift_(stackShift) {
        (Add(arguments), ...);
    }

    void Add(std::intptr_t word) { words_.push_back(word); }
    void Add(const void *address) { Add(reinterpret_cast<std::intptr_t>(address)); }
    void Add(double number);

    /// A double, or a word: a handle or address, a 32-bit or 8-bit result in the low bits, of which the others are
    /// anything, or whatever a routine without result leaves. Throws std::length_error for more arguments than can be
    /// passed.
    template <class Result = std::intptr_t> Result Run(void (*routine)()) const;

  private:
    int stackShift_;
    std::vector<std::intptr_t> words_;
    std::vector<double> doubles_; ///< where they do not travel as words
};

} // namespace standin
