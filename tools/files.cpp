#include "tools/files.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tools {
namespace {

[[noreturn]] void Fail(const std::string &path, std::string_view what) {
    throw UserError(fmt::format("{}: {}: {}", path, what, std::strerror(errno)));
}

/// A new file beside `path`, removed again unless it has taken the name.
class Replacement {
  public:
    explicit Replacement(const std::string &path) : path_(path), temporary_(path + ".XXXXXX") {
        descriptor_ = mkstemp(temporary_.data());
        if (descriptor_ < 0)
            Fail(path_, "cannot be written");
    }
    ~Replacement() {
        if (descriptor_ >= 0)
            close(descriptor_);
        if (!done_)
            unlink(temporary_.c_str());
    }
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    void Write(std::span<const unsigned char> bytes) {
        while (!bytes.empty()) {
            const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR)
                Fail(path_, "cannot be written");
            bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
        }
    }
    void TakeName() {
        const mode_t mask = umask(0);
        umask(mask);
        if (fchmod(descriptor_, 0666 & ~mask) != 0 || close(std::exchange(descriptor_, -1)) != 0 ||
            rename(temporary_.c_str(), path_.c_str()) != 0)
            Fail(path_, "cannot be written");
        done_ = true;
    }

  private:
    std::string path_;
    std::string temporary_;
    int descriptor_ = -1;
    bool done_ = false;
};

} // namespace

Bytes ReadBytes(const std::string &path) {
    if (std::filesystem::is_directory(path))
        throw UserError(fmt::format("{}: is a folder, not a file", path));
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file)
        Fail(path, "cannot be opened");
    Bytes bytes;
    unsigned char part[65536];
    while (const std::size_t got = std::fread(part, 1, sizeof part, file.get()))
        bytes.insert(bytes.end(), part, part + got);
    if (std::ferror(file.get()))
        Fail(path, "cannot be read");
    return bytes;
}

void WriteBytes(const std::string &path, std::span<const unsigned char> bytes) {
    Replacement replacement(path);
    replacement.Write(bytes);
    replacement.TakeName();
}

std::string_view AsText(std::span<const unsigned char> bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

std::span<const unsigned char> AsBytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}

std::string EndingOf(std::string_view path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ending;
}

} // namespace tools
