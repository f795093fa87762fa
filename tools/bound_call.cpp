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
#include <set>
#include <utility>

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
constexpr std::string_view kBits = "Bits";   ///< how samples are stored, which a sound file knows itself

/// What stands for "no wish" where others are given by name and the declaration has no default.
constexpr std::pair<std::string_view, std::string_view> kNeutral[] = {
    {"left", "0"},        {"top", "0"},    {"width", "-1"},       {"height", "-1"},
    {"SampleCount", "0"}, {"Smooth", "1"}, {"outlinewidth", "0"},
};

/// A form of a method, and which of the call's arguments each of its parameters would get.
struct Candidate {
    Target target;
    const RegisteredMethod *method;
    std::vector<const Argument *> arguments = {}; ///< null: left out
    std::vector<std::string_view> missing = {};   ///< parameters that must not be left out
    bool takesAll = true;                         ///< that the call has

    bool Fits() const { return takesAll && missing.empty(); }
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
std::string Enumerated(const std::vector<std::string_view> &names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i)
        list += fmt::format("{}{}", i == 0 ? "" : i + 1 == names.size() ? " and " : ", ", names[i]);
    return list;
}

/// What stands for a parameter that a call leaves out; nothing when it must not be.
std::optional<std::string> LeftOut(const Parameter &parameter, bool othersAreNamed) {
    if (parameter.defaultText)
        return parameter.defaultText;
    if (parameter.byref) // where results come back
        return parameter.type == Type::MemoryBlock ? "nil" : "0";
    for (const auto &[name, text] : kNeutral)
        if (othersAreNamed && SameName(name, parameter.name))
            return std::string(text);
    return std::nullopt;
}

/// &cRRGGBB, &hRRGGBB, 0xRRGGBB or #RRGGBB. Fewer digits would be another color than the one that is meant.
std::optional<std::uint32_t> ColorOf(std::string_view text) {
    for (const std::string_view sign : {"&c", "&h", "0x", "#"})
        if (SameName(text.substr(0, sign.size()), sign) && text.size() == sign.size() + 6)
            return standin::ParseColor("&c" + std::string(text.substr(sign.size())));
    return std::nullopt;
}

/// Binds one call; what it fails with shows the call and the declarations that it could have meant.
class Binder {
  public:
    Binder(standin::Host &host, const Call &call, bool hasPicture)
        : host_(host), call_(call), hasPicture_(hasPicture), declared_(Declared(host, call.name)) {}

    BoundCall Run() {
        BoundCall bound = BindAny();
        bound.text = call_.text;
        bound.hint = hint_;
        bound.notes = notes_;
        return bound;
    }

  private:
    BoundCall BindAny() {
        for (const auto &definition : host_.Classes())
            if (SameName(definition->name, call_.name))
                return BindClass(*definition);
        std::vector<Candidate> candidates;
        for (const Target target : {Target::PictureMethod, Target::GlobalMethod})
            for (const RegisteredMethod &method :
                 target == Target::PictureMethod ? host_.PictureMethods() : host_.GlobalMethods())
                if (SameName(method.declaration.name, call_.name))
                    candidates.push_back(Matched({target, &method}));
        if (candidates.empty())
            FailUnknown();
        return BindMethod(candidates);
    }

