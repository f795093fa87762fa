#include "tools/files.h"

#include "standin/objects.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {
namespace {

using OpenFile = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;
constexpr const char *kNotWritten = "cannot be written";

[[noreturn]] void Fail(const std::string &path, std::string_view what) {
    const std::string sentence = fmt::format("{}: {}: {}", path, what, std::strerror(errno));
    if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG || errno == EIO)
        throw WriteFailed(sentence);
    throw UserError(sentence);
}

OpenFile Open(const std::string &path, const char *mode, const char *otherwise) {
    OpenFile file(std::fopen(path.c_str(), mode), &std::fclose);
    if (!file)
        Fail(path, otherwise);
    return file;
}

void WriteAll(int descriptor, const std::string &path, std::span<const unsigned char> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0)
            Fail(path, kNotWritten);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

/// Writes a new file beside `path`, which then takes the name. Until it has, signals wait.
void Replace(const std::string &path, std::span<const unsigned char> bytes, mode_t mode, const struct stat *replaced) {
    const HeldSignals signals;
    std::string temporary = path + ".XXXXXX";
    const int descriptor = mkstemp(temporary.data());
    if (descriptor < 0)
        Fail(path, kNotWritten);
    OpenFile file(fdopen(descriptor, "wb"), &std::fclose);
    try {
        WriteAll(descriptor, path, bytes);
        const bool staysOthers = replaced && fchown(descriptor, replaced->st_uid, replaced->st_gid) != 0;
        if (fchmod(descriptor, staysOthers ? mode & 0777 : mode) != 0 || std::fclose(file.release()) != 0 ||
            rename(temporary.c_str(), path.c_str()) != 0)
            Fail(path, kNotWritten);
    } catch (...) {
        unlink(temporary.c_str());
        throw;
    }
}

} // namespace

Bytes ReadAll(std::FILE *file, const std::string &path) {
    Bytes bytes;
    if (struct stat there{}; fstat(fileno(file), &there) == 0 && S_ISREG(there.st_mode))
        bytes.reserve(static_cast<std::size_t>(there.st_size)); // else it would be moved as it grows
    unsigned char part[65536];
    while (const std::size_t got = std::fread(part, 1, sizeof part, file))
        bytes.insert(bytes.end(), part, part + got);
    if (std::ferror(file))
        Fail(path, "cannot be read");
    return bytes;
}

Bytes ReadBytes(const std::string &path) {
    static std::map<std::string, Bytes> remembered;
    if (const auto known = remembered.find(path); known != remembered.end())
        return known->second;
    if (path == kStandardStream)
        return remembered[path] = ReadAll(stdin, "standard input");
    Bytes bytes = ReadAll(Open(path, "rb", "cannot be opened").get(), path);
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) ? std::move(bytes) : remembered[path] = std::move(bytes);
}

void WriteBytes(const std::string &path, std::span<const unsigned char> bytes) {
    RefuseIf(path == kStandardStream && isatty(STDOUT_FILENO) == 1,
             "standard output is a terminal, which would show bytes; name a file, or say >FILE");
    if (path == kStandardStream)
        return WriteAll(STDOUT_FILENO, "standard output", bytes);
    struct stat there {};
    const bool exists = stat(path.c_str(), &there) == 0;
    if (exists && !S_ISREG(there.st_mode))
        return WriteAll(fileno(Open(path, "wb", kNotWritten).get()), path, bytes);
    std::error_code error;
    RefuseIf(!exists && std::filesystem::is_symlink(path, error), "{}: is a link that leads nowhere", path);
    // The mode counts for those, too, who may write to all files.
    RefuseIf(exists && ((there.st_mode & 0222) == 0 || access(path.c_str(), W_OK) != 0), "{}: is write-protected",
             path);
    std::filesystem::create_directories(std::filesystem::absolute(path).parent_path(), error);
    RefuseIf(!!error, "{}: its folder cannot be made: {}", path, error.message());
    const mode_t mask = umask(0);
    umask(mask);
    if (exists) // a link stays, and what it leads to is replaced
        Replace(std::filesystem::canonical(path).string(), bytes, there.st_mode & 07777, &there);
    else
        Replace(path, bytes, 0666 & ~mask, nullptr);
}

std::span<const unsigned char> AsBytes(const standin::MemoryBlock &block) {
    return {block.memory.data(), block.memory.size()};
}

void PutWords(Bytes &file, std::initializer_list<std::uint32_t> words) {
    for (const std::uint32_t word : words)
        for (int shift = 0; shift < 32; shift += 8)
            file.push_back(static_cast<unsigned char>(word >> shift));
}

std::string EndingOf(std::string_view path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ending;
}

} // namespace tools
