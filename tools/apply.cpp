#include "tools/apply.h"

#include "tools/bound_call.h"
#include "tools/nearest.h"
#include "tools/picture_files.h"
#include "tools/run_call.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
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
    bool hasFalse = false;              ///< among the results
};

Bytes Copy(std::span<const unsigned char> bytes) { return {bytes.begin(), bytes.end()}; }

Json JsonOf(const Value &value) {
    if (value.Is<bool>())
        return value.AsBoolean();
    if (value.Is<double>())
        return value.AsDouble();
    if (value.Is<std::int64_t>())
        return value.AsInteger();
    if (!value.Is<Ref>())
        return nullptr;
    const Ref &ref = value.AsRef();
    if (ref.object()->kind == standin::Kind::Picture)
        return {{"width", ref.picture().width}, {"height", ref.picture().height}};
    return {
        {"bytes", ref.object()->kind == standin::Kind::String ? ref.text().bytes().size() : ref.block().memory.size()}};
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
    const bool givesString = !calls.empty() && calls.back().YieldsString();
    if (!TakesPicture(output, calls)) {
        if (!givesString)
            throw UserError(fmt::format(
                "{}: pictures are saved as .png, .jpg, .jpeg, .webp or .bmp, or into a folder, as in {}/; a "
                "file of another name takes the string that the last call returns, and there is none",
                output, std::filesystem::path(output).replace_extension().string()));
        return;
    }
    CheckWritable(PicturePath(request));
    if (!hasPicture)
        throw UserError(fmt::format("{}: there is no picture to save, for no call makes one", output));
    if (givesString)
        throw UserError(fmt::format("{}: {} returns a string and no picture, which goes to a file of another ending: "
                                    "-o {}",
                                    output, calls.back().name,
                                    std::filesystem::path(output).replace_extension(".ppic").string()));
}

bool LeavesPictureUnsaved(const std::string &output, const std::vector<BoundCall> &calls) {
    return output.empty() && !calls.empty() && (calls.back().YieldsPicture() || calls.back().assigned);
}

/// Notes what a call gave; of a picture, `picture` is it.
void Tell(const BoundCall &call, const Result &result, const Ref &picture, ApplyReport &report) {
    const standin::Declaration &declaration = call.method->declaration;
    const auto tell = [&](const std::string &name, Type type, const Value &value) -> Json {
        if (type != Type::Picture)
            report.answers.emplace_back(name, Shown(value));
        return {{"name", name}, {"type", standin::NameOf(type)}, {"value", JsonOf(value)}};
    };
    Json value;
    if (call.YieldsPicture())
        value = tell(call.name, Type::Picture, picture);
    else if (!call.assigned && declaration.result != Type::Nothing)
        value = tell(call.name, declaration.result, result.value);
    Json byref = Json::array();
    for (const auto &[name, variable] : result.byref) {
        const auto parameter = std::find_if(declaration.parameters.begin(), declaration.parameters.end(),
                                            [&name = name](const auto &known) { return known.name == name; });
        byref.push_back(tell(name, parameter->type, variable));
    }
    const std::chrono::duration<double> time = result.time - result.timeInHost;
    report.calls.push_back({{"call", call.text}, {"result", value}, {"byref", byref}, {"seconds", time.count()}});
}

/// What becomes of alpha on the way through a chain of calls to a picture that is saved.
class AlphaWatch {
  public:
    explicit AlphaWatch(std::vector<std::string> &notes) : notes_(notes) {}

    void After(const BoundCall &call, const Ref &before, const Ref &after) {
        if (call.assigned)
            masked_ = before;
        const bool readsMask = call.method->record.setter && !call.assigned;
        if (after == before || readsMask || !HasAlpha(before) || HasAlpha(after))
            return;
        notes_.push_back(fmt::format("{}: its picture is opaque; the alpha of the one before is lost", call.name));
    }
    /// A mask that was assigned is the alpha channel of what is saved, though the picture was opaque before.
    void Complete(const Ref &last) const {
        if (last && last == masked_)
            AddAlphaChannel(last.picture());
    }

