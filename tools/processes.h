#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace tools {

/// What a process left behind.
struct Finished {
    int status = 0; ///< what its work returned; a signal that ended it, negative
    std::string output;
    std::string messages;
};

/// A signal asked the program to end.
struct Interrupted {
    int signal;
};

/// Runs `work(i)` for every i below `count`, each in a process of its own, at most `jobs` at the same time. What they
/// write to their standard streams is kept apart; `done` receives it in the order of i, as soon as all before it are
/// through. A bar shows how many are. Throws Interrupted, once no process is left, and std::system_error when no
/// process can be had.
void RunInProcesses(std::size_t count, std::size_t jobs, const std::function<int(std::size_t)> &work,
                    const std::function<void(std::size_t, const Finished &)> &done);

} // namespace tools
