#pragma once

#include <cstddef>
#include <fmt/color.h>
#include <string>
#include <string_view>

namespace tools {

/// A text with its color, or without where the stream (STDOUT_FILENO or STDERR_FILENO) is no terminal or NO_COLOR is
/// set. What streams are counts from the first call on, for processes may be given others.
std::string Styled(int stream, const fmt::text_style &style, std::string_view text);

/// Writes "kvt: " and the text on standard error.
void PrintProblem(std::string_view text);

/// A bar on standard error that shows how much of a long work is through; nothing at all where that is no terminal.
class Progress {
  public:
    explicit Progress(std::size_t total);
    ~Progress() { Hide(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void Show(std::size_t through, std::string_view what = {});
    void Hide(); ///< before anything else is printed

  private:
    std::size_t total_;
    bool isTerminal_;
    bool isShown_ = false;
};

} // namespace tools