  private:
    bool HasAlpha(const Ref &ref) const {
        return ref && (ref.picture().description.hasAlphaChannel || ref == masked_) && !IsOpaque(ref.picture());
    }
    std::vector<std::string> &notes_;
    Ref masked_;
};

/// The calls of a request, ready to run, and where their blocks go.
struct Plan {
    std::vector<BoundCall> calls;
    std::vector<SavedBlock> savedBlocks;
};

Plan MakePlan(standin::Host &host, const ApplyRequest &request) {
    Plan plan;
    bool hasPicture = request.input.has_value();
    for (const std::string &line : request.calls)
        for (BoundCall &call : BindLine(host, line, hasPicture))
            plan.calls.push_back(std::move(call));
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
    Ref picture = std::move(input.picture);
    Value last;
    const bool savesPicture = !request.output.empty() && TakesPicture(request.output, plan.calls);
    AlphaWatch alpha(report.notes);
    for (const BoundCall &call : plan.calls) {
        const Ref before = picture;
        const Result result = RunCall(host, call, picture);
        Tell(call, result, picture, report);
        if (savesPicture)
            alpha.After(call, before, picture);
        for (const auto &[name, value] : result.byref)
            for (const SavedBlock &saved : plan.savedBlocks)
                if (SameName(saved.name, name) && value.Is<Ref>())
                    harvest.files[saved.path] = Copy(AsBytes(value.AsRef().block()));
        last = result.value;
        harvest.hasFalse = harvest.hasFalse || (last.Is<bool>() && !last.AsBoolean());
    }
    if (LeavesPictureUnsaved(request.output, plan.calls))
        report.unsaved = Shown(picture);
    if (savesPicture) {
        alpha.Complete(picture);
        PictureFile file = FileOf(PicturePath(request), picture.picture(), input.tags, request.quality);
        harvest.output = std::move(file.bytes);
        report.notes.insert(report.notes.end(), file.notes.begin(), file.notes.end());
    } else if (!request.output.empty()) {
        harvest.output = Copy(AsBytes(last.AsRef().text().bytes()));
    }
    return harvest;
}

void Save(const Harvest &harvest, const ApplyRequest &request, ApplyReport &report) {
    if (harvest.output)
        WriteBytes(request.output, *harvest.output);
    for (const auto &[path, bytes] : harvest.files)
        WriteBytes(path, bytes);
    report.isSaved = true;
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
    report.outcome = !report.violations.empty() ? Violated : harvest ? Done : Failed;
    if (report.outcome == Done)
        Save(*harvest, request, report);
    if (report.outcome == Done && request.falseFails && harvest->hasFalse)
        report.outcome = Failed;
}

} // namespace

ApplyReport Apply(const standin::HostDescription &host, const ApplyRequest &request) {
    ApplyReport report;
    const auto start = std::chrono::steady_clock::now();
    try {
        RunAndSave(host, request, report);
    } catch (const WriteFailed &error) {
        report.error = error.what();
        report.outcome = Failed;
    } catch (const std::bad_alloc &) {
        report.error = "there is not enough memory";
    } catch (const std::exception &error) {
        report.error = error.what();
        report.outcome = Wrong;
    }
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

Json JsonOf(const ApplyRequest &request, const ApplyReport &report) {
    const auto orNull = [](bool holds, Json value) { return holds ? std::move(value) : Json(); };
    Json blocks = Json::array();
    for (const std::string &option : request.savedBlocks) {
        const SavedBlock block = ParseSavedBlock(option);
        blocks.push_back({{"name", block.name}, {"output", orNull(report.isSaved, block.path)}});
    }
    Json raised;
    if (report.raised)
        raised = {{"class", report.raised->className}, {"message", report.raised->message}};
    return {{"input", orNull(request.input.has_value(), request.input.value_or(""))},
            {"output", orNull(report.isSaved && !request.output.empty(), request.output)},
            {"blocks", blocks},
            {"calls", report.calls},
            {"seconds", report.seconds},
            {"raised", raised},
            {"notes", report.notes},
            {"violations", report.violations},
            {"error", orNull(!report.error.empty(), report.error)},
            {"status", static_cast<int>(report.outcome)}};
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
