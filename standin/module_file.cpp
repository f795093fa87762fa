#include "standin/module_file.h"

#include "standin/elf_file.h"

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <link.h>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace standin {
namespace {

/// Where the variable lies from the module's load address on; 0 when the symbol table does not name it.
std::uintptr_t OffsetOf(const std::string &path, const char *name) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::filesystem::file_size(path)));
    std::ifstream(path, std::ios::binary)
        .read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    const ElfFile module(std::move(bytes));
    std::uintptr_t offset = 0;
    module.ForEachSymbol(ElfFile::All, [&](const ElfFile::Symbol &symbol) {
        if (symbol.defined && std::strcmp(symbol.name, name) == 0)
            offset = symbol.value;
    });
    return offset;
}

} // namespace

bool ModuleFile::IsLoaded(const std::string &path) {
    void *loaded = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    return loaded && dlclose(loaded) == 0;
}

ModuleFile::ModuleFile(const std::string &path) : path_(path) {
    if (IsLoaded(path))
        throw std::logic_error(path + " is still loaded, so it would not start afresh");
    handle_ = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!handle_)
        throw std::runtime_error(std::string("the module cannot be loaded: ") + dlerror());
}

ModuleFile::~ModuleFile() { dlclose(handle_); }

void *ModuleFile::Exported(const char *name) const { return dlsym(handle_, name); }

void *ModuleFile::Internal(const char *name) const {
    static std::map<std::pair<std::string, std::string>, std::uintptr_t> known; // a file stays as it is
    const auto [found, isNew] = known.try_emplace({path_, name});
    if (isNew)
        found->second = OffsetOf(path_, name);
    const std::uintptr_t offset = found->second;
    const link_map *map = nullptr;
    if (offset == 0 || dlinfo(handle_, RTLD_DI_LINKMAP, static_cast<void *>(&map)) != 0)
        return nullptr;
    return reinterpret_cast<void *>(map->l_addr + offset);
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
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "kvtpicture.so").string();
}

} // namespace standin
