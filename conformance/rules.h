#pragma once

#include "conformance/cases.h"
#include "conformance/isolated.h"

#include <functional>
#include <span>
#include <string>
#include <vector>

/// What a module promises its hosts, and whether one keeps it. A rule is a row of the table at the end of rules.cpp: a
/// name, a sentence, and a function that tries cases and tells what it finds; it is tried by `kvt check` and by ctest
/// as soon as it stands there, and tests/conformance/ wants a fault of the faulty module that it finds. A finding names
/// its case.
namespace conformance {

enum class Extent {
    Quick,   ///< what tells most, in a few seconds for all rules
    Quarter, ///< of the faults of the next
    Sample,  ///< the faults that a routine reaches, of which less telling hosts take a third
    Full,    ///< everything on every host
};

/// Which calls a rule tries. Each is made in round 1, with ordinary arguments.
struct Calls {
    bool typical = false;    ///< in the typical places alone
    bool swept = false;      ///< with the storages that faults are tried on, and flaws with the first two of them
    bool everyRound = false; ///< in the other rounds too
    bool everyFlaw = false;  ///< with each flaw too
};

/// What a rule works with.
class Judge {
  public:
    Judge(std::string module, Extent extent, Report &report);

    const std::string &module() const { return module_; }
    Extent extent() const { return extent_; }
    Report &report() { return report_; }
    const std::vector<Routine> &routines();

    void ForEach(const Calls &calls, const std::function<void(const Case &)> &visit);
    /// Tells the report, then tries.
    Outcome Try(const Case &which);
    /// Tells what is wrong with a case. Of each routine only the first finding is told: what is wrong with it shows in
    /// many cases.
    void Found(const Case &which, const std::string &sentence);

  private:
    std::string module_;
    Extent extent_;
    Report &report_;
    std::vector<Routine> routines_;
};

struct Rule {
    const char *name;
    const char *promise; ///< continues "the module"
    void (*run)(Judge &judge);
};

std::span<const Rule> Rules();

// Those in file_rules.cpp.
void CheckFile(Judge &judge);
void CheckStart(Judge &judge);
void CheckOrder(Judge &judge);
void CheckRecords(Judge &judge);

/// Tries whether the module's file keeps the rule, in a process of its own.
Account TryRule(const Rule &rule, const std::string &module, Extent extent, const Limits &limits);

} // namespace conformance
