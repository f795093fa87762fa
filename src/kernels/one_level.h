// A level's part of each_level.h, which names the level and the width of its vectors before.
#include "kernels/vector.h"

#ifdef KVT_PORTABLE_BYTES
#include "kernels/vector_portable.h"
#else
#include "kernels/vector_x86.h"
#endif

#include "kernels/loops.h"

#include KVT_KERNELS

#undef KVT_LEVEL
#undef KVT_VECTOR_BYTES
