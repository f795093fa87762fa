#include "tools/bound_call.h"

#include "tools/methods.h"
#include "tools/picture_files.h"
#include "tools/wav_file.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <set>

namespace tools {
namespace {

using namespace standin;
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

/// What a value of each type is, in the order of the types.
constexpr std::string_view kExpected[] = {
    "nothing",
    "a whole number of 32 bits",
    "a whole number from 0 on",
    "a color of six digits such as &cFF8000",
    "true or false",
    "a number",
    "a text in double quotes, or @ and a file whose bytes it is",
    "nil, me or a picture file, without @",
};

/// A form of a method, and which of the call's arguments each of its parameters would get.
struct Candidate {
    Target target;
    const RegisteredMethod *method;
    std::vector<const Argument *> arguments = {}; ///< null: left out
    std::vector<std::string_view> missing = {};   ///< parameters that must not be left out
    bool takesAll = true;                         ///< that the call has
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

/// What is declared under a name, a line each below a heading; empty when nothing is.
std::string Declared(const Host &host, std::string_view name) {
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
            return ParseColor("&c" + std::string(text.substr(sign.size())));
    return std::nullopt;
}

/// Binds one call; what it fails with shows the call and the declarations that it could have meant.
class Binder {
  public:
    Binder(Host &host, Call call, bool hasPicture) : host_(host), hasPicture_(hasPicture), call_(bound_.call) {
        bound_.call = std::move(call);
    }

    BoundCall Run() {
        for (const auto &definition : host_.Classes())
            if (SameName(definition->name, call_.name)) {
                BindClass(*definition);
                return std::move(bound_);
            }
        std::vector<Candidate> candidates;
        for (const Target target : {Target::PictureMethod, Target::GlobalMethod})
            for (const RegisteredMethod &method :
                 target == Target::PictureMethod ? host_.PictureMethods() : host_.GlobalMethods())
                if (SameName(method.declaration.name, call_.name))
                    candidates.push_back(Matched({target, &method}));
        if (candidates.empty())
            FailUnknown();
        BindMethod(candidates);
        return std::move(bound_);
    }

  private:
    [[noreturn]] void Fail(std::string_view message, std::string_view part) const {
        throw CallError(message, call_.text, part, Declared(host_, call_.name));
    }
    [[noreturn]] void FailUnknown() const {
        const bool couldBeFile = call_.arguments.empty() && !call_.assigned; // which would be read as a call
        std::error_code ignored;
        const auto status = std::filesystem::status(call_.text, ignored);
        const std::string file = !couldBeFile ? ""
                                 : std::filesystem::is_directory(status)
                                     ? fmt::format("; \"{}\" is a folder", call_.text)
                                 : std::filesystem::exists(status) ? fmt::format("; \"{}\" is a file", call_.text)
                                                                   : fmt::format(", and no file \"{}\"", call_.text);
        Fail(fmt::format("there is no method or class \"{}\"{}{}", call_.name, file,
                         Suggestion(call_.name, InterfaceNames(host_), "; kvt list shows what there is")),
             call_.name);
    }
    [[noreturn]] void FailWithoutPicture(std::string_view part) const {
        Fail("there is no picture yet: a call that makes one must come first", part);
    }
    [[noreturn]] void FailTwice(const Argument &argument) const {
        Fail("this is given twice", argument.name.empty() ? argument.written : argument.name);
    }
    /// Shows an argument's name unless it is one of these.
    void CheckName(const Argument &argument, std::string_view owner, std::string_view kind,
                   const std::vector<std::string_view> &names) const {
        const auto isIt = [&](std::string_view name) { return SameName(name, argument.name); };
        if (!argument.name.empty() && std::none_of(names.begin(), names.end(), isIt))
            Fail(fmt::format("{} has no {} \"{}\"{}", owner, kind, argument.name, Suggestion(argument.name, names)),
                 argument.name);
    }
    bool HasNames() const { return !call_.arguments.empty() && !call_.arguments.back().name.empty(); }

