#include "tools/processes.h"

#include "tools/messages.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <optional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tools {
namespace {

constexpr int kReturned = 77; ///< the status of a process that came to the end of its work

std::string EndOf(int status) {
    if (WIFSIGNALED(status))
        return fmt::format("ended by signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)));
    return WEXITSTATUS(status) == kReturned ? "" : fmt::format("ended with status {}", WEXITSTATUS(status));
}

/// Ended with this, unless it has; in the midst of writing a file it finishes that first.
struct Process {
    ~Process() {
        if (id > 0 && !end && kill(id, SIGTERM) == 0)
            waitpid(id, nullptr, 0);
    }

    std::unique_ptr<std::FILE, int (*)(std::FILE *)> returned{std::tmpfile(), &std::fclose};
    pid_t id = 0;
    std::optional<std::string> end; ///< once it has ended, and then empty if its work returned
};

void Start(Process &process, const HeldSignals &signals, const std::function<Bytes()> &work) {
    static_cast<void>(std::fflush(nullptr)); // or both processes would write what waits
    const pid_t parent = getpid();
    process.id = process.returned ? fork() : -1;
    if (process.id < 0)
        throw std::system_error(errno, std::generic_category(), "no process can be started");
    if (process.id > 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    sigprocmask(SIG_SETMASK, &signals.before, nullptr);
    const auto run = [&]() noexcept { return work(); }; // nothing flies on into what is the parent's
    const Bytes bytes = getppid() == parent ? run() : Bytes();
    const std::size_t written = std::fwrite(bytes.data(), 1, bytes.size(), process.returned.get());
    _exit(written == bytes.size() && std::fflush(nullptr) == 0 ? kReturned : EXIT_FAILURE);
}

} // namespace

void RunInProcesses(std::size_t count, std::size_t jobs, const std::function<Bytes(std::size_t)> &work,
                    const std::function<void(std::size_t, const Bytes &returned, const std::string &end)> &done) {
    if (count == 1)
        return done(0, work(0), {});
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL)); // whoever ignores it hears of no end
    const HeldSignals signals;                        // none is missed between two looks
    std::deque<Process> processes;                    // in the order of their starts, but for those that are told
    std::size_t started = 0;
    std::size_t running = 0;
    for (std::size_t told = 0; told < count;) {
        for (; started < count && running < jobs; ++started, ++running)
            Start(processes.emplace_back(), signals, [&] { return work(started); });
        if (const int signal = sigwaitinfo(&signals.held, nullptr); signal > 0 && signal != SIGCHLD) {
            HideProgress();
            throw Interrupted{signal};
        }
        for (Process &process : processes)
            if (int status = 0; !process.end && waitpid(process.id, &status, WNOHANG) > 0) {
                process.end = EndOf(status);
                --running;
            }
        ShowProgress(started - running, count);
        for (; !processes.empty() && processes.front().end; processes.pop_front()) {
            HideProgress();
            std::FILE *returned = processes.front().returned.get();
            std::rewind(returned);
            done(told++, ReadAll(returned, "a temporary file"), *processes.front().end);
        }
    }
}

} // namespace tools
