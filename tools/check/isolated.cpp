#include "tools/check/isolated.h"

#include "tools/child_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <poll.h>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

namespace tools::check {
namespace {

// What is sent: the kind, the text, a zero.
enum Kind : char { kStep = 's', kFinding = 'f', kRemark = 'r', kDone = 'd' };

[[noreturn]] void Fail(const char *what) {
    throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

void RunAndTell(const std::function<void(Report &)> &work, int descriptor) {
    constexpr rlimit kNoFile = {0, 0};
    setrlimit(RLIMIT_CORE, &kNoFile);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    Report report(descriptor);
    try {
        work(report);
    } catch (const std::exception &problem) {
        report.Found(problem.what());
    } catch (...) {
        report.Found("an exception was thrown that is none of the standard library's");
    }
    report.Done();
}

/// The reading end: takes messages apart as they come.
class Listener {
  public:
    explicit Listener(int descriptor) : descriptor_(descriptor) {}
    ~Listener() { close(descriptor_); }
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    enum State { Hears, Silence, End };
    State Listen(std::chrono::milliseconds patience) {
        pollfd wanted = {descriptor_, POLLIN, 0};
        const int ready = poll(&wanted, 1, static_cast<int>(patience.count()));
        if (ready == 0)
            return Silence;
        std::array<char, 4096> part;
        const ssize_t got = ready > 0 ? read(descriptor_, part.data(), part.size()) : -1;
        if (got < 0 && errno != EINTR)
            Fail("the process cannot be heard");
        if (got == 0)
            return End;
        pending_.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        for (std::size_t end; (end = pending_.find('\0')) != std::string::npos; pending_.erase(0, end + 1))
            Take(pending_[0], pending_.substr(1, end - 1));
        return Hears;
    }

    Account account;
    std::string step;
    bool done = false;

  private:
    void Take(char kind, std::string text) {
        switch (kind) {
        case kStep:
            step = std::move(text);
            ++account.steps;
            break;
        case kFinding:
            account.findings.push_back(std::move(text));
            break;
        case kRemark:
            account.remark = std::move(text);
            break;
        default:
            done = true;
        }
    }

    int descriptor_;
    std::string pending_;
};

std::string HowItEnded(int status) {
    if (status >= 0)
        return fmt::format("ended the process with status {}", status);
    const char *name = sigabbrev_np(-status);
    return fmt::format("crashed with SIG{} ({})", name ? name : std::to_string(-status), strsignal(-status));
}

} // namespace

void Report::Send(char kind, std::string_view text) const {
    std::string message(1, kind);
    message += text.substr(0, text.find('\0'));
    message += '\0';
    for (std::size_t sent = 0; sent < message.size();) {
        const ssize_t written = write(descriptor_, message.data() + sent, message.size() - sent);
        if (written < 0 && errno != EINTR)
            _exit(1); // nobody listens any more
        sent += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

void Report::Doing(const std::string &step) { Send(kStep, step); }
void Report::Found(const std::string &sentence) { Send(kFinding, sentence); }
void Report::FoundOnce(const std::string &subject, const std::string &sentence) {
    if (subjects_.insert(subject).second)
        Found(sentence);
}
void Report::Remark(const std::string &sentence) { Send(kRemark, sentence); }
void Report::Done() { Send(kDone, ""); }

Account RunIsolated(const std::function<void(Report &)> &work, std::chrono::milliseconds patience) {
    int ends[2];
    if (pipe(ends) != 0)
        Fail("no process can be started");
    Listener listener(ends[0]);
    pid_t process;
    try {
        process = StartProcess([&] {
            close(ends[0]);
            RunAndTell(work, ends[1]);
            return 0;
        });
    } catch (...) {
        close(ends[1]);
        throw;
    }
    close(ends[1]);

    Listener::State state;
    do {
        state = listener.Listen(patience);
    } while (state == Listener::Hears && !listener.done);
    if (state == Listener::Silence)
        kill(process, SIGKILL);
    const int status = WaitForEnd(process);

    Account account = std::move(listener.account);
    const std::string step = listener.step.empty() ? "" : ": " + listener.step;
    if (state == Listener::Silence)
        account.findings.push_back(
            fmt::format("hung, and was ended after {:g} s{}", std::chrono::duration<double>(patience).count(), step));
    else if (!listener.done)
        account.findings.push_back(HowItEnded(status) + step);
    return account;
}

} // namespace tools::check