    [[noreturn]] void Fail(std::string_view message, Place place) const {
        throw CallError(message, call_.text, place, declared_);
    }
    [[noreturn]] void FailUnknown() const {
        const std::string suggestion = Suggestion(call_.name, InterfaceNames(host_));
        const bool couldBeFile = call_.arguments.empty() && !call_.assigned; // which would be read as a call
        std::error_code ignored;
        const auto status = std::filesystem::status(call_.text, ignored);
        const std::string file = !couldBeFile ? ""
                                 : std::filesystem::is_directory(status)
                                     ? fmt::format("; \"{}\" is a folder", call_.text)
                                 : std::filesystem::exists(status) ? fmt::format("; \"{}\" is a file", call_.text)
                                                                   : fmt::format(", and no file \"{}\"", call_.text);
        Fail(fmt::format("there is no method or class \"{}\"{}{}", call_.name, file,
                         suggestion.empty() ? "; kvt list shows what there is" : suggestion),
             call_.namePlace);
    }
    /// Shows an argument's name unless it is one of these.
    void CheckName(const Argument &argument, std::string_view owner, std::string_view kind,
                   const std::vector<std::string_view> &names) const {
        const auto isIt = [&](std::string_view name) { return SameName(name, argument.name); };
        if (!argument.name.empty() && std::none_of(names.begin(), names.end(), isIt))
            Fail(fmt::format("{} has no {} \"{}\"{}", owner, kind, argument.name, Suggestion(argument.name, names)),
                 argument.namePlace);
    }
    [[noreturn]] void FailTwice(const Argument &argument) const {
        Fail("this is given twice", argument.name.empty() ? argument.place : argument.namePlace);
    }
    /// Gives arguments to parameters, by their order, then by their names.
    Candidate Matched(Candidate candidate) const {
        const std::vector<Parameter> &parameters = candidate.method->declaration.parameters;
        candidate.arguments.resize(parameters.size());
        bool named = false;
        for (std::size_t i = 0; i < call_.arguments.size(); ++i) {
            const Argument &argument = call_.arguments[i];
            named = named || !argument.name.empty();
            if (named && argument.name.empty())
                Fail("what has no name comes before what has one", argument.place);
            std::size_t at = i;
            if (named)
                at = static_cast<std::size_t>(
                    std::find_if(parameters.begin(), parameters.end(),
                                 [&](const Parameter &known) { return SameName(known.name, argument.name); }) -
                    parameters.begin());
            if (at >= parameters.size())
                candidate.takesAll = false;
            else if (std::exchange(candidate.arguments[at], &argument))
                FailTwice(argument);
        }
        for (std::size_t i = 0; i < parameters.size(); ++i)
            if (!candidate.arguments[i] && !LeftOut(parameters[i], named))
                candidate.missing.push_back(parameters[i].name);
        return candidate;
    }
    /// Names what is missing to the form that lacks the least, when there is one.
    [[noreturn]] void FailArguments(const std::vector<Candidate> &candidates) const {
        std::vector<std::string_view> names;
        const Candidate *next = nullptr;
        for (const Candidate &candidate : candidates) {
            for (const Parameter &parameter : candidate.method->declaration.parameters)
                names.push_back(parameter.name);
            if (candidate.takesAll && (!next || candidate.missing.size() < next->missing.size()))
                next = &candidate;
        }
        const std::string &method = candidates[0].method->declaration.name;
        for (const Argument &argument : call_.arguments)
            CheckName(argument, method, "parameter", names);
        const std::size_t count = call_.arguments.size();
        const std::string message = fmt::format("no {} takes {} argument{}", method, count, count == 1 ? "" : "s");
        if (!next)
            Fail(message, call_.namePlace);
        Fail(fmt::format("{}: {} {} missing", message, Enumerated(next->missing),
                         next->missing.size() == 1 ? "is" : "are"),
             Behind(call_));
    }

