#pragma once

#include <functional>
#include <optional>
#include <sys/types.h>

namespace tools {

/// Starts a process that runs `work` and ends with what it returns. Nothing of this one's is written or ended there,
/// and what `work` throws ends it at once. Throws std::system_error when no process can be had.
pid_t StartProcess(const std::function<int()> &work);

/// How a process ended: what its work returned, or the signal that ended it, negative; nothing while it runs.
std::optional<int> EndOf(pid_t process);

/// The same, once it has ended.
int WaitForEnd(pid_t process);

} // namespace tools
