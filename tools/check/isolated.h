#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tools::check {

/// How work in a process of its own tells what it does. Everything arrives, even when the process ends in the midst.
class Report {
  public:
    explicit Report(int descriptor) : descriptor_(descriptor) {}

    void Doing(const std::string &step); ///< before each step, for the case that it is the last
    void Found(const std::string &sentence);
    /// Only the first finding about each subject is told: what is wrong with a routine shows in many of its calls.
    void FoundOnce(const std::string &subject, const std::string &sentence);
    void Remark(const std::string &sentence);
    void Done();

  private:
    void Send(char kind, std::string_view text) const;

    int descriptor_;
    std::set<std::string> subjects_;
};

struct Account {
    std::vector<std::string> findings;
    std::string remark;    ///< the last one
    std::size_t steps = 0; ///< how many were begun
};

/// Runs `work` in a process of its own and waits for it. A process that crashes, ends on its own account or begins no
/// new step for as long as `patience` (and is then killed) is a finding that names its last step, and so is an
/// exception. What the work prints goes to standard error.
Account RunIsolated(const std::function<void(Report &)> &work, std::chrono::milliseconds patience);

} // namespace tools::check
