#include "support/memory.h"

#include <cstdlib>
#include <cstring>

namespace kvt {

void ClearMemory(void *memory, std::size_t size) { std::memset(memory, 0, size); }

void *AllocateClearMemory(long long size) {
    return size < 1 || size > 0x7FFFFFFF ? nullptr : std::calloc(1, static_cast<std::size_t>(size));
}

void FreeMemoryNow(const void *memory) { std::free(const_cast<void *>(memory)); }

} // namespace kvt
