#include "tools/apply.h"

#include "tools/bound_call.h"
#include "tools/json.h"
#include "tools/nearest.h"
#include "tools/picture_files.h"
#include "tools/run_call.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <new>

namespace tools {
namespace {

using standin::Ref;
using standin::Result;
using standin::SameName;
using standin::Type;
using standin::Value;

/// What is to be saved once all went well.
struct Harvest {
    std::optional<Bytes> output;        ///< the last picture's file, or the bytes of the last call's string
    std::map<std::string, Bytes> files; ///< content of blocks by path
};

Bytes Copy(std::span<const unsigned char> bytes) { return {bytes.begin(), bytes.end()}; }

std::string JsonOf(Type type, const Value &value) {
    const auto count = [](auto number) { return fmt::format("{}", number); };
    if (value.Is<bool>())
        return json::Boolean(value.AsBoolean());
    if (value.Is<double>())
        return json::Number(value.AsDouble());
    if (value.Is<std::int64_t>())
        return count(value.AsInteger());
    if (!value.Is<Ref>())
        return "null";
    if (type == Type::Picture)
        return json::Object({{"width", count(value.AsPicture().width)}, {"height", count(value.AsPicture().height)}});
    return json::Object({{"bytes", count(type == Type::String ? value.AsRef().text().bytes().size()
                                                              : AsBytes(value.AsRef().block()).size())}});
}

Answer AnswerOf(std::string_view name, Type type, const Value &value) {
    return {std::string(name), type, Shown(value), JsonOf(type, value)};
}

std::vector<SavedBlock> ParseSavedBlocks(const std::vector<std::string> &options, const std::vector<BoundCall> &calls) {
    std::vector<SavedBlock> saved;
    for (const std::string &option : options) {
        saved.push_back(ParseSavedBlock(option));
        std::vector<std::string_view> names;
        for (const BoundCall &call : calls)
            for (const standin::Parameter &parameter : call.method->declaration.parameters)
                if (parameter.byref && parameter.type == Type::MemoryBlock)
                    names.push_back(parameter.name);
        const std::string &name = saved.back().name;
        if (std::none_of(names.begin(), names.end(), [&](std::string_view known) { return SameName(known, name); }))
            throw UserError(fmt::format("--save-block {}: no call has a byref memory block \"{}\"{}", option, name,
                                        Suggestion(name, names)));
    }
    return saved;
}

std::string PicturePath(const ApplyRequest &request) {
    const bool toStream = request.output == kStandardStream;
    return toStream ? "standard output" + request.streamEnding : request.output;
}

/// Whether a picture goes there; else the string of the last call does.
bool TakesPicture(const std::string &output, const std::vector<BoundCall> &calls) {
    return output == kStandardStream ? calls.empty() || !calls.back().YieldsString() : IsPicturePath(output);
}

void CheckOutput(const ApplyRequest &request, const std::vector<BoundCall> &calls, bool hasPicture) {
    const std::string &output = request.output;
    if (output.empty())
        return;
    if (TakesPicture(output, calls))
        CheckWritable(PicturePath(request));
    if (TakesPicture(output, calls) && !hasPicture)
        throw UserError(fmt::format("{}: there is no picture to save, for no call makes one", output));
    if (!TakesPicture(output, calls) && (calls.empty() || !calls.back().YieldsString()))
        throw UserError(
            fmt::format("{}: pictures are saved as .png, .jpg, .jpeg, .webp or .bmp; a file of another name takes "
                        "the string that the last call returns, and there is none",
                        output));
}

bool LeavesPictureUnsaved(const std::string &output, const std::vector<BoundCall> &calls) {
    return output.empty() && !calls.empty() && (calls.back().YieldsPicture() || calls.back().assigned);
}

/// A chain of calls while it runs.
class Chain {
  public:
    Chain(standin::Host &host, Ref picture, ApplyReport &report)
        : host_(host), picture_(std::move(picture)), report_(report) {}

    void Run(const BoundCall &call) {
        const Result result = RunCall(host_, call, picture_);
        CallReport &told = report_.calls.emplace_back(CallReport{call.text, {}, {}, result.time - result.timeInHost});
        const standin::Declaration &declaration = call.method->declaration;
        if (call.YieldsPicture())
            told.value = AnswerOf(call.name, Type::Picture, picture_);
        else if (!call.assigned && declaration.result != Type::Nothing)
            told.value = AnswerOf(call.name, declaration.result, result.value);
        for (const auto &[name, value] : result.byref)
            told.byref.push_back(AnswerOf(name, TypeOf(declaration, name), value));
        last_ = result.value;
        byref_ = result.byref;
    }

