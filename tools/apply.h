#pragma once

#include "standin/host.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// How the program ends. Of several ends, the greatest counts.
enum Outcome : int {
    Done = 0,
    Failed = 1,  ///< a method yielded nothing or raised an exception
    Wrong = 2,   ///< a call, an option or a file cannot be used
    Violated = 3 ///< the module broke the host's rules
};

/// Paths may be the standard streams.
struct ApplyRequest {
    std::optional<std::string> input; ///< none: the first call makes the picture
    std::vector<std::string> calls;
    std::string output;                   ///< empty: nothing is saved
    std::string streamEnding = ".png";    ///< how a picture goes to standard output
    std::vector<std::string> savedBlocks; ///< NAME=FILE, NAME a `byref` memory block of a call
    int quality = 92;                     ///< of a JPEG or WebP file that is written
    bool addAlpha = false;                ///< the input has an alpha channel even when its file has no alpha
};

/// A value that a call gave, as the user is told of it.
struct Answer {
    std::string name; ///< of the method or the `byref` variable
    standin::Type type = standin::Type::Nothing;
    std::string text; ///< 12, true, picture of 640 x 480
    std::string json;
};

struct CallReport {
    std::string call;            ///< as it was written
    std::optional<Answer> value; ///< none: the method has no result
    std::vector<Answer> byref;
    std::chrono::nanoseconds time = {}; ///< inside the module, without the host's entries
};

/// What came of a request.
struct ApplyReport {
    Outcome outcome = Wrong;
    std::vector<CallReport> calls;  ///< those that gave what they are there for
    std::string unsaved;            ///< the picture that the last call made and nothing takes; empty when there is none
    std::vector<std::string> notes; ///< what of files is not in the pictures, and the other way around
    std::optional<standin::RaisedException> raised;
    std::string error; ///< why nothing was saved; empty when all went well
    std::vector<std::string> violations;
    std::chrono::nanoseconds time = {}; ///< from reading the input to saving the end
};

/// Runs the calls on a new host, each on the picture that the one before returned, and saves the end. All calls are
/// checked, and all files read, before the first one runs; nothing is saved unless all went well. Throws nothing of the
/// request's: what is wrong with it stands in the report.
ApplyReport Apply(const standin::HostDescription &host, const ApplyRequest &request);

/// Throws UserError for what is wrong with the calls themselves, whatever the input holds. Whether the last one makes a
/// picture that nothing takes.
bool CheckCalls(const standin::HostDescription &host, const ApplyRequest &request);

/// NAME and FILE of NAME=FILE. Throws UserError.
struct SavedBlock {
    std::string name;
    std::string path;
};
SavedBlock ParseSavedBlock(const std::string &option);

} // namespace tools
