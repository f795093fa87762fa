#pragma once

/// Inlined at every call, so that a kernel's whole body is compiled for one instruction set. Stands first in a
/// declaration; behind the parameter list of a lambda stands KVT_INLINE_LAMBDA.
#define KVT_INLINE [[gnu::always_inline]] inline
#define KVT_INLINE_LAMBDA __attribute__((always_inline))

/// Before a loop whose iterations touch no byte of another's. KVT_UNROLLED, before a loop, handles four iterations at a
/// time. Functions between KVT_BEGIN_TARGET and KVT_END_TARGET use the instructions that the first one names.
#define KVT_PRAGMA(text) _Pragma(#text)
#if defined(__clang__)
#define KVT_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#define KVT_UNROLLED _Pragma("clang loop unroll_count(4)")
#define KVT_BEGIN_TARGET(features)                                                                                     \
    KVT_PRAGMA(clang attribute push(__attribute__((target(features))), apply_to = function))
#define KVT_END_TARGET _Pragma("clang attribute pop")
#else
#define KVT_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#define KVT_UNROLLED _Pragma("GCC unroll 4")
#define KVT_BEGIN_TARGET(features) _Pragma("GCC push_options") KVT_PRAGMA(GCC target(features))
#define KVT_END_TARGET _Pragma("GCC pop_options")
#endif
