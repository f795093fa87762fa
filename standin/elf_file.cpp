#include "standin/elf_file.h"

#include <cstring>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <link.h>
#include <stdexcept>

namespace standin {

std::vector<unsigned char> ReadFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path + " cannot be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

std::optional<int> ElfFile::WidthOf(std::span<const unsigned char> file) {
    // The fields up to the type and the machine lie alike in both widths.
    Elf32_Ehdr header;
    if (file.size() < sizeof header)
        return std::nullopt;
    std::memcpy(&header, file.data(), sizeof header);
#if defined(__x86_64__) || defined(__i386__)
    const bool isOurs = header.e_machine == EM_386 || header.e_machine == EM_X86_64;
#else
    const bool isOurs = true;
#endif
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_DATA] != ELFDATA2LSB ||
        header.e_type != ET_DYN || !isOurs)
        return std::nullopt;
    const unsigned width = header.e_ident[EI_CLASS];
    return width == ELFCLASS32 ? std::optional(32) : width == ELFCLASS64 ? std::optional(64) : std::nullopt;
}

ElfFile::ElfFile(std::vector<unsigned char> file) : file_(std::move(file)) { file_.push_back(0); }

template <class Record> Record ElfFile::At(std::size_t offset) const {
    if (offset > file_.size() || file_.size() - offset <= sizeof(Record))
        throw std::runtime_error("the module's file ends before its tables do");
    Record record;
    std::memcpy(&record, file_.data() + offset, sizeof record);
    return record;
}

const char *ElfFile::TextAt(std::size_t offset) const {
    static_cast<void>(At<char>(offset));
    return reinterpret_cast<const char *>(file_.data() + offset);
}

template <class Record, class Visit> void ElfFile::ForEachRecord(std::uint32_t sectionType, Visit visit) const {
    const auto header = At<ElfW(Ehdr)>(0);
    const auto section = [&](std::size_t index) { return At<ElfW(Shdr)>(header.e_shoff + index * sizeof(ElfW(Shdr))); };
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const ElfW(Shdr) records = section(i);
        if (records.sh_type != sectionType || records.sh_link >= header.e_shnum)
            continue;
        const ElfW(Shdr) texts = section(records.sh_link);
        for (std::size_t at = 0; at + sizeof(Record) <= records.sh_size; at += sizeof(Record))
            visit(At<Record>(records.sh_offset + at), texts.sh_offset);
    }
}

void ElfFile::ForEachSymbol(Table table, const std::function<void(const Symbol &)> &visit) const {
    ForEachRecord<ElfW(Sym)>(table == All ? SHT_SYMTAB : SHT_DYNSYM, [&](const ElfW(Sym) & symbol, std::size_t texts) {
        const unsigned type = symbol.st_info & 15u;
        if (symbol.st_name != 0 && type != STT_SECTION && type != STT_FILE)
            visit({TextAt(texts + symbol.st_name), symbol.st_value, symbol.st_shndx != SHN_UNDEF});
    });
}

std::vector<std::string> ElfFile::Texts(std::intptr_t tag) const {
    std::vector<std::string> found;
    ForEachRecord<ElfW(Dyn)>(SHT_DYNAMIC, [&](const ElfW(Dyn) & entry, std::size_t texts) {
        if (entry.d_tag == tag)
            found.emplace_back(TextAt(texts + entry.d_un.d_val));
    });
    return found;
}

std::optional<std::uintptr_t> ElfFile::Number(std::intptr_t tag) const {
    std::optional<std::uintptr_t> found;
    ForEachRecord<ElfW(Dyn)>(SHT_DYNAMIC, [&](const ElfW(Dyn) & entry, std::size_t) {
        if (entry.d_tag == tag)
            found = entry.d_un.d_val;
    });
    return found;
}

} // namespace standin
