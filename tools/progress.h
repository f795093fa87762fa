#pragma once

#include <cstddef>

namespace tools {

/// A bar on standard error that shows how much of a long work is through; nothing at all where that is no terminal.
class Progress {
  public:
    explicit Progress(std::size_t total);
    ~Progress() { Hide(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void Show(std::size_t through);
    void Hide(); ///< before anything else is printed

  private:
    std::size_t total_;
    bool isTerminal_;
    bool isShown_ = false;
};

} // namespace tools
