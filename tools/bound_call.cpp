#include "tools/bound_call.h"

#include "tools/list.h"
#include "tools/nearest.h"
#include "tools/picture_files.h"
#include "tools/wav_file.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <limits>
#include <span>

namespace tools {
namespace {

using standin::NameOf;
using standin::Parameter;
using standin::RegisteredClass;
using standin::RegisteredMethod;
using standin::SameName;
using standin::Type;
using standin::Value;
using Form = Argument::Form;
using Target = BoundCall::Target;

constexpr std::uint32_t kBinaryString = 0xFFFF;
constexpr std::string_view kTable = "Table"; ///< written like a property, its value a .cube file

struct Candidate {
    Target target;
    const RegisteredMethod *method;
};

bool IsWord(const Argument &argument, std::string_view word) {
    return argument.form == Form::Bare && SameName(argument.text, word);
}

const RegisteredMethod *MethodNamed(const RegisteredClass &definition, std::string_view name) {
    for (const RegisteredMethod &method : definition.methods)
        if (SameName(method.declaration.name, name))
            return &method;
    return nullptr;
}

bool HasTable(const RegisteredClass &definition) {
    const RegisteredMethod *table = MethodNamed(definition, kTable);
    return table && table->record.setter;
}

/// What is declared under a name, a line each below a heading; empty when nothing is.
std::string Declared(const standin::Host &host, std::string_view name) {
    std::string lines;
    const auto add = [&](std::string_view line) { lines += fmt::format("\n  {}", line); };
    for (const auto &definition : host.Classes())
        if (SameName(definition->name, name)) {
            for (const auto &property : definition->properties)
                add(fmt::format("{}.{} as {}", definition->name, property.name, NameOf(property.type)));
            for (const RegisteredMethod &method : definition->methods)
                add(fmt::format("{}.{}", definition->name, method.declaration.text));
        }
    for (const auto *methods : {&host.PictureMethods(), &host.GlobalMethods()})
        for (const RegisteredMethod &method : *methods)
            if (SameName(method.declaration.name, name))
                add(method.declaration.text);
    return lines.empty() ? lines : "declared:" + lines;
}

/// Where something should stand that is missing behind the last argument.
Place Behind(const Call &call) {
    const Place &last = call.arguments.empty() ? call.namePlace : call.arguments.back().place;
    return {last.at + last.length, 1};
}

/// "source1", "left, top and width"
std::string Enumerated(std::span<const Parameter> parameters) {
    std::string list;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        list += (i == 0 ? "" : i + 1 == parameters.size() ? " and " : ", ") + parameters[i].name;
    return list;
}

/// Binds one call; what it fails with shows the call and the declarations that it could have meant.
class Binder {
  public:
    Binder(standin::Host &host, const Call &call, bool hasPicture)
        : host_(host), call_(call), hasPicture_(hasPicture), declared_(Declared(host, call.name)) {}

    BoundCall Run() {
        for (const auto &definition : host_.Classes())
            if (SameName(definition->name, call_.name))
                return BindClass(*definition);
        std::vector<Candidate> candidates;
        for (const RegisteredMethod &method : host_.PictureMethods())
            if (SameName(method.declaration.name, call_.name))
                candidates.push_back({Target::PictureMethod, &method});
        for (const RegisteredMethod &method : host_.GlobalMethods())
            if (SameName(method.declaration.name, call_.name))
                candidates.push_back({Target::GlobalMethod, &method});
        if (candidates.empty())
            FailUnknown();
        return BindMethod(candidates);
    }

  private:
    [[noreturn]] void Fail(std::string_view message, Place place) const {
        throw CallError(message, call_.text, place, declared_);
    }
    [[noreturn]] void FailUnknown() const {
        const std::string suggestion = Suggestion(call_.name, InterfaceNames(host_));
        // A file that is not there is read as a call.
        const bool couldBeFile = call_.arguments.empty() && !call_.assigned;
        Fail(fmt::format("there is no method or class \"{}\"{}{}", call_.name,
                         couldBeFile ? fmt::format(", and no file \"{}\"", call_.text) : "",
                         suggestion.empty() ? "; kvt list shows what there is" : suggestion),
             call_.namePlace);
    }
    [[noreturn]] void FailUnknownProperty(const RegisteredClass &definition, const Argument &argument) const {
        std::vector<std::string_view> names;
        for (const auto &property : definition.properties)
            names.push_back(property.name);
        Fail(fmt::format("{} has no property \"{}\"{}", definition.name, argument.name,
                         Suggestion(argument.name, names)),
             argument.namePlace);
    }
    /// Names what is missing to the next longer form, when there is one.
    [[noreturn]] void FailArguments(const std::vector<Candidate> &candidates) const {
        const std::size_t count = call_.arguments.size();
        const standin::Declaration *next = nullptr;
        for (const Candidate &candidate : candidates) {
            const standin::Declaration &declaration = candidate.method->declaration;
            if (declaration.Required() > count && (!next || declaration.Required() < next->Required()))
                next = &declaration;
        }
        const std::string message = fmt::format("no {} takes {} argument{}", candidates[0].method->declaration.name,
                                                count, count == 1 ? "" : "s");
        if (!next)
            Fail(message, call_.namePlace);
        const auto missing = std::span(next->parameters).subspan(count, next->Required() - count);
        Fail(fmt::format("{}: {} {} missing", message, Enumerated(missing), missing.size() == 1 ? "is" : "are"),
             Behind(call_));
    }

