#pragma once

#include "standin/host.h"
#include "tools/files.h"
#include "tools/messages.h"

#include <nlohmann/json.hpp>

namespace tools {

/// Where what a call leaves in its `byref` memory block of that name goes.
struct SavedBlock {
    std::string name;
    std::string path;
};

/// Paths may be the standard streams.
struct ApplyRequest {
    std::optional<std::string> input; ///< none: the first call makes the picture
    std::vector<std::string> calls;
    std::string output;                ///< empty: nothing is saved
    std::string streamEnding = ".png"; ///< how a picture goes to standard output, and into a folder
    std::vector<SavedBlock> savedBlocks;
    int quality = 92;        ///< of a JPEG or WebP file that is written
    bool addAlpha = false;   ///< the input has an alpha channel even when its file has no alpha
    bool falseFails = false; ///< a call whose boolean result is false makes the outcome Failed
};

/// What is told of a request that came to nothing: what --json prints (paths where something was saved, calls, losses,
/// errors, times), and beside it "unsaved", the picture that the last call made and nothing takes, null if there is
/// none.
Json ReportOf(const ApplyRequest &request, Outcome outcome = Done, const Json &error = nullptr);

/// Runs the calls on a new host, each on the picture that the one before returned, and saves the end. All calls are
/// checked, and all files read, before the first one runs; nothing is saved unless all went well. Throws nothing of the
/// request's: what is wrong with it stands in the report, which is returned.
Json Apply(const standin::HostDescription &host, const ApplyRequest &request);

/// Throws UserError for what is wrong with the calls themselves, whatever the input holds.
void CheckCalls(const standin::HostDescription &host, const ApplyRequest &request);

/// Whether a word names an input: "-", a file or pipe that exists, or what has a picture's ending.
bool LooksLikeInput(const std::string &word);

/// Whether a path ends in a slash or is a folder.
bool IsFolder(const std::string &path);

/// Of what stands behind `kvt apply`, apart from options, the first words are inputs; from the first that is none on,
/// all are calls, which alone stay in `words`. There is one word at least. Throws UserError when no input stands there,
/// or one stands among the calls.
std::vector<std::string> TakeInputs(std::vector<std::string> &words);

/// One request an input, with its own places to write to, or the pattern itself when there is no input. In a path,
/// {name}, {dir} and {ext} stand for the input's name without its ending, its folder, and its ending without the dot,
/// {{ and }} for braces; standard input is called stdin, in the current folder, with the ending png. Results go into a
/// folder under the names of the inputs. Throws UserError when two would write to the same place, one to what is
/// another's input, or one in a folder over its own.
std::vector<ApplyRequest> PlanBatch(const ApplyRequest &pattern, const std::vector<std::string> &inputs);

} // namespace tools
