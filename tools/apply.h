#pragma once

#include "standin/host.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

/// How the program ends.
enum Outcome : int {
    Done = 0,
    Failed = 1,  ///< a method yielded nothing or raised an exception
    Wrong = 2,   ///< a call, an option or a file cannot be used
    Violated = 3 ///< the module broke the host's rules
};

struct ApplyRequest {
    std::optional<std::string> input; ///< none: the first call makes the picture
    std::vector<std::string> calls;
    std::string output;                   ///< empty: nothing is saved
    std::vector<std::string> savedBlocks; ///< NAME=FILE, NAME a `byref` memory block of a call
    bool addAlpha = false;                ///< the input has an alpha channel even when its file has no alpha
};

/// Runs the calls, each on the picture that the one before returned, prints what is no picture, and saves the end. All
/// calls are checked, and all files read, before the first one runs; nothing is saved unless all went well. Throws
/// UserError for what is wrong with the request.
Outcome Apply(standin::Host &host, const ApplyRequest &request);

} // namespace tools
