#pragma once

/// Inlined at every call, so that a kernel's whole body is compiled for one instruction set. Stands first in a
/// declaration; behind the parameter list of a lambda stands KVT_INLINE_LAMBDA.
#define KVT_INLINE [[gnu::always_inline]] inline
#define KVT_INLINE_LAMBDA __attribute__((always_inline))

/// Before a loop whose iterations touch no byte of another's. KVT_UNROLLED, before a loop, handles four iterations at a
/// time.
#if defined(__clang__)
#define KVT_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#define KVT_UNROLLED _Pragma("clang loop unroll_count(4)")
#else
#define KVT_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#define KVT_UNROLLED _Pragma("GCC unroll 4")
#endif
