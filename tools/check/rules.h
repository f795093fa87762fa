#pragma once

#include "tools/check/isolated.h"

#include <span>
#include <string>

namespace tools::check {

/// One part of what a module promises its host.
struct Rule {
    const char *name;
    const char *promise; ///< continues "the module"
    /// Tries whether the file keeps the promise. Runs in a process of its own.
    void (*run)(const std::string &module, Report &report);
};

std::span<const Rule> Rules();

} // namespace tools::check
