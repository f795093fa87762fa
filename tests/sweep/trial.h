#pragma once

#include "standin/host.h"

#include <optional>
#include <string>
#include <vector>

/// Calls any registered routine in a situation, on a host of its own, and tells all that came of it as text, so that
/// two calls can be compared whatever the routine does.
namespace sweep {

/// What a routine is called with.
struct Situation {
    const char *what;
    standin::PictureDescription pictures = {}; ///< their colors are filled in; the size too, when it is 1 x 1
    bool nilReceiver = false;
    bool nilArguments = false;
    bool omitsDefaults = false;
    std::vector<standin::Fault> faults = {}; ///< beside the one that is tried
    const char *needs = "";                  ///< what a declaration has for which this makes a difference
};

struct Routine {
    enum Of { Picture, Global, Class, Life, Property } of;
    std::string className; ///< of the last three
    std::string text;      ///< the declaration, or the property's name
    bool sets = false;     ///< the setter, not the function or getter

    std::string Describe() const;
    /// Whether the declaration has what the situation is about.
    bool Meets(const Situation &situation) const;
};

/// All that the module registers: methods, assignments, constructors with destructors, and accessors.
std::vector<Routine> Routines();

/// Where something can go wrong.
struct Source {
    enum Of { Entry, Platform, Heap } of;
    std::string name;
    bool yieldsBoolean = false;
};

/// Every host entry, every function of the platform's frameworks, and the heap.
const std::vector<Source> &Sources();

/// An object that a routine may change, told before and after.
struct Changed {
    std::string before;
    std::string after;
};

struct Outcome {
    bool isThere = false; ///< the host got to know the routine
    std::string result;   ///< what the routine gave back, in variables and properties too
    std::string failure;  ///< what that is when the routine fails; empty for a routine that cannot
    std::string raised;   ///< the exception; empty for none
    std::vector<Changed> changed;
    std::vector<int> requests; ///< by source: how often the resolver was asked
    std::vector<int> calls;    ///< by source
    std::vector<std::string> problems;
};

/// `fault` is of any source: a platform function that is Missing fails always, and the heap only knows failing calls.
/// A negative `level` leaves the instruction-set level to the processor.
Outcome Try(const Routine &routine, const Situation &situation, standin::HostDescription description,
            const standin::Fault *fault = nullptr, int level = -1);

} // namespace sweep
