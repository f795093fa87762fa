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

/// A word as a shell takes it.
std::string Quoted(const std::string &word) {
    return word.find_first_of(" ()&;<>|*?#\"'{}$") == word.npos ? word : fmt::format("'{}'", word);
}

std::string PartOf(std::string_view name, const std::string &input) {
    const fs::path path(input == kStandardStream ? "stdin.png" : input);
    if (name == "name")
        return path.stem().string();
    if (name == "dir")
        return path.has_parent_path() ? path.parent_path().string() : ".";
    if (name == "ext")
        return path.has_extension() ? path.extension().string().substr(1) : "";
    Refuse("{{{}}}: expected {{name}}, {{dir}} or {{ext}}, or {{{{ for a brace{}", name,
           Suggestion(name, {"name", "dir", "ext"}));
}

std::string FillIn(std::string_view pattern, const std::string &input) {
    std::string path;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const std::size_t end = pattern.find('}', at);
        if (pattern[at] != '{') {
            path += pattern[at];
        } else if (pattern.substr(at, 2) == "{{") {
            path += pattern[at++];
        } else if (end == pattern.npos) {
            Refuse("{}: a brace has no closing one; {{{{ stands for a brace", pattern);
        } else {
            path += PartOf(pattern.substr(at + 1, end - at - 1), input);
            at = end;
        }
    }
    return path;
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
    if (stray != words.end()) {
        std::string message = fmt::format("\"{}\" stands behind \"{}\", which is read as a call; pictures come first, "
                                          "and -o tells where the result goes:\n  kvt apply",
                                          *stray, *firstCall);
        std::string result;
        if (firstCall != words.begin() && stray + 1 == words.end()) {
            result = " -o " + Quoted(*stray);
            words.pop_back();
        }
        std::stable_partition(words.begin(), words.end(), LooksLikeInput);
        for (const std::string &word : words)
            message += ' ' + Quoted(word);
        throw UserError(message + result);
    }
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
            Refuse("-o {}: the result would replace {}; where that is meant, say -o {}", pattern.output, inputs[i],
                   Quoted("{dir}/{name}.{ext}"));
    }
    CheckTargets(requests);
    return requests;
}

} // namespace tools
