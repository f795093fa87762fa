#include "tools/apply.h"

#include "tools/bound_call.h"
#include "tools/picture_files.h"
#include "tools/run_call.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <map>

namespace tools {
namespace {

using standin::Ref;
using standin::Result;
using standin::SameName;
using standin::Type;
using standin::Value;

/// What is to be saved once all went well.
struct Harvest {
    std::optional<Image> picture;
    std::optional<Bytes> text;          ///< the bytes of the last call's string
    std::map<std::string, Bytes> files; ///< content of blocks by path
};

struct SavedBlock {
    std::string name;
    std::string path;
};

Bytes Copy(std::span<const unsigned char> bytes) { return {bytes.begin(), bytes.end()}; }

std::span<const unsigned char> BytesOf(const standin::MemoryBlock &block) {
    return {block.memory.data(), block.memory.size()};
}

std::vector<SavedBlock> ParseSavedBlocks(const std::vector<std::string> &options, const std::vector<BoundCall> &calls) {
    std::vector<SavedBlock> saved;
    for (const std::string &option : options) {
        const std::size_t sign = option.find('=');
        if (sign == option.npos || sign == 0 || sign + 1 == option.size())
            throw UserError(fmt::format("--save-block {}: expected NAME=FILE", option));
        const std::string name = option.substr(0, sign);
        const auto names = [&](const standin::Parameter &parameter) {
            return parameter.byref && parameter.type == Type::MemoryBlock && SameName(parameter.name, name);
        };
        if (std::none_of(calls.begin(), calls.end(), [&](const BoundCall &call) {
                const auto &parameters = call.method->declaration.parameters;
                return std::any_of(parameters.begin(), parameters.end(), names);
            }))
            throw UserError(fmt::format("--save-block {}: no call has a byref memory block \"{}\"", option, name));
        saved.push_back({name, option.substr(sign + 1)});
    }
    return saved;
}

void CheckOutput(const std::string &output, const std::vector<BoundCall> &calls, bool hasPicture) {
    if (output.empty())
        return;
    if (IsPicturePath(output) && !hasPicture)
        throw UserError(fmt::format("{}: there is no picture to save, for no call makes one", output));
    if (!IsPicturePath(output) && (calls.empty() || !calls.back().YieldsString()))
        throw UserError(fmt::format("{}: pictures are saved as .png, .jpg, .jpeg or .bmp; a file of another name takes "
                                    "the string that the last call returns, and there is none",
                                    output));
}

/// A chain of calls while it runs.
class Chain {
  public:
    Chain(standin::Host &host, Ref picture) : host_(host), picture_(std::move(picture)) {}

    void Run(const BoundCall &call) {
        const Result result = RunCall(host_, call, picture_);
        if (!call.YieldsPicture() && !call.assigned && call.method->declaration.result != Type::Nothing)
            fmt::print("{} = {}\n", call.name, Shown(result.value));
        for (const auto &[name, value] : result.byref)
            fmt::print("{} = {}\n", name, Shown(value));
        last_ = result.value;
        byref_ = result.byref;
    }

    const Ref &picture() const { return picture_; }
    const Value &last() const { return last_; }                                        ///< what the last call returned
    const std::vector<std::pair<std::string, Value>> &byref() const { return byref_; } ///< the last call's variables

  private:
    standin::Host &host_;
    Ref picture_;
    Value last_;
    std::vector<std::pair<std::string, Value>> byref_;
};

Image ReadInput(const ApplyRequest &request) {
    Image image = ReadImage(*request.input);
    image.hasAlpha = image.hasAlpha || request.addAlpha;
    return image;
}

Harvest RunAll(standin::Host &host, const ApplyRequest &request) {
    Ref picture;
    if (request.input)
        picture = MakePicture(host, ReadInput(request));
    bool hasPicture = static_cast<bool>(picture);
    std::vector<BoundCall> calls;
    for (const std::string &text : request.calls) {
        calls.push_back(Bind(host, ParseCall(text), hasPicture));
        hasPicture = hasPicture || calls.back().YieldsPicture();
    }
    const std::vector<SavedBlock> savedBlocks = ParseSavedBlocks(request.savedBlocks, calls);
    CheckOutput(request.output, calls, hasPicture);

    Harvest harvest;
    Chain chain(host, std::move(picture));
    for (const BoundCall &call : calls) {
        chain.Run(call);
        for (const auto &[name, value] : chain.byref())
            for (const SavedBlock &saved : savedBlocks)
                if (SameName(saved.name, name) && value.Is<Ref>())
                    harvest.files[saved.path] = Copy(BytesOf(value.AsRef().block()));
    }
    if (IsPicturePath(request.output))
        harvest.picture = ImageOf(chain.picture().picture());
    else if (!request.output.empty())
        harvest.text = Copy(AsBytes(chain.last().AsRef().text().bytes()));
    return harvest;
}

void Save(const Harvest &harvest, const std::string &output) {
    if (harvest.picture)
        WriteImage(output, *harvest.picture);
    if (harvest.text)
        WriteBytes(output, *harvest.text);
    for (const auto &[path, bytes] : harvest.files)
        WriteBytes(path, bytes);
}

} // namespace

Outcome Apply(standin::Host &host, const ApplyRequest &request) {
    std::optional<Harvest> harvest;
    std::string failure;
    try {
        harvest = RunAll(host, request);
    } catch (const CallFailed &failed) {
        failure = failed.what();
    }
    host.Finish(); // by now nothing of the host's is held here any more: what is still out, the module kept
    const std::vector<std::string> violations = host.TakeViolations();
    for (const std::string &violation : violations)
        fmt::print(stderr, "kvt: violation: {}\n", violation);
    if (!failure.empty())
        fmt::print(stderr, "kvt: {}\n", failure);
    if (!violations.empty())
        return Violated;
    if (!harvest)
        return Failed;
    Save(*harvest, request.output);
    return Done;
}

} // namespace tools
