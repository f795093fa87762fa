#include "tools/apply.h"

#include "tools/bound_call.h"
#include "tools/json.h"
#include "tools/nearest.h"
#include "tools/picture_files.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <new>

namespace tools {
namespace {

using standin::Kind;
using standin::Ref;
using standin::Result;
using standin::SameName;
using standin::Type;
using standin::Value;
using Target = BoundCall::Target;

/// A call that came to nothing.
struct CallFailed : std::runtime_error {
    using runtime_error::runtime_error;
};

/// What is to be saved once all went well.
struct Harvest {
    std::optional<Image> picture;
    std::optional<Bytes> text;          ///< the bytes of the last call's string
    std::map<std::string, Bytes> files; ///< content of blocks by path
};

Bytes Copy(std::span<const unsigned char> bytes) { return {bytes.begin(), bytes.end()}; }

std::span<const unsigned char> BytesOf(const standin::MemoryBlock &block) {
    return {block.memory.data(), block.memory.size()};
}

Answer AnswerOf(std::string_view name, Type type, const Value &value) {
    Answer answer{std::string(name), type, "nil", "null"};
    if (value.Is<bool>()) {
        answer.text = answer.json = json::Boolean(value.AsBoolean());
    } else if (value.Is<double>()) {
        answer.text = fmt::format("{}", value.AsDouble());
        answer.json = json::Number(value.AsDouble());
    } else if (value.Is<std::int64_t>()) {
        answer.text = answer.json = fmt::format("{}", value.AsInteger());
    } else if (value.Is<Ref>() && type == Type::Picture) {
        const standin::Picture &picture = value.AsPicture();
        answer.text = fmt::format("picture of {} x {}", picture.width, picture.height);
        answer.json =
            json::Object({{"width", fmt::format("{}", picture.width)}, {"height", fmt::format("{}", picture.height)}});
    } else if (value.Is<Ref>()) {
        const bool isString = type == Type::String;
        const std::size_t bytes =
            isString ? value.AsRef().text().bytes().size() : BytesOf(value.AsRef().block()).size();
        answer.text = fmt::format("{} of {} bytes", isString ? "string" : "memory block", bytes);
        answer.json = json::Object({{"bytes", fmt::format("{}", bytes)}});
    }
    return answer;
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

/// Whether a picture goes there; else the string of the last call does.
bool TakesPicture(const std::string &output, const std::vector<BoundCall> &calls) {
    return output == kStandardStream ? calls.empty() || !calls.back().YieldsString() : IsPicturePath(output);
}

void CheckOutput(const std::string &output, const std::vector<BoundCall> &calls, bool hasPicture) {
    if (output.empty())
        return;
    if (TakesPicture(output, calls) && !hasPicture)
        throw UserError(fmt::format("{}: there is no picture to save, for no call makes one", output));
    if (!TakesPicture(output, calls) && (calls.empty() || !calls.back().YieldsString()))
        throw UserError(fmt::format("{}: pictures are saved as .png, .jpg, .jpeg or .bmp; a file of another name takes "
                                    "the string that the last call returns, and there is none",
                                    output));
}

/// A chain of calls while it runs.
class Chain {
  public:
    Chain(standin::Host &host, Ref picture, Report &report)
        : host_(host), picture_(std::move(picture)), report_(report) {}

    void Run(const BoundCall &call) {
        last_ = Value();
        byref_.clear();
        if (call.target == Target::Class)
            return RunClass(call);
        std::vector<Value> arguments;
        for (const Slot &slot : call.arguments)
            arguments.push_back(Fill(slot));
        const Result result = call.assigned ? RunAssignment(call, std::move(arguments))
                                            : host_.CallRecord(*call.method, call.target == Target::GlobalMethod,
                                                               picture_, std::move(arguments));
        if (result.raised) {
            report_.raised = result.raised;
            throw CallFailed(
                fmt::format("{} raised {}: {}", call.name, result.raised->className, result.raised->message));
        }
        const bool yieldsObject = call.YieldsPicture() || call.YieldsString();
        if (yieldsObject && result.value.IsNil())
            throw CallFailed(call.name + " returned nil" + (call.hint.empty() ? "" : "\n" + call.hint));
        if (call.YieldsPicture())
            picture_ = result.value.AsRef();
        CallReport &told = Tell(call, result);
        const standin::Declaration &declaration = call.method->declaration;
        if (!call.assigned && declaration.result != Type::Nothing)
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
    CallReport &Tell(const BoundCall &call, const Result &result) {
        return report_.calls.emplace_back(CallReport{call.text, {}, {}, result.time - result.timeInHost});
    }
    static Type TypeOf(const standin::Declaration &declaration, const std::string &name) {
        for (const standin::Parameter &parameter : declaration.parameters)
            if (parameter.name == name)
                return parameter.type;
        return Type::Nothing;
    }
    Value Fill(const Slot &slot) const {
        return std::holds_alternative<CurrentPicture>(slot) ? Value(picture_) : std::get<Value>(slot);
    }

    /// The module stores alpha alone. Colors that are premultiplied follow it, as the host's pictures demand.
    Result RunAssignment(const BoundCall &call, std::vector<Value> arguments) {
        const Value assigned = Fill(*call.assigned);
        const Image before = ImageOf(picture_.picture());
        Result result = host_.CallRecord(*call.method, false, picture_, std::move(arguments), &assigned);
        SetColors(picture_.picture(), before);
        return result;
    }

    void RunClass(const BoundCall &call) {
        const Ref instance = host_.New(call.name);
        for (const auto &[name, slot] : call.properties)
            host_.Set(instance, name, Fill(slot));
        if (call.table)
            FillTable(instance, *call.table);
        const Result result = host_.CallRecord(*call.method, false, instance, {});
        if (!result.value.AsBoolean())
            throw CallFailed(fmt::format("{}.{} returned false", call.name, call.method->declaration.name));
        const Value destination = host_.Get(instance, "DestinationPicture");
        if (destination.IsNil())
            throw CallFailed(fmt::format("{}.{} left no DestinationPicture", call.name, call.method->declaration.name));
        picture_ = destination.AsRef();
        Tell(call, result).value = AnswerOf(call.name, Type::Picture, destination);
    }

    void FillTable(const Ref &instance, const CubeTable &table) {
        for (int red = 0; red < kGridPoints; ++red)
            for (int green = 0; green < kGridPoints; ++green)
                for (int blue = 0; blue < kGridPoints; ++blue) {
                    const Triple entry = GridEntry(table, red, green, blue);
                    for (int channel = 0; channel < 3; ++channel)
                        host_.Assign(instance, "Table", {red, green, blue, channel},
                                     entry[static_cast<std::size_t>(channel)]);
                }
    }

    standin::Host &host_;
    Ref picture_;
    Report &report_;
    Value last_;
    std::vector<std::pair<std::string, Value>> byref_;
};

Image ReadInput(const ApplyRequest &request) {
    Image image = ReadImage(*request.input);
    image.hasAlpha = image.hasAlpha || request.addAlpha;
    return image;
}

/// The calls of a request, ready to run, and where their blocks go.
struct Plan {
    std::vector<BoundCall> calls;
    std::vector<SavedBlock> savedBlocks;
};

Plan MakePlan(standin::Host &host, const ApplyRequest &request) {
    Plan plan;
    bool hasPicture = request.input.has_value();
    for (const std::string &text : request.calls) {
        plan.calls.push_back(Bind(host, ParseCall(text), hasPicture));
        hasPicture = hasPicture || plan.calls.back().YieldsPicture();
    }
    plan.savedBlocks = ParseSavedBlocks(request.savedBlocks, plan.calls);
    CheckOutput(request.output, plan.calls, hasPicture);
    return plan;
}

Harvest RunAll(standin::Host &host, const ApplyRequest &request, Report &report) {
    Ref picture;
    if (request.input)
        picture = MakePicture(host, ReadInput(request));
    const Plan plan = MakePlan(host, request);

    Harvest harvest;
    Chain chain(host, std::move(picture), report);
    for (const BoundCall &call : plan.calls) {
        chain.Run(call);
        for (const auto &[name, value] : chain.byref())
            for (const SavedBlock &saved : plan.savedBlocks)
                if (SameName(saved.name, name) && value.Is<Ref>())
                    harvest.files[saved.path] = Copy(BytesOf(value.AsRef().block()));
    }
    if (request.output.empty())
        return harvest;
    if (TakesPicture(request.output, plan.calls))
        harvest.picture = ImageOf(chain.picture().picture());
    else
        harvest.text = Copy(AsBytes(chain.last().AsRef().text().bytes()));
    return harvest;
}

void Save(const Harvest &harvest, const ApplyRequest &request) {
    const std::string &output = request.output;
    const bool toStream = output == kStandardStream;
    if (harvest.picture)
        WriteBytes(output, EncodeImage(toStream ? "standard output" + request.streamEnding : output, *harvest.picture));
    if (harvest.text)
        WriteBytes(output, *harvest.text);
    for (const auto &[path, bytes] : harvest.files)
        WriteBytes(path, bytes);
}

void RunAndSave(const standin::HostDescription &description, const ApplyRequest &request, Report &report) {
    standin::Host host(description);
    std::optional<Harvest> harvest;
    try {
        harvest = RunAll(host, request, report);
    } catch (const CallFailed &failed) {
        report.error = failed.what();
    }
    host.Finish(); // by now nothing of the host's is held here any more: what is still out, the module kept
    report.violations = host.TakeViolations();
    if (harvest && report.violations.empty())
        Save(*harvest, request);
    report.outcome = !report.violations.empty() ? Violated : harvest ? Done : Failed;
}

} // namespace

Report Apply(const standin::HostDescription &host, const ApplyRequest &request) {
    Report report;
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

void CheckCalls(const standin::HostDescription &description, const ApplyRequest &request) {
    standin::Host host(description);
    MakePlan(host, request);
}

SavedBlock ParseSavedBlock(const std::string &option) {
    const std::size_t sign = option.find('=');
    if (sign == option.npos || sign == 0 || sign + 1 == option.size())
        throw UserError(fmt::format("--save-block {}: expected NAME=FILE", option));
    return {option.substr(0, sign), option.substr(sign + 1)};
}

} // namespace tools
