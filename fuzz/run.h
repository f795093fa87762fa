#pragma once

#include "standin/host.h"

#include <string>
#include <string_view>

namespace fuzz {

/// Ends the program with what was found wrong; the fuzzer keeps the input.
[[noreturn]] void Finding(std::string_view what);

/// Around everything that is done with one input: lends the host, and at the end makes a finding of every violation.
/// The host's kind is that of the process, by its argument --host=NAME: "desktop" (also without the argument),
/// "old-desktop", "console", "old-console", or "poor", a desktop host that makes no new pictures and whose heap grants
/// nothing while a routine runs. Objects that a target holds are gone before the run ends.
class Run {
  public:
    Run();
    ~Run();
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    standin::Host &host;
    const bool poor;

    /// Runs the operation at an instruction-set level: 0 to 2, or -1 for the best.
    void AtLevel(int level);
    /// As a script calls a global method.
    standin::Result CallGlobal(std::string_view method, std::vector<standin::Value> arguments);
};

} // namespace fuzz
