#include "tools/progress.h"

#include <fmt/format.h>
#include <unistd.h>

namespace tools {

constexpr std::size_t kBarWidth = 40;

Progress::Progress(std::size_t total) : total_(total), isTerminal_(isatty(STDERR_FILENO) == 1) {}

void Progress::Show(std::size_t through) {
    if (!isTerminal_)
        return;
    const std::size_t filled = total_ == 0 ? kBarWidth : kBarWidth * through / total_;
    fmt::print(stderr, "\r[{:#<{}}{:.<{}}] {}/{}", "", filled, "", kBarWidth - filled, through, total_);
    isShown_ = true;
}

void Progress::Hide() {
    if (isShown_)
        fmt::print(stderr, "\r\x1b[K");
    isShown_ = false;
}

} // namespace tools
