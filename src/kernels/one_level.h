// A level's part of each_level.h, which names the level and the width of its vectors before.
#include "kernels/vector.h"

// Whether one instruction moves bytes anywhere within 16 of them, as on x86 from SSSE3 on.
#if defined(KVT_PORTABLE_BYTES) || KVT_VECTOR_BYTES == 16
#define KVT_SHUFFLES 0
#else
#define KVT_SHUFFLES 1
#endif

#ifdef KVT_PORTABLE_BYTES
#include "kernels/vector_portable.h"
#else
#include "kernels/vector_x86.h"
#endif

#include "kernels/loops.h"

#include KVT_KERNELS

#undef KVT_LEVEL
#undef KVT_VECTOR_BYTES
#undef KVT_SHUFFLES
