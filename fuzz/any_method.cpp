#include "conformance/caller.h"

#include "fuzz/run.h"
#include "inside/heap.h"

/// The input is a script of up to four calls of anything that is registered, with any arguments. The host's audit after
/// every call is what must find nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Run run;
    conformance::Choices choices(std::span(data, size));
    run.AtLevel(choices.Between(-1, 2));
    static const std::vector<conformance::Routine> routines = conformance::RoutinesOf(run.host);
    conformance::Caller caller(run.host, choices);
    for (int left = caller.choices().Between(1, 4); left > 0; --left) {
        const conformance::Routine &routine = caller.choices().Of(routines);
        const bool isPoor = run.poor || caller.choices().OneIn(16);
        const heap::Grants grants(isPoor ? run.poor ? 0 : caller.choices().Between(0, 3) : -1);
        if (const auto called = caller.Call(routine); called && !called->problem.empty())
            fuzz::Finding(routine.Describe() + ": " + called->problem);
    }
    return 0;
}
