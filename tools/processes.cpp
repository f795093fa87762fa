#include "tools/processes.h"

#include "tools/terminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tools {
namespace {

[[noreturn]] void Fail(const char *what) { throw std::system_error(errno, std::generic_category(), what); }

/// What a process writes to one of its streams, in a file without a name.
class Capture {
  public:
    Capture() : file_(std::tmpfile(), &std::fclose) {
        if (!file_)
            Fail("no temporary file");
    }
    bool Take(int stream) const { return dup2(fileno(file_.get()), stream) >= 0; }
    std::string Content() const {
        std::string content;
        char part[4096];
        std::rewind(file_.get());
        while (const std::size_t got = std::fread(part, 1, sizeof part, file_.get()))
            content.append(part, got);
        return content;
    }

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file_;
};

struct Process {
    Capture output;
    Capture messages;
    std::optional<int> status; ///< once it has ended
};

/// The signals that are waited for, blocked from the first process on: none is missed between two looks.
class Signals {
  public:
    Signals() {
        static_cast<void>(std::signal(SIGCHLD, SIG_DFL)); // whoever ignores it hears of no end
        sigemptyset(&awaited_);
        for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGTERM})
            sigaddset(&awaited_, signal);
        sigprocmask(SIG_BLOCK, &awaited_, &before_);
    }
    ~Signals() { Restore(); }
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

    void AwaitChild() const {
        int signal = 0;
        if (sigwait(&awaited_, &signal) == 0 && signal != SIGCHLD)
            throw Interrupted{signal};
    }
    void Restore() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t awaited_;
    sigset_t before_;
};

class Pool {
  public:
    explicit Pool(std::size_t count) : processes_(count) {}
    /// Processes in the midst of writing a file finish that first.
    ~Pool() {
        for (const auto &[id, index] : running_)
            kill(id, SIGTERM);
        for (const auto &[id, index] : running_)
            waitpid(id, nullptr, 0);
    }
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;

    std::size_t Running() const { return running_.size(); }

    void Start(std::size_t index, const std::function<int(std::size_t)> &work) {
        const Process &process = *(processes_[index] = std::make_unique<Process>());
        static_cast<void>(std::fflush(nullptr)); // or both processes would write what waits
        const pid_t parent = getpid();
        const pid_t id = fork();
        if (id < 0)
            Fail("no process can be started");
        if (id == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            signals_.Restore();
            if (getppid() != parent || !process.output.Take(STDOUT_FILENO) || !process.messages.Take(STDERR_FILENO))
                _exit(EXIT_FAILURE);
            const auto run = [&]() noexcept { return work(index); }; // nothing flies on into what is the parent's
            const int status = run();
            _exit(std::fflush(nullptr) == 0 ? status : std::max<int>(status, EXIT_FAILURE));
        }
        running_[id] = index;
    }
    /// Waits until some process may have ended, and notes those that have.
    void Wait() {
        signals_.AwaitChild();
        int status = 0;
        for (pid_t id; (id = waitpid(-1, &status, WNOHANG)) > 0;)
            if (const auto ended = running_.extract(id))
                processes_[ended.mapped()]->status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    /// What a process left, which is then forgotten; nothing while it runs.
    std::optional<Finished> Take(std::size_t index) {
        if (!processes_[index] || !processes_[index]->status)
            return std::nullopt;
        const std::unique_ptr<Process> process = std::move(processes_[index]);
        return Finished{*process->status, process->output.Content(), process->messages.Content()};
    }

  private:
    Signals signals_;
    std::vector<std::unique_ptr<Process>> processes_;
    std::map<pid_t, std::size_t> running_;
};

} // namespace

void RunInProcesses(std::size_t count, std::size_t jobs, const std::function<int(std::size_t)> &work,
                    const std::function<void(std::size_t, const Finished &)> &done) {
    Progress progress(count);
    Pool pool(count);
    std::size_t started = 0;
    for (std::size_t told = 0; told < count;) {
        while (started < count && pool.Running() < jobs)
            pool.Start(started++, work);
        pool.Wait();
        progress.Show(started - pool.Running());
        while (told < started) {
            const std::optional<Finished> finished = pool.Take(told);
            if (!finished)
                break;
            progress.Hide();
            done(told++, *finished);
        }
    }
}

} // namespace tools
