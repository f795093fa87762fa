#include "standin/guarded_memory.h"

#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace standin {
namespace {

std::size_t PageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

} // namespace

GuardedMemory::GuardedMemory(std::size_t size, Guard side) : size_(size) {
    const std::size_t page = PageSize();
    pageBytes_ = (size + page - 1) / page * page;
    void *mapped = mmap(nullptr, pageBytes_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    pages_ = static_cast<unsigned char *>(mapped) + page;
    if (pageBytes_ > 0 && mprotect(pages_, pageBytes_, PROT_READ | PROT_WRITE) != 0) {
        munmap(mapped, pageBytes_ + 2 * page);
        throw std::bad_alloc();
    }
    data_ = side == Guard::Before ? pages_ : pages_ + pageBytes_ - size;
}

GuardedMemory::~GuardedMemory() {
    if (pages_)
        munmap(pages_ - PageSize(), pageBytes_ + 2 * PageSize());
}

GuardedMemory::GuardedMemory(GuardedMemory &&other) noexcept { *this = std::move(other); }

GuardedMemory &GuardedMemory::operator=(GuardedMemory &&other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(pages_, other.pages_);
    std::swap(pageBytes_, other.pageBytes_);
    std::swap(sealed_, other.sealed_);
    return *this;
}

void GuardedMemory::Seal() {
    if (pages_ && !sealed_)
        sealed_ = mprotect(pages_, pageBytes_, PROT_NONE) == 0;
}

void GuardedMemory::Open() const {
    if (sealed_)
        sealed_ = mprotect(pages_, pageBytes_, PROT_READ | PROT_WRITE) != 0;
}

} // namespace standin
