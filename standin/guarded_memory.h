#pragma once

#include <cstddef>
#include <span>

namespace standin {

/// On which side of a piece of memory the inaccessible page lies directly; the other side has one too, at most a page
/// further away.
enum class Guard { Before, After };

/// Zeroed memory between inaccessible pages, so that a read or write of a single byte outside it faults at once. It can
/// be sealed: then nothing of it may be touched until it is opened again.
class GuardedMemory {
  public:
    GuardedMemory() = default;
    GuardedMemory(std::size_t size, Guard side);
    ~GuardedMemory();
    GuardedMemory(GuardedMemory &&other) noexcept;
    GuardedMemory &operator=(GuardedMemory &&other) noexcept;
    GuardedMemory(const GuardedMemory &) = delete;
    GuardedMemory &operator=(const GuardedMemory &) = delete;

    /// Aligned to 4 bytes at the least when the size is a multiple of 4.
    unsigned char *data() const { return piece_.data(); }
    std::size_t size() const { return piece_.size(); }
    bool sealed() const { return sealed_; }
    void Seal();
    void Open() const; ///< changes nothing of what it holds

    /// From now on the few large pieces given back last are kept, and cleared when memory of their size is asked for
    /// again: for benchmarks, since new pages cost the system much more, and on some machines their first users too.
    static void KeepLargePieces();

  private:
    std::span<unsigned char> piece_;
    std::span<unsigned char> pages_; ///< the accessible ones, between the two guards
    mutable bool sealed_ = false;
};

} // namespace standin