    /// Gives arguments to parameters, by their order, then by their names.
    Candidate Matched(Candidate candidate) const {
        const std::vector<Parameter> &parameters = candidate.method->declaration.parameters;
        candidate.arguments.resize(parameters.size());
        bool named = false;
        for (std::size_t i = 0; i < call_.arguments.size(); ++i) {
            const Argument &argument = call_.arguments[i];
            named = named || !argument.name.empty();
            if (named && argument.name.empty())
                Fail("what has no name comes before what has one", argument.written);
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
            Fail(message, call_.name);
        const std::string_view last = count == 0 ? call_.name : call_.arguments.back().written;
        Fail(fmt::format("{}: {} {} missing", message, Enumerated(next->missing, " and "),
                         next->missing.size() == 1 ? "is" : "are"),
             {last.data() + last.size(), 0});
    }

    void BindMethod(const std::vector<Candidate> &candidates) {
        const auto chosen = std::find_if(candidates.begin(), candidates.end(),
                                         [](const Candidate &form) { return form.takesAll && form.missing.empty(); });
        if (chosen == candidates.end())
            FailArguments(candidates);
        const Declaration &declaration = chosen->method->declaration;
        if (!call_.member.empty())
            Fail(fmt::format("there is no method \"{}\" to go on with behind {}{}", call_.member, declaration.name,
                             Suggestion(call_.member, InterfaceNames(host_))),
                 call_.member);
        if (call_.assigned && !chosen->method->record.setter)
            Fail(fmt::format("{} cannot be assigned to", declaration.name), call_.assigned->written);
        if (chosen->target == Target::PictureMethod && !hasPicture_)
            FailWithoutPicture(call_.name);

        bound_.target = chosen->target;
        bound_.name = declaration.name;
        bound_.method = chosen->method;
        const auto isBits = [](const Parameter &parameter) { return SameName(parameter.name, kBits); };
        takesSound_ = std::any_of(declaration.parameters.begin(), declaration.parameters.end(), isBits);
        for (std::size_t i = 0; i < declaration.parameters.size(); ++i) {
            const Parameter &parameter = declaration.parameters[i];
            const bool fits = bits_ && isBits(parameter);
            Argument argument;
            argument.written = call_.name;
            if (chosen->arguments[i])
                argument = *chosen->arguments[i];
            else
                argument.text = fits ? std::to_string(*bits_) : *LeftOut(parameter, HasNames());
            bound_.arguments.emplace_back(parameter.name, ValueOf(parameter, argument));
            if (const Slot &bits = bound_.arguments[i].second; fits && bits->AsInteger() != *bits_)
                Fail(fmt::format("this sound file holds {}: {} must be {}, not {}",
                                 *bits_ == 8 ? "unsigned samples of 8 bits" : "signed samples of 16 bits",
                                 parameter.name, *bits_, bits->AsInteger()),
                     argument.written);
        }
        if (call_.assigned)
            bound_.assigned = ValueOf({"the assigned value", declaration.result, false, {}}, *call_.assigned);
    }

    void BindClass(const RegisteredClass &definition) {
        if (call_.assigned)
            Fail(fmt::format("{} is a class: it cannot be assigned to", definition.name), call_.assigned->written);
        bound_.target = Target::Class;
        bound_.name = definition.name;
        bound_.method = MethodNamed(definition, call_.member);
        if (!bound_.method || bound_.method->declaration.result != Type::Boolean ||
            !bound_.method->declaration.parameters.empty())
            Fail(fmt::format("{} is a class: expected \".Run\" behind it", definition.name),
                 call_.member.empty() ? call_.text.substr(call_.text.size()) : call_.member);
        const RegisteredMethod *table = MethodNamed(definition, kTable);
        const bool hasTable = table && table->record.setter;
        std::set<const void *> given; // properties
        for (const Argument &argument : call_.arguments) {
            if (hasTable && (argument.name.empty() || SameName(argument.name, kTable))) {
                if (bound_.table)
                    FailTwice(argument);
                bound_.table =
                    FromFile(argument, [&] { return ParseCube(AsText(ReadBytes(argument.text)), argument.text); });
                continue;
            }
            if (argument.name.empty())
                Fail(fmt::format("{} takes properties by name, as in MinX=10", definition.name), argument.written);
            std::vector<std::string_view> names;
            for (const auto &[name, type, record] : definition.properties) {
                names.push_back(name);
                if (!SameName(name, argument.name))
                    continue;
                if (!given.insert(&name).second)
                    FailTwice(argument);
                bound_.arguments.emplace_back(name, ValueOf({name, type, false, {}}, argument));
            }
            CheckName(argument, definition.name, "property", names);
        }
        if (hasTable && !bound_.table)
            Fail(fmt::format("{} needs a table, without which all becomes black: {}(\"film.cube\").{}", definition.name,
                             definition.name, call_.member),
                 call_.name);
        const auto isSource = [](const auto &property) { return property.first == "SourcePicture"; };
        if (std::any_of(bound_.arguments.begin(), bound_.arguments.end(), isSource))
            return;
        if (!hasPicture_)
            FailWithoutPicture(call_.name);
        bound_.arguments.emplace_back("SourcePicture", std::nullopt);
    }

    /// What `read` makes of the file that an argument names; shows the argument when it cannot be used.
    template <class Read> auto FromFile(const Argument &argument, Read read) const -> decltype(read()) {
        try {
            return read();
        } catch (const UserError &error) {
            Fail(error.what(), argument.written);
        }
    }

    Slot ValueOf(const Parameter &parameter, const Argument &argument) {
        if (const std::optional<Slot> value = Read(parameter.type, argument))
            return *value;
        const std::string found = argument.form == Form::Quoted      ? "a string in quotes"
                                  : argument.form == Form::FileBytes ? "a file's bytes"
                                                                     : fmt::format("\"{}\"", argument.text);
        Fail(fmt::format("{} as {}: expected {}, not {}", parameter.name, NameOf(parameter.type),
                         kExpected[static_cast<std::size_t>(parameter.type)], found),
             argument.written);
    }

    /// Nothing when it is no value of that type.
    std::optional<Slot> Read(Type type, const Argument &argument) {
        const bool isBare = argument.form == Form::Bare;
        const std::optional<double> parsed = isBare ? ParseNumber(argument.text) : std::nullopt;
        const double number = parsed.value_or(0);
        const auto whole = [&](double least, double most) -> std::optional<Slot> {
            if (!parsed || number != std::trunc(number) || number < least || number > most)
                return std::nullopt;
            return Value(static_cast<std::int64_t>(number));
        };
        if (IsWord(argument, "nil") && (type == Type::String || type == Type::Picture || type == Type::MemoryBlock))
            return Value();
        switch (type) {
        case Type::Integer:
            return whole(INT32_MIN, INT32_MAX);
        case Type::UInt32:
            return whole(0, UINT32_MAX);
        case Type::Color:
            if (const auto color = isBare ? ColorOf(argument.text) : std::nullopt)
                return Value(*color);
            break;
        case Type::Boolean:
            if (IsWord(argument, "true") || IsWord(argument, "false"))
                return Value(IsWord(argument, "true"));
            break;
        case Type::Double:
            if (parsed)
                return Value(number);
            break;
        case Type::String:
            if (!isBare)
                return Value(StringOf(argument));
            break;
        case Type::Picture:
            if (IsWord(argument, "me") && !hasPicture_)
                FailWithoutPicture(argument.written);
            if (IsWord(argument, "me"))
                return Slot();
            if (argument.form != Form::FileBytes)
                return Value(PictureOf(argument));
            break;
        case Type::MemoryBlock:
            return Value(BlockOf(argument));
        case Type::Nothing:
            break;
        }
        return std::nullopt;
    }

    Ref StringOf(const Argument &argument) {
        if (argument.form == Form::FileBytes)
            return host_.MakeString(AsText(FromFile(argument, [&] { return ReadBytes(argument.text); })),
                                    kBinaryString);
        if (std::error_code ignored; std::filesystem::exists(argument.text, ignored))
            bound_.hint = fmt::format("a file is called so: @\"{}\" stands for its bytes", argument.text);
        return host_.MakeString(argument.text);
    }

    Ref PictureOf(const Argument &argument) {
        LoadedPicture loaded = FromFile(argument, [&] { return ReadPicture(host_, argument.text); });
        bound_.notes.insert(bound_.notes.end(), loaded.notes.begin(), loaded.notes.end());
        return loaded.picture;
    }

    /// Where sounds are taken, a file is one and stands for its samples; elsewhere it is a block as it is, unless it is
    /// of a kind that nobody means so. @ takes any file for its bytes.
    Ref BlockOf(const Argument &argument) {
        Bytes bytes = FromFile(argument, [&] { return ReadBytes(argument.text); });
        if (argument.form == Form::FileBytes)
            return host_.MakeBlock(bytes.size(), bytes);
        const std::string_view kind = KindOf(bytes);
        const bool isUnknown = kind.empty() && argument.form == Form::Bare;
        if (takesSound_ && (kind == "WAV" || EndingOf(argument.text) == ".wav")) {
            Sound sound = FromFile(argument, [&] { return ReadWav(bytes, argument.text); });
            if (!sound.loss.empty())
                bound_.notes.push_back(fmt::format("{}: {}", argument.text, sound.loss));
            bits_ = sound.bits;
            bytes = std::move(sound.samples);
        } else if (takesSound_ || !isUnknown) {
            Fail(fmt::format("{}: {}{}; @\"{}\" stands for the bytes of the file, whatever they are", argument.text,
                             takesSound_ ? "is no WAV file" : "cannot be taken for a block of bytes",
                             kind.empty() ? "" : fmt::format(", for it is {}", kind), argument.text),
                 argument.written);
        }
        return host_.MakeBlock(bytes.size(), bytes);
    }

    Host &host_;
    bool hasPicture_;
    BoundCall bound_;
    const Call &call_;
    bool takesSound_ = false; ///< the method that the call was found to mean
    std::optional<int> bits_; ///< of the sound among the arguments
};

} // namespace

bool BoundCall::YieldsPicture() const {
    return target == Target::Class || (!assigned && method->declaration.result == Type::Picture);
}

bool BoundCall::YieldsString() const {
    return target != Target::Class && !assigned && method->declaration.result == Type::String;
}

std::vector<BoundCall> BindLine(Host &host, std::string_view line, bool &hasPicture) {
    std::vector<BoundCall> bound;
    for (Call &call : ParseCalls(line, [&](std::string_view name) { return Declared(host, name); })) {
        if (!bound.empty() && (!bound.back().YieldsPicture() || bound.back().target == Target::Class))
            throw CallError("only a picture can be called on", bound.back().call.text,
                            bound.back().call.text.substr(bound.back().call.text.size()));
        bound.push_back(Binder(host, std::move(call), hasPicture).Run());
        hasPicture = hasPicture || bound.back().YieldsPicture();
    }
    return bound;
}

} // namespace tools