    BoundCall BindMethod(const std::vector<Candidate> &candidates) {
        const auto chosen =
            std::find_if(candidates.begin(), candidates.end(), [](const Candidate &form) { return form.Fits(); });
        if (chosen == candidates.end())
            FailArguments(candidates);
        const standin::Declaration &declaration = chosen->method->declaration;
        declaration_ = &declaration;
        if (!call_.member.empty())
            Fail(fmt::format("there is no method \"{}\" to go on with behind {}{}", call_.member, declaration.name,
                             Suggestion(call_.member, InterfaceNames(host_))),
                 call_.memberPlace);
        if (call_.assigned && !chosen->method->record.setter)
            Fail(fmt::format("{} cannot be assigned to", declaration.name), call_.assigned->place);
        if (chosen->target == Target::PictureMethod && !hasPicture_)
            FailWithoutPicture(call_.namePlace);

        BoundCall bound;
        bound.target = chosen->target;
        bound.name = declaration.name;
        bound.method = chosen->method;
        const bool named = !call_.arguments.empty() && !call_.arguments.back().name.empty();
        for (std::size_t i = 0; i < declaration.parameters.size(); ++i) {
            const Parameter &parameter = declaration.parameters[i];
            const bool isBits = bits_ && SameName(parameter.name, kBits);
            if (const Argument *argument = chosen->arguments[i])
                bound.arguments.push_back(ValueOf(parameter, *argument));
            else
                bound.arguments.push_back(ValueOf(
                    parameter, {{}, Form::Bare, isBits ? std::to_string(*bits_) : *LeftOut(parameter, named), {}, {}}));
            if (isBits && std::get<Value>(bound.arguments[i]).AsInteger() != *bits_)
                Fail(fmt::format("this sound file holds {}: {} must be {}, not {}",
                                 *bits_ == 8 ? "unsigned samples of 8 bits" : "signed samples of 16 bits",
                                 parameter.name, *bits_, std::get<Value>(bound.arguments[i]).AsInteger()),
                     chosen->arguments[i]->place);
        }
        if (call_.assigned)
            bound.assigned = ValueOf({"the assigned value", declaration.result, false, {}}, *call_.assigned);
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
        bound.target = Target::Class;
        bound.name = definition.name;
        bound.method = member;
        std::vector<std::string_view> names;
        for (const auto &property : definition.properties)
            names.push_back(property.name);
        std::set<std::string_view> given; // as declared
        for (const Argument &argument : call_.arguments) {
            if (HasTable(definition) && (argument.name.empty() || SameName(argument.name, kTable))) {
                if (bound.table)
                    FailTwice(argument);
                bound.table =
                    FromFile(argument, [&] { return ParseCube(AsText(ReadBytes(argument.text)), argument.text); });
                continue;
            }
            if (argument.name.empty())
                Fail(fmt::format("{} takes properties by name, as in MinX=10", definition.name), argument.place);
            CheckName(argument, definition.name, "property", names);
            const auto &[name, type, record] =
                *std::find_if(definition.properties.begin(), definition.properties.end(),
                              [&](const auto &known) { return SameName(known.name, argument.name); });
            if (!given.insert(name).second)
                FailTwice(argument);
            bound.properties.emplace_back(name, ValueOf({name, type, false, {}}, argument));
        }
        if (HasTable(definition) && !bound.table)
            Fail(fmt::format("{} needs a table, without which all becomes black: {}(\"film.cube\").{}", definition.name,
                             definition.name, call_.member),
                 call_.namePlace);
        if (given.count("SourcePicture") == 0) {
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
            if (argument.form != Form::Bare || !ColorOf(argument.text))
                misfit("a color of six digits such as &cFF8000");
            return Value(*ColorOf(argument.text));
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
        if (std::error_code ignored; std::filesystem::exists(argument.text, ignored))
            hint_ = fmt::format("a file is called so: @\"{}\" stands for its bytes", argument.text);
        return host_.MakeString(argument.text);
    }

    standin::Ref PictureOf(const Argument &argument) {
        LoadedPicture loaded = FromFile(argument, [&] { return ReadPicture(host_, argument.text); });
        notes_.insert(notes_.end(), loaded.notes.begin(), loaded.notes.end());
        return loaded.picture;
    }

    /// Where sounds are taken, a file is one and stands for its samples; elsewhere it is a block as it is, unless it is
    /// of a kind that nobody means so. @ takes any file for its bytes.
    standin::Ref BlockOf(const Argument &argument) {
        Bytes bytes = FromFile(argument, [&] { return ReadBytes(argument.text); });
        const std::string_view kind = KindOf(bytes);
        const bool isUnknown = kind.empty() && argument.form == Form::Bare;
        if (argument.form != Form::FileBytes && TakesSound() && (kind == "WAV" || EndingOf(argument.text) == ".wav")) {
            Sound sound = FromFile(argument, [&] { return ReadWav(bytes, argument.text); });
            if (!sound.loss.empty())
                notes_.push_back(fmt::format("{}: {}", argument.text, sound.loss));
            bits_ = sound.Bits();
            bytes = std::move(sound.samples);
        } else if (argument.form != Form::FileBytes && (TakesSound() || !isUnknown)) {
            Fail(fmt::format("{}: {}{}; @\"{}\" stands for the bytes of the file, whatever they are", argument.text,
                             TakesSound() ? "is no WAV file" : "cannot be taken for a block of bytes",
                             kind.empty() ? "" : fmt::format(", for it is {}", kind), argument.text),
                 argument.place);
        }
        return host_.MakeBlock(bytes.size(), bytes);
    }
    bool TakesSound() const {
        const auto isBits = [](const Parameter &parameter) { return SameName(parameter.name, kBits); };
        return std::any_of(declaration_->parameters.begin(), declaration_->parameters.end(), isBits);
    }

    standin::Host &host_;
    const Call &call_;
    bool hasPicture_;
    std::string declared_;
    const standin::Declaration *declaration_ = nullptr; ///< that the call was found to mean
    std::string hint_;
    std::vector<std::string> notes_;
    std::optional<int> bits_; ///< of the sound among the arguments
};

} // namespace

bool BoundCall::YieldsPicture() const {
    return target == Target::Class || (!assigned && method->declaration.result == Type::Picture);
}

bool BoundCall::YieldsString() const {
    return target != Target::Class && !assigned && method->declaration.result == Type::String;
}

BoundCall Bind(standin::Host &host, const Call &call, bool hasPicture) { return Binder(host, call, hasPicture).Run(); }

std::vector<BoundCall> BindLine(standin::Host &host, std::string_view line, bool &hasPicture) {
    const std::vector<std::string_view> names = InterfaceNames(host);
    const IsDeclared isDeclared = [&](std::string_view name) {
        return std::any_of(names.begin(), names.end(), [&](std::string_view known) { return SameName(known, name); });
    };
    std::vector<Call> calls;
    try {
        calls = ParseCalls(line, isDeclared);
    } catch (const CallError &error) {
        const std::string declared = Declared(host, NameAtStart(line, isDeclared));
        throw UserError(error.what() + (declared.empty() ? "" : "\n" + declared));
    }
    std::vector<BoundCall> bound;
    for (const Call &call : calls) {
        bound.push_back(Bind(host, call, hasPicture));
        hasPicture = hasPicture || bound.back().YieldsPicture();
        if (&call != &calls.back() && (!bound.back().YieldsPicture() || bound.back().target == Target::Class))
            throw CallError("only a picture can be called on", call.text, {call.text.size(), 1});
    }
    return bound;
}

} // namespace tools