    BoundCall BindMethod(const std::vector<Candidate> &candidates) {
        const auto fits = [&](const Candidate &candidate) {
            const standin::Declaration &declaration = candidate.method->declaration;
            return call_.arguments.size() >= declaration.Required() &&
                   call_.arguments.size() <= declaration.parameters.size();
        };
        const auto chosen = std::find_if(candidates.begin(), candidates.end(), fits);
        if (chosen == candidates.end())
            FailArguments(candidates);
        const standin::Declaration &declaration = chosen->method->declaration;
        if (!call_.member.empty())
            Fail(fmt::format("{} is a method: it has no member \"{}\"", declaration.name, call_.member),
                 call_.memberPlace);
        if (call_.assigned && !chosen->method->record.setter)
            Fail(fmt::format("{} cannot be assigned to", declaration.name), call_.assigned->place);
        if (chosen->target == Target::PictureMethod && !hasPicture_)
            FailWithoutPicture(call_.namePlace);

        BoundCall bound;
        bound.text = call_.text;
        bound.target = chosen->target;
        bound.name = declaration.name;
        bound.method = chosen->method;
        for (std::size_t i = 0; i < declaration.parameters.size(); ++i) {
            const Parameter &parameter = declaration.parameters[i];
            if (i >= call_.arguments.size()) {
                bound.arguments.push_back(ValueOf(parameter, {{}, Form::Bare, *parameter.defaultText, {}, {}}));
                continue;
            }
            const Argument &argument = call_.arguments[i];
            if (!argument.name.empty())
                Fail(fmt::format("{} takes its arguments by their order, without names", declaration.name),
                     argument.namePlace);
            bound.arguments.push_back(ValueOf(parameter, argument));
        }
        if (call_.assigned)
            bound.assigned = ValueOf({"the assigned value", declaration.result, false, {}}, *call_.assigned);
        CheckBits(bound);
        bound.hint = hint_;
        bound.notes = notes_;
        return bound;
    }

    BoundCall BindClass(const RegisteredClass &definition) {
        if (call_.assigned)
            Fail(fmt::format("{} is a class: it cannot be assigned to", definition.name), call_.assigned->place);
        const RegisteredMethod *member = MethodNamed(definition, call_.member);
        if (!member || member->declaration.result != Type::Boolean || !member->declaration.parameters.empty())
            Fail(fmt::format("{} is a class: expected \".Run\" behind it", definition.name),
                 call_.member.empty() ? Place{call_.text.size(), 1} : call_.memberPlace);

        BoundCall bound;
        bound.text = call_.text;
        bound.target = Target::Class;
        bound.name = definition.name;
        bound.method = member;
        bool hasSource = false;
        for (const Argument &argument : call_.arguments) {
            if (HasTable(definition) && (argument.name.empty() || SameName(argument.name, kTable))) {
                bound.table =
                    FromFile(argument, [&] { return ParseCube(AsText(ReadBytes(argument.text)), argument.text); });
                continue;
            }
            const auto property = std::find_if(definition.properties.begin(), definition.properties.end(),
                                               [&](const auto &known) { return SameName(known.name, argument.name); });
            if (argument.name.empty())
                Fail(fmt::format("{} takes properties by name, as in MinX=10", definition.name), argument.place);
            if (property == definition.properties.end())
                FailUnknownProperty(definition, argument);
            hasSource = hasSource || SameName(property->name, "SourcePicture");
            bound.properties.emplace_back(property->name,
                                          ValueOf({property->name, property->type, false, {}}, argument));
        }
        if (!hasSource) {
            if (!hasPicture_)
                FailWithoutPicture(call_.namePlace);
            bound.properties.emplace_back("SourcePicture", CurrentPicture{});
        }
        return bound;
    }

    [[noreturn]] void FailWithoutPicture(Place place) const {
        Fail("there is no picture yet: a call that makes one must come first", place);
    }

    /// What `read` makes of the file that an argument names; shows the argument when it cannot be used.
    template <class Read> auto FromFile(const Argument &argument, Read read) const -> decltype(read()) {
        try {
            return read();
        } catch (const UserError &error) {
            Fail(error.what(), argument.place);
        }
    }

