#include "tools/apply.h"

#include "tools/bound_call.h"
#include "tools/picture_files.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <tuple>

namespace tools {
namespace {

using namespace standin;

/// Paths and what is to be written there, once all went well.
using Files = std::map<std::string, Bytes>;

Bytes Copy(std::span<const unsigned char> bytes) { return {bytes.begin(), bytes.end()}; }

void CheckBlocks(const std::vector<SavedBlock> &blocks, const std::vector<BoundCall> &calls) {
    std::vector<std::string_view> names;
    for (const BoundCall &call : calls)
        for (const Parameter &parameter : call.method->declaration.parameters)
            if (parameter.byref && parameter.type == Type::MemoryBlock)
                names.push_back(parameter.name);
    for (const SavedBlock &block : blocks)
        if (std::ranges::none_of(names, [&](auto known) { return SameName(known, block.name); }))
            Refuse("--save-block {}={}: no call has a byref memory block \"{}\"{}", block.name, block.path, block.name,
                   Suggestion(block.name, names));
}

std::string PicturePath(const ApplyRequest &request) {
    const bool toStream = request.output == kStandardStream;
    return toStream ? "standard output" + request.streamEnding : request.output;
}

bool GivesString(const std::vector<BoundCall> &calls) { return !calls.empty() && calls.back().YieldsString(); }

/// Whether a picture goes there; else the string of the last call does.
bool TakesPicture(const std::string &output, const std::vector<BoundCall> &calls) {
    return output == kStandardStream ? !GivesString(calls) : IsPicturePath(output);
}

void CheckOutput(const ApplyRequest &request, const std::vector<BoundCall> &calls, bool hasPicture) {
    std::filesystem::path output = request.output;
    if (!TakesPicture(request.output, calls)) {
        if (!output.empty() && !GivesString(calls))
            Refuse("{}: pictures are saved as .png, .jpg, .jpeg, .webp or .bmp, or into a folder, as in {}/; a file of "
                   "another name takes the string that the last call returns, and there is none",
                   request.output, output.replace_extension().string());
        return;
    }
    CheckWritable(PicturePath(request));
    if (!hasPicture)
        Refuse("{}: there is no picture to save, for no call makes one", request.output);
    if (GivesString(calls))
        Refuse("{}: {} returns a string and no picture, which goes to a file of another ending: "
               "-o {}",
               request.output, calls.back().name, output.replace_extension(".ppic").string());
}

/// What is told of a call; of a picture, `picture` is what it gave.
Json TellCall(const BoundCall &call, const Result &result, const Ref &picture) {
    const Declaration &declaration = call.method->declaration;
    Json value;
    if (call.YieldsPicture())
        value = Told(call.name, Type::Picture, picture);
    else if (!call.assigned && declaration.result != Type::Nothing)
        value = Told(call.name, declaration.result, result.value);
    Json byref = Json::array();
    for (const Parameter &parameter : declaration.parameters)
        if (parameter.byref)
            byref.push_back(Told(parameter.name, parameter.type, result.byref[byref.size()].second));
    const std::chrono::duration<double> time = result.time - result.timeInHost;
    return {{"call", call.call.text}, {"result", value}, {"byref", byref}, {"seconds", time.count()}};
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

Files RunAll(Host &host, const ApplyRequest &request, Json &report) {
    LoadedPicture input;
    if (request.input)
        input = ReadPicture(host, *request.input, request.addAlpha);
    const std::vector<BoundCall> calls = BindAll(host, request);
    const auto note = [&](const std::vector<std::string> &notes) {
        for (const std::string &one : notes)
            report["notes"].push_back(one);
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
        report["calls"].push_back(TellCall(call, result, picture));
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
    }
    if (request.output.empty() && !calls.empty() && (calls.back().YieldsPicture() || calls.back().assigned))
        report["unsaved"] = Shown(Told({}, Type::Picture, picture));
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

Outcome RunAndSave(const HostDescription &description, const ApplyRequest &request, Json &report) {
    Host host(description);
    std::optional<Files> files;
    try {
        files = RunAll(host, request, report);
    } catch (const CallFailed &failed) {
        report["error"] = failed.what();
        if (failed.raised)
            report["raised"] = {{"class", failed.raised->className}, {"message", failed.raised->message}};
    }
    host.Finish(); // by now nothing of the host's is held here any more: what is still out, the module kept
    report["violations"] = host.TakeViolations();
    if (!report["violations"].empty())
        return Violated;
    if (!files)
        return Failed;
    for (const auto &[path, bytes] : *files)
        WriteBytes(path, bytes);
    if (!request.output.empty())
        report["output"] = request.output;
    for (std::size_t i = 0; i < request.savedBlocks.size(); ++i)
        report["blocks"][i]["output"] = request.savedBlocks[i].path;
    const auto isFalse = [](const Json &call) { return call["result"] != nullptr && call["result"]["value"] == false; };
    return request.falseFails && std::ranges::any_of(report["calls"], isFalse) ? Failed : Done;
}

} // namespace

Json ReportOf(const ApplyRequest &request, Outcome outcome, const Json &error) {
    Json report =
        Json::parse(R"({"input": null, "output": null, "blocks": [], "calls": [], "seconds": 0, "raised": null,
                                  "notes": [], "violations": [], "error": null, "status": null, "unsaved": null})");
    report["status"] = outcome;
    report["error"] = error;
    if (request.input)
        report["input"] = *request.input;
    for (const SavedBlock &block : request.savedBlocks)
        report["blocks"].push_back({{"name", block.name}, {"output", nullptr}});
    return report;
}

Json Apply(const HostDescription &host, const ApplyRequest &request) {
    Json report = ReportOf(request);
    const auto start = std::chrono::steady_clock::now();
    try {
        report["status"] = RunAndSave(host, request, report);
    } catch (const std::exception &error) {
        std::tie(report["status"], report["error"]) = EndBy(error);
    }
    report["seconds"] = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

void CheckCalls(const HostDescription &description, const ApplyRequest &request) {
    Host host(description);
    BindAll(host, request);
}

} // namespace tools
