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

const link_map &MapOf(void *handle) {
    const link_map *map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, static_cast<void *>(&map)) != 0)
        throw std::runtime_error(std::string("the loader does not tell where the module lies: ") + dlerror());
    return *map;
}

/// The words of a loaded module's variables, the addresses of functions that it imports among them; without what the
/// loader protected when it was done. The last word is whole, as the page is.
std::span<std::uintptr_t> VariablesOf(void *handle) {
    const std::uintptr_t loadAddress = MapOf(handle).l_addr;
    const auto *header = reinterpret_cast<const ElfW(Ehdr) *>(loadAddress);
    const std::span parts(reinterpret_cast<const ElfW(Phdr) *>(loadAddress + header->e_phoff), header->e_phnum);
    std::uintptr_t begin = 0, end = 0, protectedEnd = 0;
    for (const ElfW(Phdr) & part : parts) {
        const std::uintptr_t first = loadAddress + part.p_vaddr;
        if (part.p_type == PT_LOAD && (part.p_flags & PF_W) != 0) {
            begin = first;
            end = first + part.p_memsz;
        } else if (part.p_type == PT_GNU_RELRO) { // whole pages alone can be protected
            const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
            protectedEnd = (first + part.p_memsz) / page * page;
        }
    }
    begin = std::max(begin, protectedEnd);
    constexpr std::uintptr_t kWord = sizeof(std::uintptr_t);
    return {reinterpret_cast<std::uintptr_t *>(begin), (end - begin + kWord - 1) / kWord};
}

/// The value of the loaded module's dynamic entry with that tag; 0 when it has none.
std::uintptr_t DynamicEntry(const link_map &map, std::intptr_t tag) {
    for (const ElfW(Dyn) *entry = map.l_ld; entry->d_tag != DT_NULL; ++entry)
        if (entry->d_tag == tag)
            return entry->d_un.d_ptr;
    return 0;
}

/// Whether nothing but the C run-time's own function runs when the module is loaded and when it is unloaded: then its
/// variables are all that tells it from one that was just loaded. Sanitizers run nothing of their own that calls could
/// tell.
bool RunsNothingByItself([[maybe_unused]] void *handle) {
#ifdef KVT_SANITIZE
    return true;
#else
    const link_map &map = MapOf(handle);
    return DynamicEntry(map, DT_INIT_ARRAYSZ) <= sizeof(void *) && DynamicEntry(map, DT_FINI_ARRAYSZ) <= sizeof(void *);
#endif
}

/// A module that stays in memory.
struct KeptModule {
    void *handle;
    std::span<std::uintptr_t> variables;
    std::vector<std::uintptr_t> fresh; ///< what the variables held when it was loaded
};

/// Word by word, since the address sanitizer lets no library function touch what it laid between a module's variables.
[[gnu::no_sanitize_address]] void CopyWords(std::span<const std::uintptr_t> from, volatile std::uintptr_t *to) {
    for (const std::uintptr_t word : from)
        *to++ = word;
}

} // namespace

bool ModuleFile::IsLoaded(const std::string &path) {
    void *loaded = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    return loaded && dlclose(loaded) == 0;
}

ModuleFile::ModuleFile(const std::string &path, bool mayStay) : path_(path), stays_(true) {
    static std::map<std::string, KeptModule> keptModules;
    if (const auto found = keptModules.find(path); found != keptModules.end()) {
        const KeptModule &kept = found->second;
        CopyWords(kept.fresh, kept.variables.data());
        handle_ = kept.handle;
        return;
    }
    if (IsLoaded(path))
        throw std::logic_error(path + " is still loaded, so it would not start afresh");
    handle_ = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!handle_)
        throw std::runtime_error(std::string("the module cannot be loaded: ") + dlerror());
    stays_ = mayStay && RunsNothingByItself(handle_);
    if (stays_) {
        const std::span<std::uintptr_t> variables = VariablesOf(handle_);
        KeptModule &kept = keptModules[path] = {handle_, variables, std::vector<std::uintptr_t>(variables.size())};
        CopyWords(variables, kept.fresh.data());
    }
}

ModuleFile::~ModuleFile() {
    if (!stays_)
        dlclose(handle_);
}

void *ModuleFile::Exported(const char *name) const { return dlsym(handle_, name); }

void *ModuleFile::Internal(const char *name) const {
    // Places from the load address on, 0 of what is not named; a file stays as it is.
    static std::map<std::pair<std::string, std::string>, std::uintptr_t> known;
    const auto [found, isNew] = known.try_emplace({path_, name});
    std::uintptr_t &place = found->second;
    if (isNew)
        ElfFile(ReadFile(path_)).ForEachSymbol(ElfFile::All, [&](const ElfFile::Symbol &symbol) {
            if (symbol.defined && std::strcmp(symbol.name, name) == 0)
                place = symbol.value;
        });
    return place == 0 ? nullptr : reinterpret_cast<void *>(MapOf(handle_).l_addr + place);
}

void ModuleFile::Redirect(const char *name, void *replacement) const {
#if __SIZEOF_POINTER__ == 4
    using Relocation = ElfW(Rel);
    const auto symbolOf = [](const Relocation &relocation) { return ELF32_R_SYM(relocation.r_info); };
#else
    using Relocation = ElfW(Rela);
    const auto symbolOf = [](const Relocation &relocation) { return ELF64_R_SYM(relocation.r_info); };
#endif
    const link_map &map = MapOf(handle_);
    const auto *symbols = reinterpret_cast<const ElfW(Sym) *>(DynamicEntry(map, DT_SYMTAB));
    const auto *names = reinterpret_cast<const char *>(DynamicEntry(map, DT_STRTAB));
    const std::span calls(reinterpret_cast<const Relocation *>(DynamicEntry(map, DT_JMPREL)),
                          DynamicEntry(map, DT_PLTRELSZ) / sizeof(Relocation));
    if (!symbols || !names)
        return;
    for (const Relocation &call : calls)
        if (std::strcmp(names + symbols[symbolOf(call)].st_name, name) == 0)
            std::memcpy(reinterpret_cast<void *>(map.l_addr + call.r_offset), &replacement, sizeof replacement);
}

std::string ModuleBesideProgram() {
    const char *named = std::getenv("KVT_MODULE");
    return named ? named : (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "kvtpicture.so").string();
}

} // namespace standin
