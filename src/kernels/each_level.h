// Compiles a file of kernels once for each level, each time in a namespace of its own: kvt::baseline, kvt::avx2 and,
// where KVT_WITH_AVX512 is defined, kvt::avx512. Once a source file:
//
//     #define KVT_KERNELS "tone/inversion_kernel.h"
//     #include "kernels/each_level.h"
//
// KVT_SELECT(name) is then the form of a kernel for the processor at hand. A file of kernels finds the vector of its
// level (vector.h) and the loops over pixels (loops.h) ready, stands in namespace kvt::KVT_LEVEL, has no include guard,
// and calls nothing that is not inlined. A level that gains less than a fifth over the one below is left out.
#include "kernels/inline.h"
#include "kernels/job.h"
#include "kernels/level.h"
#include "kernels/rgb.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// KVT_PORTABLE_BYTES, an option of the build, has all kernels run on vectors of that width without any processor's
// instructions. Other processors run the width of the baseline so.
#if !defined(KVT_PORTABLE_BYTES) && !defined(__x86_64__) && !defined(__i386__)
#define KVT_PORTABLE_BYTES 16
#endif

#ifdef KVT_PORTABLE_BYTES
#define KVT_LEVEL baseline
#define KVT_VECTOR_BYTES KVT_PORTABLE_BYTES
#include "kernels/one_level.h"
#define KVT_SELECT(name) ::kvt::Select({&::kvt::baseline::name})
#else

#include <immintrin.h>

#define KVT_LEVEL baseline
#define KVT_VECTOR_BYTES 16
#include "kernels/one_level.h"

#define KVT_LEVEL avx2
#define KVT_VECTOR_BYTES 32
KVT_BEGIN_TARGET("avx2")
#include "kernels/one_level.h"
KVT_END_TARGET

#ifdef KVT_WITH_AVX512
#define KVT_LEVEL avx512
#define KVT_VECTOR_BYTES 64
KVT_BEGIN_TARGET("avx2,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi")
#include "kernels/one_level.h"
KVT_END_TARGET
#define KVT_SELECT(name) ::kvt::Select({&::kvt::baseline::name, &::kvt::avx2::name, &::kvt::avx512::name})
#else
#define KVT_SELECT(name) ::kvt::Select({&::kvt::baseline::name, &::kvt::avx2::name})
#endif
#endif
