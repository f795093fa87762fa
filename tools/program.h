#pragma once

#include "tools/apply.h"

namespace tools {

/// Parses the command line, runs the command that it names, and returns how it ended, which is the exit status. Throws
/// what commands throw.
Outcome RunProgram(int argc, char **argv);

} // namespace tools
