#include "tools/apply.h"

#include "tools/bound_call.h"
#include "tools/picture_files.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <new>

namespace tools {
namespace {

using namespace standin;

/// Paths and what is to be written there, once all went well.
using Files = std::map<std::string, Bytes>;

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
    if (ref.object()->kind == Kind::Picture)
        return {{"width", ref.picture().width}, {"height", ref.picture().height}};
    return {{"bytes", ref.object()->kind == Kind::String ? ref.text().bytes().size() : ref.block().memory.size()}};
}

void CheckBlocks(const std::vector<SavedBlock> &blocks, const std::vector<BoundCall> &calls) {
    std::vector<std::string_view> names;
    for (const BoundCall &call : calls)
        for (const Parameter &parameter : call.method->declaration.parameters)
            if (parameter.byref && parameter.type == Type::MemoryBlock)
                names.push_back(parameter.name);
    for (const SavedBlock &block : blocks)
        if (std::none_of(names.begin(), names.end(), [&](auto known) { return SameName(known, block.name); }))
            throw UserError(fmt::format("--save-block {}={}: no call has a byref memory block \"{}\"{}", block.name,
                                        block.path, block.name, Suggestion(block.name, names)));
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
    const Declaration &declaration = call.method->declaration;
    const auto tell = [&](const std::string &name, Type type, const Value &value) -> Json {
        if (type != Type::Picture)
            report.answers.emplace_back(name, Shown(value));
        return {{"name", name}, {"type", NameOf(type)}, {"value", JsonOf(value)}};
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
    report.json["calls"].push_back(
        {{"call", call.call.text}, {"result", value}, {"byref", byref}, {"seconds", time.count()}});
}

/// The calls of a request, ready to run.
std::vector<BoundCall> BindAll(Host &host, const ApplyRequest &request) {
    std::vector<BoundCall> calls;
    bool hasPicture = request.input.has_value();
    for (const std::string &line : request.calls)
        for (BoundCall &call : BindLine(host, line, hasPicture))
            calls.push_back(std::move(call));
    CheckBlocks(request.savedBlocks, calls);
    CheckOutput(request, calls, hasPicture);
    return calls;
}

Files RunAll(Host &host, const ApplyRequest &request, ApplyReport &report) {
    LoadedPicture input;
    if (request.input)
        input = ReadPicture(host, *request.input, request.addAlpha);
    const std::vector<BoundCall> calls = BindAll(host, request);
    const auto note = [&](const std::vector<std::string> &notes) {
        for (const std::string &one : notes)
            report.json["notes"].push_back(one);
    };
    note(input.notes);
    for (const BoundCall &call : calls)
        note(call.notes);

    Files files;
    Ref picture = std::move(input.picture);
    Ref masked; // what a mask was assigned to: its alpha is saved, though the picture was opaque before
    const auto hasAlpha = [&](const Ref &ref) {
        return ref && (ref.picture().description.hasAlphaChannel || ref == masked) && !IsOpaque(ref.picture());
    };
    const bool savesPicture = !request.output.empty() && TakesPicture(request.output, calls);
    Value last;
    for (const BoundCall &call : calls) {
        const Ref before = picture;
        const Result result = RunCall(host, call, picture);
        Tell(call, result, picture, report);
        if (call.assigned)
            masked = before;
        const bool readsMask = call.method->record.setter && !call.assigned;
        if (savesPicture && picture != before && !readsMask && hasAlpha(before) && !hasAlpha(picture))
            note({fmt::format("{}: its picture is opaque; the alpha of the one before is lost", call.name)});
        for (const auto &[name, value] : result.byref)
            for (const SavedBlock &saved : request.savedBlocks)
                if (SameName(saved.name, name) && value.Is<Ref>())
                    files[saved.path] = Copy(AsBytes(value.AsRef().block()));
        last = result.value;
        report.hasFalse = report.hasFalse || (last.Is<bool>() && !last.AsBoolean());
    }
    if (LeavesPictureUnsaved(request.output, calls))
        report.unsaved = Shown(picture);
    if (savesPicture) {
        if (picture == masked)
            AddAlphaChannel(picture.picture());
        PictureFile file = FileOf(PicturePath(request), picture.picture(), input.tags, request.quality);
        note(file.notes);
        files[request.output] = std::move(file.bytes);
    } else if (!request.output.empty()) {
        files[request.output] = Copy(AsBytes(last.AsRef().text().bytes()));
    }
    return files;
}

void Save(const Files &files, const ApplyRequest &request, Json &json) {
    for (const auto &[path, bytes] : files)
        WriteBytes(path, bytes);
    if (!request.output.empty())
        json["output"] = request.output;
    for (std::size_t i = 0; i < request.savedBlocks.size(); ++i)
        json["blocks"][i]["output"] = request.savedBlocks[i].path;
}

void RunAndSave(const HostDescription &description, const ApplyRequest &request, ApplyReport &report) {
    Host host(description);
    std::optional<Files> files;
    try {
        files = RunAll(host, request, report);
    } catch (const CallFailed &failed) {
        report.json["error"] = failed.what();
        if (failed.raised)
            report.json["raised"] = {{"class", failed.raised->className}, {"message", failed.raised->message}};
    }
    host.Finish(); // by now nothing of the host's is held here any more: what is still out, the module kept
    const std::vector<std::string> violations = host.TakeViolations();
    report.json["violations"] = violations;
    report.outcome = !violations.empty() ? Violated : files ? Done : Failed;
    if (report.outcome == Done)
        Save(*files, request, report.json);
    if (report.outcome == Done && request.falseFails && report.hasFalse)
        report.outcome = Failed;
}

} // namespace

ApplyReport::ApplyReport(const ApplyRequest &request)
    : json{{"input", nullptr}, {"output", nullptr}, {"blocks", Json::array()}, {"calls", Json::array()},
           {"seconds", 0},     {"raised", nullptr}, {"notes", Json::array()},  {"violations", Json::array()},
           {"error", nullptr}, {"status", nullptr}} {
    if (request.input)
        json["input"] = *request.input;
    for (const SavedBlock &block : request.savedBlocks)
        json["blocks"].push_back({{"name", block.name}, {"output", nullptr}});
}

ApplyReport Apply(const HostDescription &host, const ApplyRequest &request) {
    ApplyReport report(request);
    const auto start = std::chrono::steady_clock::now();
    const auto fail = [&](Outcome outcome, const char *why) {
        report.outcome = outcome;
        report.json["error"] = why;
    };
    try {
        RunAndSave(host, request, report);
    } catch (const WriteFailed &error) {
        fail(Failed, error.what());
    } catch (const std::bad_alloc &) {
        fail(Wrong, "there is not enough memory");
    } catch (const std::exception &error) {
        fail(Wrong, error.what());
    }
    report.json["seconds"] = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    report.json["status"] = static_cast<int>(report.outcome);
    return report;
}

bool CheckCalls(const HostDescription &description, const ApplyRequest &request) {
    Host host(description);
    return LeavesPictureUnsaved(request.output, BindAll(host, request));
}

} // namespace tools
