#include "standin/module_file.h"

#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <link.h>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace standin {
namespace {

template <class Record> const Record *At(const std::vector<char> &bytes, std::size_t offset, std::size_t count = 1) {
    if (offset > bytes.size() || (bytes.size() - offset) / sizeof(Record) < count)
        throw std::runtime_error("the module's file ends before its symbol table");
    return reinterpret_cast<const Record *>(bytes.data() + offset);
}

/// Where the variable lies from the module's load address on; 0 when the symbol table does not name it.
std::size_t OffsetOf(const std::string &path, const char *name) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const auto *header = At<ElfW(Ehdr)>(bytes, 0);
    const auto *sections = At<ElfW(Shdr)>(bytes, header->e_shoff, header->e_shnum);
    for (unsigned i = 0; i < header->e_shnum; ++i) {
        if (sections[i].sh_type != SHT_SYMTAB || sections[i].sh_link >= header->e_shnum)
            continue;
        const ElfW(Shdr) &strings = sections[sections[i].sh_link];
        const std::size_t count = sections[i].sh_size / sizeof(ElfW(Sym));
        const auto *symbols = At<ElfW(Sym)>(bytes, sections[i].sh_offset, count);
        const char *names = At<char>(bytes, strings.sh_offset, strings.sh_size);
        for (std::size_t s = 0; s < count; ++s)
            if (symbols[s].st_shndx != SHN_UNDEF && symbols[s].st_name < strings.sh_size &&
                std::strcmp(names + symbols[s].st_name, name) == 0)
                return symbols[s].st_value;
    }
    return 0;
}

} // namespace

ModuleFile::ModuleFile(const std::string &path) : path_(path) {
    if (void *loaded = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
        dlclose(loaded);
        throw std::logic_error(path + " is still loaded, so it would not start afresh");
    }
    handle_ = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!handle_)
        throw std::runtime_error(std::string("the module cannot be loaded: ") + dlerror());
}

ModuleFile::~ModuleFile() { dlclose(handle_); }

void *ModuleFile::Exported(const char *name) const { return dlsym(handle_, name); }

void *ModuleFile::Internal(const char *name) const {
    static std::map<std::pair<std::string, std::string>, std::size_t> known; // a file stays as it is
    const auto [found, isNew] = known.try_emplace({path_, name});
    if (isNew)
        found->second = OffsetOf(path_, name);
    const std::size_t offset = found->second;
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
    for (std::size_t i = 0; calls && i < bytes / sizeof *calls; ++i)
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
