#include "tools/processes.h"

#include "tools/files.h"
#include "tools/messages.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tools {
namespace {

[[noreturn]] void Fail(const char *what) { throw std::system_error(errno, std::generic_category(), what); }

/// A file without a name, for what a process writes to one of its streams.
class Capture {
  public:
    Capture() : file_(std::tmpfile(), &std::fclose) {
        if (!file_)
            Fail("no temporary file");
    }
    bool Take(int stream) const { return dup2(fileno(file_.get()), stream) >= 0; }
    std::string Content() const {
        std::rewind(file_.get());
        return std::string(AsText(ReadAll(file_.get(), "a temporary file")));
    }

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file_;
};

struct Process {
    pid_t id = 0;
    Capture output;
    Capture messages;
    std::optional<int> status; ///< once it has ended
};

/// Processes in the order of their starts. Signals that are waited for are blocked as long as it lives: none is missed
/// between two looks.
class Pool {
  public:
    Pool() {
        static_cast<void>(std::signal(SIGCHLD, SIG_DFL)); // whoever ignores it hears of no end
        sigemptyset(&awaited_);
        for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGTERM})
            sigaddset(&awaited_, signal);
        sigprocmask(SIG_BLOCK, &awaited_, &before_);
    }
    /// Processes in the midst of writing a file finish that first.
    ~Pool() {
        for (const Process &process : processes_)
            if (!process.status)
                kill(process.id, SIGTERM);
        for (const Process &process : processes_)
            if (!process.status)
                waitpid(process.id, nullptr, 0);
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;

    std::size_t Running() const {
        const auto runs = [](const Process &process) { return !process.status; };
        return static_cast<std::size_t>(std::count_if(processes_.begin(), processes_.end(), runs));
    }
    void Start(std::size_t index, const std::function<int(std::size_t)> &work) {
        Process process;
        static_cast<void>(std::fflush(nullptr)); // or both processes would write what waits
        const pid_t parent = getpid();
        process.id = fork();
        if (process.id < 0)
            Fail("no process can be started");
        if (process.id == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            sigprocmask(SIG_SETMASK, &before_, nullptr);
            if (getppid() != parent || !process.output.Take(STDOUT_FILENO) || !process.messages.Take(STDERR_FILENO))
                _exit(EXIT_FAILURE);
            const auto run = [&]() noexcept { return work(index); }; // nothing flies on into what is the parent's
            const int status = run();
            _exit(std::fflush(nullptr) == 0 ? status : std::max<int>(status, EXIT_FAILURE));
        }
        processes_.push_back(std::move(process));
    }
    /// Waits until some process may have ended, and notes those that have.
    void Wait() {
        int signal = 0;
        if (sigwait(&awaited_, &signal) == 0 && signal != SIGCHLD) {
            HideProgress();
            throw Interrupted{signal};
        }
        int status = 0;
        for (pid_t id; (id = waitpid(-1, &status, WNOHANG)) > 0;)
            for (Process &process : processes_)
                if (process.id == id)
                    process.status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    /// What the first process left, which is then forgotten; nothing while it runs.
    std::optional<Finished> TakeFirst() {
        if (processes_.empty() || !processes_.front().status)
            return std::nullopt;
        const Process process = std::move(processes_.front());
        processes_.pop_front();
        return Finished{*process.status, process.output.Content(), process.messages.Content()};
    }

  private:
    sigset_t awaited_;
    sigset_t before_;
    std::deque<Process> processes_;
};

} // namespace

void RunInProcesses(std::size_t count, std::size_t jobs, const std::function<int(std::size_t)> &work,
                    const std::function<void(std::size_t, const Finished &)> &done) {
    Pool pool;
    std::size_t started = 0;
    for (std::size_t told = 0; told < count;) {
        while (started < count && pool.Running() < jobs)
            pool.Start(started++, work);
        pool.Wait();
        ShowProgress(started - pool.Running(), count);
        while (const std::optional<Finished> finished = pool.TakeFirst()) {
            HideProgress();
            done(told++, *finished);
        }
    }
}

} // namespace tools
