#pragma once

#include "tools/bound_call.h"
#include "tools/host_options.h"
#include "tools/methods.h"

#include <string>

namespace tools::gallery {

/// The picture that a call of methods.json runs on; empty: it needs none.
std::string InputOf(const Json &shot);

/// The variable that stands for a file in a script: its name up to the dot.
std::string VariableFor(std::string_view path);

/// The call as a script has it, of a class the lines that make an instance and run it. Pictures, blocks and strings
/// from files are variables; what comes back is `result`, and variables of `byref` parameters bear their names.
std::string ScriptFor(const Json &shot, const Call &call, const BoundCall &bound);

/// The same for the shell, to be run where the materials lie. Empty when no file can hold such a picture. `output`
/// names what is saved, nothing when it is empty.
std::string CommandFor(const Json &shot, const HostOptions &options, std::string_view output);

} // namespace tools::gallery
