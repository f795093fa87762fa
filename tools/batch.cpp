#include "tools/apply.h"

#include "tools/picture_files.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <utility>

namespace tools {
namespace {

namespace fs = std::filesystem;

/// A path with the parts of an input's in the place of their names.
std::string FillIn(const std::string &pattern, const std::string &input) {
    const fs::path path(input == kStandardStream ? "stdin.png" : input);
    const std::string ending = path.extension().string();
    try {
        return fmt::format(fmt::runtime(pattern), fmt::arg("name", path.stem().string()),
                           fmt::arg("dir", path.has_parent_path() ? path.parent_path().string() : "."),
                           fmt::arg("ext", ending.substr(ending.empty() ? 0 : 1)));
    } catch (const fmt::format_error &) {
        Refuse("{}: expected {{name}}, {{dir}} or {{ext}} in braces; {{{{ and }}}} stand for braces", pattern);
    }
}

/// The same for every way to write a path that leads somewhere.
std::string Canonical(const std::string &path) {
    std::error_code error;
    const fs::path place =
        path == kStandardStream ? fs::path(path) : fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : place.string();
}

void CheckTargets(const std::vector<ApplyRequest> &requests) {
    std::map<std::string, const ApplyRequest *> readers;
    std::map<std::string, const ApplyRequest *> writers;
    for (const ApplyRequest &request : requests)
        readers.emplace(Canonical(*request.input), &request);
    for (const ApplyRequest &request : requests) {
        std::vector<std::string> targets(request.output.empty() ? 0 : 1, request.output);
        for (const SavedBlock &block : request.savedBlocks)
            targets.push_back(block.path);
        for (const std::string &target : targets) {
            const std::string place = Canonical(target);
            const ApplyRequest *writer = std::exchange(writers[place], &request);
            if (writer == &request)
                Refuse("{}: two results would go there", target);
            if (writer)
                Refuse("{}: the results of {} and {} would both go there; {{name}}, {{dir}} and {{ext}} in a path "
                       "stand for the parts of the input's",
                       target, *writer->input, *request.input);
            const auto reader = readers.find(place);
            if (place != kStandardStream && reader != readers.end() && reader->second != &request)
                Refuse("{}: the result of {} would replace this input", target, *request.input);
        }
    }
}

} // namespace

bool IsFolder(const std::string &path) {
    std::error_code ignored;
    return path.ends_with('/') || fs::is_directory(path, ignored);
}

bool LooksLikeInput(const std::string &word) {
    std::error_code ignored;
    const fs::file_status status = fs::status(word, ignored);
    const bool hasNoSignOfACall = word.find_first_of("(=") == word.npos;
    return word == kStandardStream || (fs::exists(status) && !fs::is_directory(status)) ||
           (hasNoSignOfACall && IsPicturePath(word));
}

std::vector<std::string> TakeInputs(std::vector<std::string> &words) {
    const auto firstCall = std::ranges::find_if_not(words, LooksLikeInput);
    const auto stray = std::find_if(firstCall, words.end(), LooksLikeInput);
    if (stray != words.end())
        Refuse(
            "\"{}\" stands behind \"{}\", which is read as a call; pictures come first, and -o tells where the result "
            "goes",
            *stray, *firstCall);
    if (firstCall != words.begin()) {
        std::vector<std::string> calls(firstCall, words.end());
        words.resize(words.size() - calls.size());
        return std::exchange(words, std::move(calls));
    }
    if (std::error_code ignored; fs::is_directory(words[0], ignored))
        Refuse("\"{}\" is a folder; its pictures may be {}", words[0], (fs::path(words[0]) / "*.png").string());
    Refuse("\"{}\" is read as a call, for there is no such file and it has no picture's ending; apply needs a picture "
           "before it (make needs none)",
           words[0]);
}

std::vector<ApplyRequest> PlanBatch(const ApplyRequest &pattern, const std::vector<std::string> &inputs) {
    if (inputs.empty())
        return {pattern};
    const bool intoFolder = !pattern.output.empty() && IsFolder(pattern.output);
    const std::string output =
        intoFolder ? (fs::path(pattern.output) / ("{name}" + pattern.streamEnding)).string() : pattern.output;
    std::vector<ApplyRequest> requests(inputs.size(), pattern);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        requests[i].input = inputs[i];
        requests[i].output = FillIn(output, inputs[i]);
        for (SavedBlock &block : requests[i].savedBlocks)
            block.path = FillIn(block.path, inputs[i]);
        if (intoFolder && Canonical(requests[i].output) == Canonical(inputs[i]))
            Refuse("-o {}: the result would replace {}; where that is meant, say -o '{{dir}}/{{name}}.{{ext}}'",
                   pattern.output, inputs[i]);
    }
    CheckTargets(requests);
    return requests;
}

} // namespace tools
