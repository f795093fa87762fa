#pragma once

#include "tools/files.h"

#include <functional>

namespace tools {

/// A signal asked the program to end.
struct Interrupted {
    int signal;
};

/// Runs `work(i)` for every i below `count`: one alone here, several each in a process of its own, at most `jobs` at
/// the same time. `done` receives in the order of i, as soon as all before it are through, what the work returned, or
/// how the process ended before it did: "ended by signal 9 (Killed)". A bar shows how many are through. Throws
/// Interrupted, once no process is left, and std::system_error when no process can be had.
void RunInProcesses(std::size_t count, std::size_t jobs, const std::function<Bytes(std::size_t)> &work,
                    const std::function<void(std::size_t, const Bytes &returned, const std::string &end)> &done);

} // namespace tools
