#pragma once

/// Inlined at every call, so that a kernel's whole body is compiled for the instruction set of the wrapper around it.
/// Stands first in a declaration; behind the parameter list of a lambda stands KVT_INLINE_LAMBDA.
#define KVT_INLINE [[gnu::always_inline]] inline
#define KVT_INLINE_LAMBDA __attribute__((always_inline))

/// Before a loop whose iterations touch no byte of another's: source and target rows are either the very same pixels
/// or do not overlap. KVT_UNROLLED, before a loop, handles four iterations at a time.
#if defined(__clang__)
#define KVT_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#define KVT_UNROLLED _Pragma("clang loop unroll_count(4)")
#else
#define KVT_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#define KVT_UNROLLED _Pragma("GCC unroll 4")
#endif

/// Hides from the compiler where an integer comes from, so that a loop around it stays scalar.
#define KVT_OPAQUE(integer) __asm__("" : "+r"(integer))
