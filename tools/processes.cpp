#include "tools/processes.h"

#include "tools/child_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tools {
namespace {

using TemporaryFile = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

TemporaryFile MakeTemporary() {
    TemporaryFile file(std::tmpfile(), &std::fclose);
    if (!file)
        throw std::system_error(errno, std::generic_category(), "no temporary file");
    return file;
}

std::string Content(std::FILE *file) {
    std::string content;
    char part[4096];
    std::rewind(file);
    while (const std::size_t got = std::fread(part, 1, sizeof part, file))
        content.append(part, got);
    return content;
}

struct Process {
    TemporaryFile output = MakeTemporary();
    TemporaryFile messages = MakeTemporary();
    std::optional<Finished> finished;
};

/// The signals that are waited for, blocked from the first process on: none is missed between two looks.
class Signals {
  public:
    Signals() {
        sigemptyset(&awaited_);
        for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGTERM})
            sigaddset(&awaited_, signal);
        sigprocmask(SIG_BLOCK, &awaited_, &before_);
    }
    ~Signals() { Restore(); }
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

    int Wait() const {
        int signal = 0;
        return sigwait(&awaited_, &signal) == 0 ? signal : 0;
    }
    void Restore() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t awaited_;
    sigset_t before_;
};

class Pool {
  public:
    Pool(std::size_t count, const std::function<int(std::size_t)> &work) : work_(work), processes_(count) {}
    ~Pool() { End(); }
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;

    std::size_t Running() const { return running_.size(); }
    std::size_t Through() const { return through_; }

    void Start(std::size_t index) {
        Process &process = *(processes_[index] = std::make_unique<Process>());
        const pid_t id = StartProcess([&, parent = getpid()] {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            signals_.Restore();
            if (getppid() != parent || dup2(fileno(process.output.get()), STDOUT_FILENO) < 0 ||
                dup2(fileno(process.messages.get()), STDERR_FILENO) < 0)
                _exit(EXIT_FAILURE);
            return work_(index);
        });
        running_[id] = index;
    }
    /// Waits until a process is through.
    void Wait() {
        const std::size_t before = through_;
        while (through_ == before) {
            if (const int signal = signals_.Wait(); signal != SIGCHLD)
                throw Interrupted{signal};
            Collect();
        }
    }
    /// What a process left; null while it runs.
    const Finished *Result(std::size_t index) const {
        return processes_[index] && processes_[index]->finished ? &*processes_[index]->finished : nullptr;
    }
    void Forget(std::size_t index) { processes_[index].reset(); }

  private:
    void Collect() {
        for (auto next = running_.begin(); next != running_.end();) {
            const auto running = next++;
            const std::optional<int> status = EndOf(running->first);
            if (!status)
                continue;
            Process &process = *processes_[running->second];
            process.finished = Finished{*status, Content(process.output.get()), Content(process.messages.get())};
            process.output.reset();
            process.messages.reset();
            running_.erase(running);
            ++through_;
        }
    }
    /// Processes in the midst of writing a file finish that first.
    void End() {
        for (const auto &[id, index] : running_)
            kill(id, SIGTERM);
        for (const auto &[id, index] : running_)
            WaitForEnd(id);
        running_.clear();
    }

    Signals signals_;
    const std::function<int(std::size_t)> &work_;
    std::vector<std::unique_ptr<Process>> processes_;
    std::map<pid_t, std::size_t> running_;
    std::size_t through_ = 0;
};

} // namespace

void RunInProcesses(std::size_t count, std::size_t jobs, const std::function<int(std::size_t)> &work,
                    const std::function<void(std::size_t, const Finished &)> &done,
                    const std::function<void(std::size_t)> &progress) {
    Pool pool(count, work);
    std::size_t started = 0;
    std::size_t told = 0;
    while (told < count) {
        while (started < count && pool.Running() < jobs)
            pool.Start(started++);
        pool.Wait();
        progress(pool.Through());
        for (; told < started && pool.Result(told); ++told) {
            done(told, *pool.Result(told));
            pool.Forget(told);
        }
    }
}

} // namespace tools
