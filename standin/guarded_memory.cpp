#include "standin/guarded_memory.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace standin {
namespace {

constexpr std::size_t kLarge = std::size_t{1} << 20;
constexpr std::size_t kMostKept = 3;

std::size_t PageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

} // namespace

bool GuardedMemory::keepsLargePieces_ = false;
std::vector<GuardedMemory::Pages> GuardedMemory::kept_;

void GuardedMemory::KeepLargePieces() {
    kept_.reserve(kMostKept);
    keepsLargePieces_ = true;
}

GuardedMemory::Pages GuardedMemory::Map(std::size_t bytes) {
    const std::size_t page = PageSize();
    void *mapped = mmap(nullptr, bytes + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    const Pages pages{static_cast<unsigned char *>(mapped) + page, bytes};
    if (bytes > 0 && mprotect(pages.start, bytes, PROT_READ | PROT_WRITE) != 0) {
        Unmap(pages);
        throw std::bad_alloc();
    }
    if (bytes >= kLarge)
        madvise(pages.start, bytes,
                MADV_HUGEPAGE); // where the system has them: most of a large picture's cost is faults
    return pages;
}

void GuardedMemory::Unmap(Pages pages) { munmap(pages.start - PageSize(), pages.bytes + 2 * PageSize()); }

GuardedMemory::Pages GuardedMemory::TakeKept(std::size_t bytes) {
    const auto found = std::find_if(kept_.begin(), kept_.end(), [&](Pages kept) { return kept.bytes == bytes; });
    if (found == kept_.end())
        return {};
    const Pages pages = *found;
    kept_.erase(found);
    std::memset(pages.start, 0, pages.bytes);
    return pages;
}

GuardedMemory::GuardedMemory(std::size_t size, Guard side) : size_(size) {
    const std::size_t bytes = (size + PageSize() - 1) / PageSize() * PageSize();
    pages_ = TakeKept(bytes);
    if (!pages_.start)
        pages_ = Map(bytes);
    data_ = side == Guard::Before ? pages_.start : pages_.start + bytes - size;
}

GuardedMemory::~GuardedMemory() {
    if (!pages_.start)
        return;
    if (!keepsLargePieces_ || sealed_ || pages_.bytes < kLarge) {
        Unmap(pages_);
        return;
    }
    if (kept_.size() == kMostKept) {
        Unmap(kept_.front());
        kept_.erase(kept_.begin());
    }
    kept_.push_back(pages_);
}

GuardedMemory::GuardedMemory(GuardedMemory &&other) noexcept { *this = std::move(other); }

GuardedMemory &GuardedMemory::operator=(GuardedMemory &&other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(pages_, other.pages_);
    std::swap(sealed_, other.sealed_);
    return *this;
}

void GuardedMemory::Seal() {
    if (pages_.start && !sealed_)
        sealed_ = mprotect(pages_.start, pages_.bytes, PROT_NONE) == 0;
}

void GuardedMemory::Open() const {
    if (sealed_)
        sealed_ = mprotect(pages_.start, pages_.bytes, PROT_READ | PROT_WRITE) != 0;
}

} // namespace standin
