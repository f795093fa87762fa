#pragma once

#include "standin/host.h"
#include "tools/files.h"
#include "tools/json.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

/// Paths may be the standard streams.
struct ApplyRequest {
    std::optional<std::string> input; ///< none: the first call makes the picture
    std::vector<std::string> calls;
    std::string output;                   ///< empty: nothing is saved
    std::string streamEnding = ".png";    ///< how a picture goes to standard output, and into a folder
    std::vector<std::string> savedBlocks; ///< NAME=FILE, NAME a `byref` memory block of a call
    int quality = 92;                     ///< of a JPEG or WebP file that is written
    bool addAlpha = false;                ///< the input has an alpha channel even when its file has no alpha
    bool falseFails = false;              ///< a call whose boolean result is false makes the outcome Failed
};

/// What came of a request.
struct ApplyReport {
    Outcome outcome = Wrong;
    std::vector<std::pair<std::string, std::string>> answers; ///< results that are no pictures: name and value
    Json calls = Json::array();                               ///< those that gave what they are there for
    std::string unsaved;            ///< the picture that the last call made and nothing takes; empty when there is none
    bool isSaved = false;           ///< where the request says
    std::vector<std::string> notes; ///< what of files is not in the pictures, and the other way around
    std::optional<standin::RaisedException> raised;
    std::string error; ///< why nothing was saved; empty when all went well
    std::vector<std::string> violations;
    double seconds = 0; ///< from reading the input to saving the end
};

/// Runs the calls on a new host, each on the picture that the one before returned, and saves the end. All calls are
/// checked, and all files read, before the first one runs; nothing is saved unless all went well. Throws nothing of the
/// request's: what is wrong with it stands in the report.
ApplyReport Apply(const standin::HostDescription &host, const ApplyRequest &request);

/// Request and report as one object.
Json JsonOf(const ApplyRequest &request, const ApplyReport &report);

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
