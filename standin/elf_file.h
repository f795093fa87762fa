#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace standin {

/// All bytes of a file. Throws std::runtime_error.
std::vector<unsigned char> ReadFile(const std::string &path);

/// What the file of a shared object says of itself. Read are files of this program's own pointer width.
class ElfFile {
  public:
    enum Table { All, Dynamic }; ///< all symbols, which stripping removes, or those that the loader needs
    struct Symbol {
        const char *name;
        std::uintptr_t value; ///< of a defined one: its place from the load address on
        bool defined;
    };

    /// 32 or 64 for a shared object of this kind of processor; nothing for any other file.
    static std::optional<int> WidthOf(std::span<const unsigned char> file);

    /// Throws std::runtime_error for a file that is cut short.
    explicit ElfFile(std::vector<unsigned char> file);

    /// Local symbols of the file's own sections are left out.
    void ForEachSymbol(Table table, const std::function<void(const Symbol &)> &visit) const;
    std::vector<std::string> Texts(std::intptr_t tag) const; ///< of dynamic entries that name something: DT_NEEDED
    std::optional<std::uintptr_t> Number(std::intptr_t tag) const; ///< of the dynamic entry with that tag

  private:
    template <class Record> Record At(std::size_t offset) const;
    template <class Record, class Visit> void ForEachRecord(std::uint32_t sectionType, Visit visit) const;
    const char *TextAt(std::size_t offset) const;

    std::vector<unsigned char> file_; ///< with a zero behind it
};

} // namespace standin
