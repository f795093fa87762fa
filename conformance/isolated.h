#pragma once

#include <chrono>
#include <cstddef>
#include <fmt/format.h>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace conformance {

/// How work in a process of its own tells what it does. Everything arrives, even when the process ends in the midst.
class Report {
  public:
    Report(int descriptor, std::chrono::milliseconds patience) : descriptor_(descriptor), patience_(patience) {}

    /// Before each step. One that takes longer than the patience ends the process. A step whose text has in it what the
    /// environment's KVT_STOP_AT says raises SIGTRAP first, where a debugger stops.
    void Doing(const std::string &step);
    void Found(const std::string &sentence) { Send('f', sentence); }
    /// Tells the sentence when the condition does not hold.
    template <class... Values> void Expect(bool holds, fmt::format_string<Values...> sentence, Values &&...values) {
        if (!holds)
            Found(fmt::format(sentence, std::forward<Values>(values)...));
    }
    /// Only the first finding about each subject is told: what is wrong with a routine shows in many of its calls.
    void FoundOnce(const std::string &subject, const std::string &sentence);
    void Remark(const std::string &sentence) { Send('r', sentence); }

  private:
    void Send(char kind, const std::string &text) const;

    int descriptor_;
    std::chrono::milliseconds patience_;
    std::set<std::string> subjects_;
};

struct Account {
    std::vector<std::string> findings;
    std::string remark;    ///< the last one
    std::size_t steps = 0; ///< how many were begun
};

struct Limits {
    std::chrono::milliseconds patience = std::chrono::seconds(60); ///< that a step may take
    bool stopsAtFinding = false;                                   ///< ends the process at the first
};

/// Runs `work` in a process of its own and waits for it. A process that crashes, ends on its own account or hangs in a
/// step is a finding that names its last step, and so is an exception. What the work prints goes to standard error.
Account RunIsolated(const std::function<void(Report &)> &work, const Limits &limits);

} // namespace conformance