    const Ref &picture() const { return picture_; }
    const Value &last() const { return last_; }                                        ///< what the last call returned
    const std::vector<std::pair<std::string, Value>> &byref() const { return byref_; } ///< the last call's variables

  private:
    static Type TypeOf(const standin::Declaration &declaration, const std::string &name) {
        for (const standin::Parameter &parameter : declaration.parameters)
            if (parameter.name == name)
                return parameter.type;
        return Type::Nothing;
    }

    standin::Host &host_;
    Ref picture_;
    ApplyReport &report_;
    Value last_;
    std::vector<std::pair<std::string, Value>> byref_;
};

/// The calls of a request, ready to run, and where their blocks go.
struct Plan {
    std::vector<BoundCall> calls;
    std::vector<SavedBlock> savedBlocks;
};

Plan MakePlan(standin::Host &host, const ApplyRequest &request) {
    Plan plan;
    bool hasPicture = request.input.has_value();
    for (const std::string &text : request.calls) {
        plan.calls.push_back(Bind(host, text, hasPicture));
        hasPicture = hasPicture || plan.calls.back().YieldsPicture();
    }
    plan.savedBlocks = ParseSavedBlocks(request.savedBlocks, plan.calls);
    CheckOutput(request, plan.calls, hasPicture);
    return plan;
}

Harvest RunAll(standin::Host &host, const ApplyRequest &request, ApplyReport &report) {
    LoadedPicture input;
    if (request.input)
        input = ReadPicture(host, *request.input, request.addAlpha);
    const Plan plan = MakePlan(host, request);
    report.notes = std::move(input.notes);
    for (const BoundCall &call : plan.calls)
        report.notes.insert(report.notes.end(), call.notes.begin(), call.notes.end());

    Harvest harvest;
    Chain chain(host, std::move(input.picture), report);
    for (const BoundCall &call : plan.calls) {
        chain.Run(call);
        for (const auto &[name, value] : chain.byref())
            for (const SavedBlock &saved : plan.savedBlocks)
                if (SameName(saved.name, name) && value.Is<Ref>())
                    harvest.files[saved.path] = Copy(AsBytes(value.AsRef().block()));
    }
    if (LeavesPictureUnsaved(request.output, plan.calls))
        report.unsaved = Shown(chain.picture());
    if (request.output.empty())
        return harvest;
    if (!TakesPicture(request.output, plan.calls)) {
        harvest.output = Copy(AsBytes(chain.last().AsRef().text().bytes()));
        return harvest;
    }
    PictureFile file = FileOf(PicturePath(request), chain.picture().picture(), input.tags, request.quality);
    harvest.output = std::move(file.bytes);
    report.notes.insert(report.notes.end(), file.notes.begin(), file.notes.end());
    return harvest;
}

void Save(const Harvest &harvest, const ApplyRequest &request) {
    if (harvest.output)
        WriteBytes(request.output, *harvest.output);
    for (const auto &[path, bytes] : harvest.files)
        WriteBytes(path, bytes);
}

void RunAndSave(const standin::HostDescription &description, const ApplyRequest &request, ApplyReport &report) {
    standin::Host host(description);
    std::optional<Harvest> harvest;
    try {
        harvest = RunAll(host, request, report);
    } catch (const CallFailed &failed) {
        report.error = failed.what();
        report.raised = failed.raised;
    }
    host.Finish(); // by now nothing of the host's is held here any more: what is still out, the module kept
    report.violations = host.TakeViolations();
    if (harvest && report.violations.empty())
        Save(*harvest, request);
    report.outcome = !report.violations.empty() ? Violated : harvest ? Done : Failed;
}

} // namespace

ApplyReport Apply(const standin::HostDescription &host, const ApplyRequest &request) {
    ApplyReport report;
    const auto start = std::chrono::steady_clock::now();
    try {
        RunAndSave(host, request, report);
    } catch (const std::bad_alloc &) {
        report.error = "there is not enough memory";
    } catch (const std::exception &error) {
        report.error = error.what();
    }
    report.time = std::chrono::steady_clock::now() - start;
    return report;
}

bool CheckCalls(const standin::HostDescription &description, const ApplyRequest &request) {
    standin::Host host(description);
    return LeavesPictureUnsaved(request.output, MakePlan(host, request).calls);
}

SavedBlock ParseSavedBlock(const std::string &option) {
    const std::size_t sign = option.find('=');
    if (sign == option.npos || sign == 0 || sign + 1 == option.size())
        throw UserError(fmt::format("--save-block {}: expected NAME=FILE", option));
    return {option.substr(0, sign), option.substr(sign + 1)};
}

} // namespace tools
