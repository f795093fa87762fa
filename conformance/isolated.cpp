#include "conformance/isolated.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <memory>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace conformance {
namespace {

constexpr int kDone = 77; ///< the status of a process that came to the end of its work

[[noreturn]] void RunAndTell(const std::function<void(Report &)> &work, Report report) {
    constexpr rlimit kNoFile = {0, 0};
    setrlimit(RLIMIT_CORE, &kNoFile);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    try {
        work(report);
    } catch (const std::exception &problem) {
        report.Found(problem.what());
    }
    static_cast<void>(std::fflush(nullptr));
    _exit(kDone);
}

std::string HowItEnded(int status, std::chrono::milliseconds patience) {
    if (WIFEXITED(status))
        return fmt::format("ended the process with status {}", WEXITSTATUS(status));
    const int signal = WTERMSIG(status);
    if (signal == SIGALRM)
        return fmt::format("hung, and was ended after {:g} s", std::chrono::duration<double>(patience).count());
    const char *name = sigabbrev_np(signal);
    return fmt::format("crashed with SIG{} ({})", name ? name : std::to_string(signal), strsignal(signal));
}

} // namespace

void Report::Send(char kind, const std::string &text) const {
    const std::string message = kind + text.substr(0, text.find('\0')) + '\0';
    for (std::size_t sent = 0; sent < message.size();) {
        const ssize_t written = write(descriptor_, message.data() + sent, message.size() - sent);
        if (written < 0 && errno != EINTR)
            _exit(1); // nobody listens any more
        sent += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

void Report::Doing(const std::string &step) {
    Send('s', step);
    const auto milliseconds = static_cast<long>(patience_.count());
    const itimerval timer = {{}, {milliseconds / 1000, milliseconds % 1000 * 1000}};
    setitimer(ITIMER_REAL, &timer, nullptr);
    static const char *const awaited = std::getenv("KVT_STOP_AT");
    if (awaited && step.find(awaited) != std::string::npos)
        static_cast<void>(std::raise(SIGTRAP));
}

void Report::FoundOnce(const std::string &subject, const std::string &sentence) {
    if (subjects_.insert(subject).second)
        Found(sentence);
}

Account RunIsolated(const std::function<void(Report &)> &work, const Limits &limits) {
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL)); // whoever ignores it hears of no end
    static_cast<void>(std::fflush(nullptr));          // or both processes would write what waits
    int ends[2];
    const pid_t process = pipe(ends) == 0 ? fork() : -1;
    if (process < 0)
        throw std::system_error(errno, std::generic_category(), "no process can be started");
    if (process == 0) {
        close(ends[0]);
        RunAndTell(work, Report(ends[1], limits.patience));
    }
    close(ends[1]);

    Account account;
    std::string step;
    const std::unique_ptr<FILE, int (*)(FILE *)> messages(fdopen(ends[0], "r"), std::fclose);
    char *line = nullptr;
    std::size_t room = 0;
    while (!(limits.stopsAtFinding && !account.findings.empty()) && getdelim(&line, &room, '\0', messages.get()) > 0) {
        std::string text = line + 1;
        if (line[0] == 's')
            step = std::move(text), ++account.steps;
        else if (line[0] == 'f')
            account.findings.push_back(std::move(text));
        else
            account.remark = std::move(text);
    }
    std::free(line);
    const bool isStopped = limits.stopsAtFinding && !account.findings.empty() && kill(process, SIGKILL) == 0;
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!isStopped && !(WIFEXITED(status) && WEXITSTATUS(status) == kDone))
        account.findings.push_back(HowItEnded(status, limits.patience) + (step.empty() ? "" : ": ") + step);
    return account;
}

} // namespace conformance
