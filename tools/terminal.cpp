#include "tools/terminal.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace tools {
namespace {

constexpr std::size_t kBarWidth = 40;

bool TakesColor(int stream) {
    const auto is = [](const char *name, std::string_view value) {
        const char *found = std::getenv(name);
        return value == (found ? found : "");
    };
    return isatty(stream) == 1 && is("NO_COLOR", "") && !is("TERM", "") && !is("TERM", "dumb");
}

} // namespace

std::string Styled(int stream, const fmt::text_style &style, std::string_view text) {
    static const bool outputTakesColor = TakesColor(STDOUT_FILENO);
    static const bool messagesTakeColor = TakesColor(STDERR_FILENO);
    const bool takesColor = stream == STDOUT_FILENO ? outputTakesColor : messagesTakeColor;
    return takesColor ? fmt::format(style, "{}", text) : std::string(text);
}

void PrintProblem(std::string_view text) {
    const auto red = fmt::emphasis::bold | fg(fmt::terminal_color::red);
    std::string told = Styled(STDERR_FILENO, red, "kvt:") + ' ';
    for (bool isFirst = true; isFirst || !text.empty(); isFirst = false) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const bool isMark = line.find('^') != line.npos && line.find_first_not_of(" ^") == line.npos;
        told += (isMark ? Styled(STDERR_FILENO, red, line) : std::string(line)) + '\n';
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    static_cast<void>(std::fputs(told.c_str(), stderr));
}

Progress::Progress(std::size_t total) : total_(total), isTerminal_(isatty(STDERR_FILENO) == 1) {}

void Progress::Show(std::size_t through, std::string_view what) {
    if (!isTerminal_)
        return;
    const std::size_t filled = total_ == 0 ? kBarWidth : kBarWidth * through / total_;
    fmt::print(stderr, "\r\x1b[K[{:#<{}}{:.<{}}] {}/{} {}", "", filled, "", kBarWidth - filled, through, total_, what);
    isShown_ = true;
}

void Progress::Hide() {
    if (isShown_)
        fmt::print(stderr, "\r\x1b[K");
    isShown_ = false;
}

} // namespace tools
