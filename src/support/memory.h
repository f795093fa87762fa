#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace kvt {

/// Sets `size` bytes to zero.
inline void ClearMemory(void *memory, std::size_t size) { std::memset(memory, 0, size); }

/// `size` zeroed bytes from the process heap, given back with FreeMemoryNow. Null when `size` is outside 1..0x7FFFFFFF
/// or the heap refuses.
inline void *AllocateClearMemory(long long size) {
    return size < 1 || size > 0x7FFFFFFF ? nullptr : std::calloc(1, static_cast<std::size_t>(size));
}

/// Returns what AllocateClearMemory (or the module's own copy of a string's bytes) took. Null is fine.
inline void FreeMemoryNow(const void *memory) { std::free(const_cast<void *>(memory)); }

/// A zeroed array of `count` elements that goes back to the heap with its owner. Converts to false when the heap
/// refused, when `count` is below 1, or when it would be larger than 0x7FFFFFFF bytes.
template <class Element> class ClearBuffer {
  public:
    explicit ClearBuffer(long long count)
        : elements_(static_cast<Element *>(
              AllocateClearMemory(count > 0x7FFFFFFF ? 0 : count * static_cast<long long>(sizeof(Element))))) {}
    ~ClearBuffer() { FreeMemoryNow(elements_); }
    ClearBuffer(const ClearBuffer &) = delete;
    ClearBuffer &operator=(const ClearBuffer &) = delete;

    explicit operator bool() const { return elements_ != nullptr; }
    Element *data() { return elements_; }
    const Element *data() const { return elements_; }
    Element &operator[](std::ptrdiff_t index) { return elements_[index]; }
    const Element &operator[](std::ptrdiff_t index) const { return elements_[index]; }

  private:
    Element *elements_;
};

} // namespace kvt
