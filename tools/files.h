#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fmt/format.h>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace standin {
struct MemoryBlock;
}

namespace tools {

using Bytes = std::vector<unsigned char>;

/// What the user gave cannot be used: a call, a file or an option. The text says what was expected, and where.
struct UserError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Throws UserError with that text.
template <class... Values> [[noreturn]] void Refuse(fmt::format_string<Values...> text, Values &&...values) {
    throw UserError(fmt::format(text, std::forward<Values>(values)...));
}
/// The same if it is so.
template <class... Values> void RefuseIf(bool isSo, fmt::format_string<Values...> text, Values &&...values) {
    if (isSo)
        Refuse(text, std::forward<Values>(values)...);
}

/// What could not be written though it might have been: the disk is full, or a file has reached the limit of its size.
struct WriteFailed : std::runtime_error {
    using runtime_error::runtime_error;
};

/// How the program ends. Of several ends, the greatest counts.
enum Outcome : int {
    Done = 0,
    Failed = 1,  ///< a method yielded nothing or raised an exception, or a result could not be written
    Wrong = 2,   ///< a call, an option or a file cannot be used
    Violated = 3 ///< the module broke the host's rules
};

/// In the place of a path: standard input, or standard output.
constexpr std::string_view kStandardStream = "-";

/// All bytes of a file. Standard input, pipes and all else that is no regular file are read when they are asked for
/// first, and remembered. Throws UserError, with the path and the reason.
Bytes ReadBytes(const std::string &path);

/// The rest of an open file, which messages call by that name.
Bytes ReadAll(std::FILE *file, const std::string &name);

/// Writes a file whole or not at all, making the folders that it needs: the bytes go to a new file in the same folder,
/// which then takes the name, and signals that end the program wait until it has. A new file is made as the umask says,
/// one that is replaced hands on its owner and mode, and a link stays: what it leads to is replaced. What is no file,
/// such as a device, is written to as it is, and a terminal refused. Throws UserError or WriteFailed and leaves what
/// was there untouched.
void WriteBytes(const std::string &path, std::span<const unsigned char> bytes);

inline std::string_view AsText(std::span<const unsigned char> bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}
inline std::span<const unsigned char> AsBytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}
std::span<const unsigned char> AsBytes(const standin::MemoryBlock &block); ///< as long as it lives

/// The number that so many bytes from there on are, the lowest or the highest first.
inline std::uint32_t LittleEndian(std::span<const unsigned char> file, std::size_t at, std::size_t bytes) {
    return bytes == 0 ? 0 : LittleEndian(file, at + 1, bytes - 1) << 8 | file[at];
}
inline std::uint32_t BigEndian(std::span<const unsigned char> file, std::size_t at, std::size_t bytes) {
    return bytes == 0 ? 0 : BigEndian(file, at, bytes - 1) << 8 | file[at + bytes - 1];
}

/// Holds back the signals that ask the program to end, and those of processes that ended, as long as it lives.
struct HeldSignals {
    HeldSignals() {
        sigemptyset(&held);
        for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGQUIT, SIGTERM})
            sigaddset(&held, signal);
        sigprocmask(SIG_BLOCK, &held, &before);
    }
    ~HeldSignals() { sigprocmask(SIG_SETMASK, &before, nullptr); }

    sigset_t held;
    sigset_t before;
};

/// Appends words of 32 bits, the lowest byte first.
void PutWords(Bytes &file, std::initializer_list<std::uint32_t> words);

/// The part of the name from its last dot on, in small letters; empty when there is none.
std::string EndingOf(std::string_view path);

} // namespace tools
