#pragma once

#include "conformance/caller.h"

#include <span>
#include <string>
#include <vector>

/// Single calls, each on a host of its own, and all that can be wrong around them.
namespace conformance {

struct HostKind {
    const char *name;
    standin::Application application;
    std::optional<double> version; ///< a host without is to routines one before 2011.04
    bool isTelling;                ///< the others differ from these in little
};

struct Place {
    const HostKind *host;
    const Storage *storage;
    bool isTypical;  ///< one of a few that tell most
    bool isOrdinary; ///< hosts of that kind have such pictures, and all their entries
};

/// Every kind of host with every way to store pictures that it can have. The first is the ordinary one.
std::span<const Place> Places();

/// Where something can go wrong.
struct Source {
    enum Of { Entry, Platform, Heap };
    Of of = Entry;
    std::string name;
    bool yieldsBoolean = false;
};

/// Every host entry, every function of the platform's frameworks, and the heap.
const std::vector<Source> &Sources();

struct Case {
    const Routine *routine = nullptr;
    const Place *place = nullptr;
    int round = 1;
    Flaw flaw = {};
    const Source *source = nullptr; ///< of the fault; null: none
    standin::Fault::What fault = {};
    int faultyCall = 0; ///< which one fails, from 1
    int level = -1;     ///< of instruction sets; -1: the best
    standin::Guard guard = standin::Guard::After;
    bool sealsPictures = false;
    int stackShift = 0;
    std::uint32_t dataOffset = 32;

    std::string
    Describe() const; ///< "InvertKVT as picture; 5 x 4 pixels; the receiver is nil; pictures; a console host"
};

struct Outcome : Called {
    bool isThere = false; ///< the host got to know the routine
    std::vector<standin::Breach> breaches = {};
    std::vector<int> requests = {}; ///< by source: how often the resolver, or a method's object, was asked
    std::vector<int> calls = {};    ///< by source
};

/// A host of that kind. What it does not say of fresh pixels is the same color in every layout.
standin::HostDescription DescribeHost(const Place &place, const std::string &module);

/// The same case comes out the same each time. What a module does at its start is not held against the call.
Outcome Try(const Case &which, const std::string &module);

} // namespace conformance
