#include "tools/child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tools {
namespace {

std::optional<int> EndOf(pid_t process, int options) {
    int status = 0;
    pid_t ended;
    do {
        ended = waitpid(process, &status, options);
    } while (ended < 0 && errno == EINTR);
    if (ended == 0)
        return std::nullopt;
    if (ended < 0)
        return -SIGKILL; // someone else has heard of its end
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

pid_t StartProcess(const std::function<int()> &work) {
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL)); // whoever ignores it hears of no end
    static_cast<void>(std::fflush(nullptr));          // or both processes would write what waits
    const pid_t process = fork();
    if (process < 0)
        throw std::system_error(errno, std::generic_category(), "no process can be started");
    if (process == 0) {
        const auto run = [&]() noexcept { return work(); }; // nothing flies on into what is the parent's
        const int status = run();
        static_cast<void>(std::fflush(nullptr));
        _exit(status);
    }
    return process;
}

std::optional<int> EndOf(pid_t process) { return EndOf(process, WNOHANG); }
int WaitForEnd(pid_t process) { return *EndOf(process, 0); }

} // namespace tools
