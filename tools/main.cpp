#include "tools/processes.h"
#include "tools/program.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

namespace {

/// Throws nothing itself.
void Report(const char *problem) { static_cast<void>(std::fprintf(stderr, "kvt: %s\n", problem)); }

} // namespace

int main(int argc, char **argv) {
    try {
        return tools::RunProgram(argc, argv);
    } catch (const tools::Interrupted &interrupted) {
        static_cast<void>(std::signal(interrupted.signal, SIG_DFL));
        return std::raise(interrupted.signal);
    } catch (const std::bad_alloc &) {
        Report("there is not enough memory");
    } catch (const std::exception &error) {
        Report(error.what());
    }
    return tools::Wrong;
}
