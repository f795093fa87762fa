#pragma once

#include <cstddef>

namespace heap {

/// How many more allocations of cleared memory the heap grants; negative: all.
inline int granted = -1;

/// Lets it grant so many while this lives.
struct Grants {
    explicit Grants(int allocations) { granted = allocations; }
    ~Grants() { granted = -1; }
};

/// Bytes of the last such request, granted or not; 0 for none.
inline std::size_t asked = 0;

} // namespace heap

// The linker sends every calloc of the test program here, but not those of the libraries around it.
extern "C" {
void *__real_calloc(std::size_t count, std::size_t size);

[[gnu::used]] inline void *__wrap_calloc(std::size_t count, std::size_t size) {
    heap::asked = count * size;
    if (heap::granted == 0)
        return nullptr;
    if (heap::granted > 0)
        --heap::granted;
    return __real_calloc(count, size);
}
}
