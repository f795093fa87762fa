#pragma once

#include "tools/apply.h"

#include <string>
#include <vector>

namespace tools::check {

struct Request {
    std::string module;             ///< empty: the one beside the program
    std::vector<std::string> rules; ///< by name; empty: all
    bool json = false;
    double patience = 20; ///< seconds that a call may take
};

inline constexpr const char *kExamples = R"(Each rule runs in a process of its own, so that a crash is a finding.
  kvt check                                    the module beside this program
  kvt check build/x86/kvtpicture.so            another one, of this program's width
  kvt check --list                             the rules
  kvt check --only references --only locks     two of them
  kvt check --json >result.json                for programs, with all findings

Exit status:
  0  all rules are kept
  1  a rule is broken; what was found stands below it
  2  the file is no module, or an option cannot be used)";

/// "file   exports ...", a line a rule.
std::string ListRules();

/// Tries whether a module's file keeps its promises to hosts, each in a process of its own, and prints what came of it:
/// Done when all were kept, Failed otherwise. Throws UserError for a file that is no module and for unknown rules.
Outcome Check(const Request &request);

} // namespace tools::check