    Slot ValueOf(const Parameter &parameter, const Argument &argument) {
        const auto misfit = [&](std::string_view expected) {
            const std::string found = argument.form == Form::Quoted      ? "a string in quotes"
                                      : argument.form == Form::FileBytes ? "a file's bytes"
                                                                         : fmt::format("\"{}\"", argument.text);
            Fail(fmt::format("{} as {}: expected {}, not {}", parameter.name, NameOf(parameter.type), expected, found),
                 argument.place);
        };
        const std::optional<double> number =
            argument.form == Form::Bare ? standin::ParseNumber(argument.text) : std::nullopt;
        switch (parameter.type) {
        case Type::Integer:
        case Type::UInt32: {
            const bool isSigned = parameter.type == Type::Integer;
            const double least = isSigned ? std::numeric_limits<std::int32_t>::min() : 0;
            const double most =
                isSigned ? std::numeric_limits<std::int32_t>::max() : std::numeric_limits<std::uint32_t>::max();
            if (!number || *number != std::trunc(*number) || *number < least || *number > most)
                misfit(isSigned ? "a whole number of 32 bits" : "a whole number from 0 on");
            return Value(static_cast<std::int64_t>(*number));
        }
        case Type::Color:
            if (argument.form != Form::Bare || !standin::ParseColor(argument.text))
                misfit("a color such as &cFF8000");
            return Value(*standin::ParseColor(argument.text));
        case Type::Boolean:
            if (!IsWord(argument, "true") && !IsWord(argument, "false"))
                misfit("true or false");
            return Value(IsWord(argument, "true"));
        case Type::Double:
            if (!number)
                misfit("a number");
            return Value(*number);
        case Type::String:
            if (IsWord(argument, "nil"))
                return Value();
            if (argument.form == Form::Bare)
                misfit("a text in double quotes, or @ and a file whose bytes it is");
            return Value(StringOf(argument));
        case Type::Picture:
            if (IsWord(argument, "nil"))
                return Value();
            if (IsWord(argument, "me")) {
                if (!hasPicture_)
                    FailWithoutPicture(argument.place);
                return CurrentPicture{};
            }
            if (argument.form == Form::FileBytes)
                misfit("nil, me or a picture file, without @");
            return Value(PictureOf(argument));
        case Type::MemoryBlock:
            if (IsWord(argument, "nil"))
                return Value();
            return Value(BlockOf(argument));
        case Type::Nothing:
            break;
        }
        misfit("nothing");
        return {};
    }

    standin::Ref StringOf(const Argument &argument) {
        if (argument.form == Form::FileBytes)
            return host_.MakeString(AsText(FromFile(argument, [&] { return ReadBytes(argument.text); })),
                                    kBinaryString);
        if (std::filesystem::exists(argument.text))
            hint_ = fmt::format("a file is called so: @\"{}\" stands for its bytes", argument.text);
        return host_.MakeString(argument.text);
    }

    standin::Ref PictureOf(const Argument &argument) {
        LoadedPicture loaded = FromFile(argument, [&] { return ReadPicture(host_, argument.text); });
        notes_.insert(notes_.end(), loaded.notes.begin(), loaded.notes.end());
        return loaded.picture;
    }

    standin::Ref BlockOf(const Argument &argument) {
        Bytes bytes = FromFile(argument, [&] { return ReadBytes(argument.text); });
        if (IsWav(bytes)) {
            Sound sound = FromFile(argument, [&] { return ReadWav(bytes, argument.text); });
            bits_ = sound.Bits();
            soundPlace_ = argument.place;
            bytes = std::move(sound.samples);
        }
        return host_.MakeBlock(bytes.size(), bytes);
    }

    /// Samples of a sound file are read as the parameter called Bits says.
    void CheckBits(const BoundCall &bound) const {
        const auto &parameters = bound.method->declaration.parameters;
        for (std::size_t i = 0; bits_ && i < parameters.size(); ++i)
            if (SameName(parameters[i].name, "Bits") && std::get<Value>(bound.arguments[i]).AsInteger() != *bits_)
                Fail(fmt::format("this sound file holds {}: {} must be {}, not {}",
                                 *bits_ == 8 ? "unsigned samples of 8 bits" : "signed samples of 16 bits",
                                 parameters[i].name, *bits_, std::get<Value>(bound.arguments[i]).AsInteger()),
                     i < call_.arguments.size() ? call_.arguments[i].place : soundPlace_);
    }

    standin::Host &host_;
    const Call &call_;
    bool hasPicture_;
    std::string declared_;
    std::string hint_;
    std::vector<std::string> notes_;
    std::optional<int> bits_; ///< of the sound among the arguments
    Place soundPlace_;
};

} // namespace

bool BoundCall::YieldsPicture() const {
    return target == Target::Class || (!assigned && method->declaration.result == Type::Picture);
}

bool BoundCall::YieldsString() const {
    return target != Target::Class && !assigned && method->declaration.result == Type::String;
}

BoundCall Bind(standin::Host &host, const Call &call, bool hasPicture) { return Binder(host, call, hasPicture).Run(); }

BoundCall Bind(standin::Host &host, std::string_view call, bool hasPicture) {
    Call parsed;
    try {
        parsed = ParseCall(call);
    } catch (const CallError &error) {
        const std::string declared = Declared(host, NameAtStart(call));
        throw UserError(error.what() + (declared.empty() ? "" : "\n" + declared));
    }
    return Bind(host, parsed, hasPicture);
}

} // namespace tools
