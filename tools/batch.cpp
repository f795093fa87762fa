#include "tools/apply.h"

#include "tools/picture_files.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <map>

namespace tools {
namespace {

namespace fs = std::filesystem;

/// A word as a shell takes it.
std::string Quoted(const std::string &word) {
    return word.find_first_of(" ()&;<>|*?#\"'{}$") == word.npos ? word : fmt::format("'{}'", word);
}

std::string PartOf(std::string_view name, const std::string &input) {
    const bool isStream = input == kStandardStream;
    const fs::path path(isStream ? "stdin.png" : input);
    if (name == "name")
        return path.stem().string();
    if (name == "dir")
        return path.has_parent_path() ? path.parent_path().string() : ".";
    if (name == "ext")
        return path.has_extension() ? path.extension().string().substr(1) : "";
    throw UserError(fmt::format("{{{}}}: expected {{name}}, {{dir}} or {{ext}}, or {{{{ for a brace{}", name,
                                Suggestion(name, {"name", "dir", "ext"})));
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
    for (const ApplyRequest &request : requests)
        readers.emplace(Canonical(*request.input), &request);
    std::map<std::string, const ApplyRequest *> writers;
    for (const ApplyRequest &request : requests) {
        std::vector<std::string> targets;
        if (!request.output.empty())
            targets.push_back(request.output);
        for (const SavedBlock &block : request.savedBlocks)
            targets.push_back(block.path);
        for (const std::string &target : targets) {
            const std::string place = Canonical(target);
            const auto [writer, isFirst] = writers.emplace(place, &request);
            if (!isFirst)
                throw UserError(writer->second == &request
                                    ? fmt::format("{}: two results would go there", target)
                                    : fmt::format("{}: the results of {} and {} would both go there; {{name}}, {{dir}} "
                                                  "and {{ext}} in a path stand for the parts of the input's",
                                                  target, *writer->second->input, *request.input));
            const auto reader = readers.find(place);
            if (place != kStandardStream && reader != readers.end() && reader->second != &request)
                throw UserError(fmt::format("{}: the result of {} would replace this input", target, *request.input));
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

Words SplitWords(const std::vector<std::string> &words) {
    const auto firstCall = std::find_if_not(words.begin(), words.end(), LooksLikeInput);
    const auto stray = std::find_if(firstCall, words.end(), LooksLikeInput);
    Words split;
    for (const std::string &word : words)
        (LooksLikeInput(word) ? split.inputs : split.calls).push_back(word);
    if (stray != words.end()) {
        const bool isResult = firstCall != words.begin() && stray + 1 == words.end();
        if (isResult)
            split.inputs.pop_back();
        std::string line = "kvt apply";
        for (const auto *part : {&split.inputs, &split.calls})
            for (const std::string &word : *part)
                line += ' ' + Quoted(word);
        throw UserError(fmt::format("\"{}\" stands behind \"{}\", which is read as a call; pictures come first, and -o "
                                    "tells where the result goes:\n  {}{}",
                                    *stray, *firstCall, line, isResult ? " -o " + Quoted(*stray) : ""));
    }
    if (!split.inputs.empty())
        return split;
    if (words.empty())
        throw UserError("apply needs a picture: kvt apply PICTURE... CALL...");
    if (std::error_code ignored; fs::is_directory(words[0], ignored))
        throw UserError(fmt::format("\"{}\" is a folder; its pictures may be {}", words[0],
                                    (fs::path(words[0]) / "*.png").string()));
    throw UserError(
        fmt::format("\"{}\" is read as a call, for there is no such file and it has no picture's ending; apply "
                    "needs a picture before it (make needs none)",
                    words[0]));
}

std::string FillIn(std::string_view pattern, const std::string &input) {
    std::string path;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] != '{') {
            path += pattern[at];
        } else if (pattern.substr(at, 2) == "{{") {
            path += pattern[at++];
        } else {
            const std::size_t end = pattern.find('}', at);
            if (end == pattern.npos)
                throw UserError(fmt::format("{}: a brace has no closing one; {{{{ stands for a brace", pattern));
            path += PartOf(pattern.substr(at + 1, end - at - 1), input);
            at = end;
        }
    }
    return path;
}

std::vector<ApplyRequest> PlanBatch(const ApplyRequest &pattern, const std::vector<std::string> &inputs) {
    const bool intoFolder = !pattern.output.empty() && IsFolder(pattern.output);
    const std::string output =
        intoFolder ? (fs::path(pattern.output) / ("{name}" + pattern.streamEnding)).string() : pattern.output;
    std::vector<ApplyRequest> requests;
    for (const std::string &input : inputs) {
        ApplyRequest &request = requests.emplace_back(pattern);
        request.input = input;
        request.output = FillIn(output, input);
        for (SavedBlock &block : request.savedBlocks)
            block.path = FillIn(block.path, input);
        if (intoFolder && Canonical(request.output) == Canonical(input))
            throw UserError(fmt::format("-o {}: the result would replace {}; where that is meant, say -o {}",
                                        pattern.output, input, Quoted("{dir}/{name}.{ext}")));
    }
    CheckTargets(requests);
    return requests;
}

} // namespace tools
