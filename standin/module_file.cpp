#include "standin/module_file.h"

#include "standin/elf_file.h"

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <link.h>
#include <stdexcept>
#include <vector>

namespace standin {
namespace {

/// Where the variable lies from the module's load address on; 0 when the symbol table does not name it.
std::uintptr_t OffsetOf(const std::string &path, const char *name) {
    std::ifstream file(path, std::ios::binary);
    const ElfFile module({std::istreambuf_iterator<char>(file), {}});
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
    const std::uintptr_t offset = OffsetOf(path_, name);
    const link_map *map = nullptr;
    if (offset == 0 || dlinfo(handle_, RTLD_DI_LINKMAP, static_cast<void *>(&map)) != 0)
        return nullptr;
    return reinterpret_cast<void *>(map->l_addr + offset);
}

std::string ModuleBesideProgram() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "kvtpicture.so").string();
}

} // namespace standin
