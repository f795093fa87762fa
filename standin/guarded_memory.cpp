#include "standin/guarded_memory.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace standin {
namespace {

constexpr std::size_t kLarge = std::size_t{1} << 20;
constexpr std::size_t kMostKept = 3;

std::size_t PageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

using Pages = std::span<unsigned char>;

bool gKeepsLargePieces = false;
std::vector<Pages> gKept; ///< the oldest first

void Unmap(Pages pages) { munmap(pages.data() - PageSize(), pages.size() + 2 * PageSize()); }

Pages Map(std::size_t bytes) {
    const std::size_t page = PageSize();
    void *mapped = mmap(nullptr, bytes + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    const Pages pages{static_cast<unsigned char *>(mapped) + page, bytes};
    if (bytes > 0 && mprotect(pages.data(), bytes, PROT_READ | PROT_WRITE) != 0) {
        Unmap(pages);
        throw std::bad_alloc();
    }
    if (bytes >= kLarge) // where the system has huge pages: most of a large picture's cost is faults
        madvise(pages.data(), bytes, MADV_HUGEPAGE);
    return pages;
}

Pages TakeKept(std::size_t bytes) {
    const auto found = std::find_if(gKept.begin(), gKept.end(), [&](Pages kept) { return kept.size() == bytes; });
    if (found == gKept.end())
        return {};
    const Pages pages = *found;
    gKept.erase(found);
    std::memset(pages.data(), 0, pages.size());
    return pages;
}

} // namespace

void GuardedMemory::KeepLargePieces() {
    gKept.reserve(kMostKept);
    gKeepsLargePieces = true;
}

GuardedMemory::GuardedMemory(std::size_t size, Guard side) {
    const std::size_t bytes = (size + PageSize() - 1) / PageSize() * PageSize();
    pages_ = TakeKept(bytes);
    if (!pages_.data())
        pages_ = Map(bytes);
    piece_ = side == Guard::Before ? pages_.first(size) : pages_.last(size);
}

GuardedMemory::~GuardedMemory() {
    if (!pages_.data())
        return;
    if (!gKeepsLargePieces || sealed_ || pages_.size() < kLarge) {
        Unmap(pages_);
        return;
    }
    if (gKept.size() == kMostKept) {
        Unmap(gKept.front());
        gKept.erase(gKept.begin());
    }
    gKept.push_back(pages_);
}

GuardedMemory::GuardedMemory(GuardedMemory &&other) noexcept { *this = std::move(other); }

GuardedMemory &GuardedMemory::operator=(GuardedMemory &&other) noexcept {
    std::swap(piece_, other.piece_);
    std::swap(pages_, other.pages_);
    std::swap(sealed_, other.sealed_);
    return *this;
}

void GuardedMemory::Seal() {
    if (pages_.data() && !sealed_)
        sealed_ = mprotect(pages_.data(), pages_.size(), PROT_NONE) == 0;
}

void GuardedMemory::Open() const {
    if (sealed_)
        sealed_ = mprotect(pages_.data(), pages_.size(), PROT_READ | PROT_WRITE) != 0;
}

} // namespace standin
