#include "standin/module_file.h"

#include "standin/elf_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <map>
#include <span>
#include <stdexcept>
#include <unistd.h>
#include <utility>
#include <vector>

namespace standin {
namespace {

/// Where the variable lies from the module's load address on; 0 when the symbol table does not name it.
std::uintptr_t OffsetOf(const std::string &path, const char *name) {
    const ElfFile module(ReadFile(path));
    std::uintptr_t offset = 0;
    module.ForEachSymbol(ElfFile::All, [&](const ElfFile::Symbol &symbol) {
        if (symbol.defined && std::strcmp(symbol.name, name) == 0)
            offset = symbol.value;
    });
    return offset;
}

std::uintptr_t LoadAddress(void *handle) {
    const link_map *map = nullptr;
    return dlinfo(handle, RTLD_DI_LINKMAP, static_cast<void *>(&map)) == 0 ? map->l_addr : 0;
}

/// Where the variables of a loaded module lie, the addresses of functions that it imports among them; without what the
/// loader protected when it was done.
std::span<unsigned char> VariablesOf(void *handle) {
    struct Search {
        std::uintptr_t loadAddress, begin = 0, end = 0, protectedEnd = 0;
    } search{LoadAddress(handle)};
    dl_iterate_phdr(
        [](dl_phdr_info *object, std::size_t, void *data) {
            auto &found = *static_cast<Search *>(data);
            if (object->dlpi_addr != found.loadAddress)
                return 0;
            for (const auto &part : std::span(object->dlpi_phdr, object->dlpi_phnum)) {
                const std::uintptr_t begin = object->dlpi_addr + part.p_vaddr;
                if (part.p_type == PT_LOAD && (part.p_flags & PF_W) != 0) {
                    found.begin = begin;
                    found.end = begin + part.p_memsz;
                } else if (part.p_type == PT_GNU_RELRO) { // whole pages alone can be protected
                    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
                    found.protectedEnd = (begin + part.p_memsz) / page * page;
                }
            }
            return 1;
        },
        &search);
    const std::uintptr_t begin = std::max(search.begin, search.protectedEnd);
    return {reinterpret_cast<unsigned char *>(begin), search.end - begin};
}

/// A module that stays in memory.
struct KeptModule {
    void *handle;
    std::span<unsigned char> variables;
    std::vector<unsigned char> fresh; ///< what the variables held when it was loaded
};

std::map<std::string, KeptModule> &KeptModules() {
    static std::map<std::string, KeptModule> kept;
    return kept;
}

/// Byte by byte, since the address sanitizer lets no library function touch what it laid between a module's variables.
__attribute__((no_sanitize("address"))) void CopyBytes(const unsigned char *from, volatile unsigned char *to,
                                                       std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = from[i];
}

} // namespace

bool ModuleFile::IsLoaded(const std::string &path) {
    void *loaded = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    return loaded && dlclose(loaded) == 0;
}

ModuleFile::ModuleFile(const std::string &path, Unloading unloading) : path_(path), unloading_(unloading) {
    if (const auto found = KeptModules().find(path); found != KeptModules().end()) {
        const KeptModule &kept = found->second;
        CopyBytes(kept.fresh.data(), kept.variables.data(), kept.fresh.size());
        handle_ = kept.handle;
        unloading_ = Unloading::Pretended;
        return;
    }
    if (IsLoaded(path))
        throw std::logic_error(path + " is still loaded, so it would not start afresh");
    handle_ = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!handle_)
        throw std::runtime_error(std::string("the module cannot be loaded: ") + dlerror());
    if (unloading == Unloading::Pretended) {
        const std::span<unsigned char> variables = VariablesOf(handle_);
        KeptModule &kept = KeptModules()[path] = {handle_, variables, std::vector<unsigned char>(variables.size())};
        CopyBytes(variables.data(), kept.fresh.data(), variables.size());
    }
}

ModuleFile::~ModuleFile() {
    if (unloading_ == Unloading::Real)
        dlclose(handle_);
}

void *ModuleFile::Exported(const char *name) const { return dlsym(handle_, name); }

void *ModuleFile::Internal(const char *name) const {
    static std::map<std::pair<std::string, std::string>, std::uintptr_t> known; // a file stays as it is
    const auto [found, isNew] = known.try_emplace({path_, name});
    if (isNew)
        found->second = OffsetOf(path_, name);
    return found->second == 0 ? nullptr : reinterpret_cast<void *>(LoadAddress(handle_) + found->second);
}

bool ModuleFile::Redirect(const char *name, void *replacement) const {
#if __SIZEOF_POINTER__ == 4
    using Relocation = ElfW(Rel);
    const auto symbolOf = [](const Relocation &relocation) { return ELF32_R_SYM(relocation.r_info); };
#else
    using Relocation = ElfW(Rela);
    const auto symbolOf = [](const Relocation &relocation) { return ELF64_R_SYM(relocation.r_info); };
#endif
    const link_map *map = nullptr;
    if (dlinfo(handle_, RTLD_DI_LINKMAP, static_cast<void *>(&map)) != 0)
        return false;
    const Relocation *calls = nullptr;
    std::size_t bytes = 0;
    const ElfW(Sym) *symbols = nullptr;
    const char *names = nullptr;
    for (const ElfW(Dyn) *entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_JMPREL)
            calls = reinterpret_cast<const Relocation *>(entry->d_un.d_ptr);
        else if (entry->d_tag == DT_PLTRELSZ)
            bytes = entry->d_un.d_val;
        else if (entry->d_tag == DT_SYMTAB)
            symbols = reinterpret_cast<const ElfW(Sym) *>(entry->d_un.d_ptr);
        else if (entry->d_tag == DT_STRTAB)
            names = reinterpret_cast<const char *>(entry->d_un.d_ptr);
    }
    for (std::size_t i = 0; calls && symbols && names && i < bytes / sizeof *calls; ++i)
        if (std::strcmp(names + symbols[symbolOf(calls[i])].st_name, name) == 0) {
            std::memcpy(reinterpret_cast<void *>(map->l_addr + calls[i].r_offset), &replacement, sizeof replacement);
            return true;
        }
    return false;
}

std::string ModuleBesideProgram() {
    const char *named = std::getenv("KVT_MODULE");
    return named ? named : (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "kvtpicture.so").string();
}

} // namespace standin
