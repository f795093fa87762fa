#include "tools/bound_call.h"

#include "tools/methods.h"
#include "tools/picture_files.h"
#include "tools/wav_file.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <iterator>
#include <utility>

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

constexpr const char *kNoPicture = "there is no picture yet: a call that makes one must come first";

/// Which of the call's arguments each parameter of a method gets.
struct Candidate {
    std::vector<const Argument *> arguments; ///< null: left out
    bool takesAll = true;                    ///< that the call has
    const RegisteredMethod *method = nullptr;
    bool isPictures = false;                    ///< a method of Picture, not a global one
    std::vector<std::string_view> missing = {}; ///< parameters that must not be left out

    std::size_t Lacks() const { return takesAll ? missing.size() : SIZE_MAX; }
};

bool IsWord(const Argument &argument, std::string_view word) {
    return argument.form == Form::Bare && SameName(argument.text, word);
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
        const auto isIt = [&](const auto &definition) { return SameName(definition->name, call_.name); };
        if (const auto found = std::ranges::find_if(host_.Classes(), isIt); found != host_.Classes().end())
            BindClass(**found);
        else
            BindMethod();
        return std::move(bound_);
    }

  private:
    template <class... Values>
    [[noreturn]] void Fail(std::string_view part, fmt::format_string<Values...> message, Values &&...values) const {
        throw CallError(fmt::format(message, std::forward<Values>(values)...), call_.text, part,
                        Declared(host_, call_.name));
    }
    [[noreturn]] void FailUnknown() const {
        std::string file;
        if (std::error_code ignored; call_.arguments.empty() && !call_.assigned) // a file would be no call
            file = std::filesystem::is_directory(call_.text, ignored) ? fmt::format("; \"{}\" is a folder", call_.text)
                                                                      : fmt::format(", and no file \"{}\"", call_.text);
        Fail(call_.name, "there is no method or class \"{}\"{}{}", call_.name, file,
             Suggestion(call_.name, InterfaceNames(host_), "; kvt list shows what there is"));
    }
    /// Shows an argument's name unless one of the parameters is called so.
    void CheckName(const Argument &argument, std::string_view owner, std::string_view kind,
                   const std::vector<Parameter> &parameters) const {
        const auto isIt = [&](const Parameter &parameter) { return SameName(parameter.name, argument.name); };
        if (argument.name.empty() || std::ranges::any_of(parameters, isIt))
            return;
        std::vector<std::string_view> names;
        std::ranges::transform(parameters, std::back_inserter(names), &Parameter::name);
        Fail(argument.name, "{} has no {} \"{}\"{}", owner, kind, argument.name, Suggestion(argument.name, names));
    }
    /// Gives arguments to parameters, by their order, then by their names; `unnamed` is the name of those without.
    Candidate GiveOut(const std::vector<Parameter> &parameters, std::string_view unnamed) const {
        Candidate candidate{std::vector<const Argument *>(parameters.size())};
        bool named = false;
        for (std::size_t i = 0; i < call_.arguments.size(); ++i) {
            const Argument &argument = call_.arguments[i];
            const std::string_view name = argument.name.empty() ? unnamed : argument.name;
            named = named || !name.empty();
            if (named && name.empty())
                Fail(argument.written, "what has no name comes before what has one");
            std::size_t at = named ? 0 : i;
            while (named && at < parameters.size() && !SameName(parameters[at].name, name))
                ++at;
            if (at >= parameters.size())
                candidate.takesAll = false;
            else if (std::exchange(candidate.arguments[at], &argument))
                Fail(argument.name.empty() ? argument.written : argument.name, "this is given twice");
        }
        return candidate;
    }
    /// Names what is missing to `next`, the form that lacks the least, when it takes all arguments.
    [[noreturn]] void FailArguments(const std::vector<Candidate> &candidates, const Candidate &next) const {
        std::vector<Parameter> parameters; // of all forms
        for (const Candidate &candidate : candidates)
            std::ranges::copy(candidate.method->declaration.parameters, std::back_inserter(parameters));
        const std::string &method = next.method->declaration.name;
        for (const Argument &argument : call_.arguments)
            CheckName(argument, method, "parameter", parameters);
        const std::size_t count = call_.arguments.size();
        const std::string missing = next.takesAll ? fmt::format("; missing: {}", fmt::join(next.missing, ", ")) : "";
        Fail(call_.name, "no {} takes {} argument{}{}", method, count, count == 1 ? "" : "s", missing);
    }

    void BindMethod() {
        const bool hasNames = !call_.arguments.empty() && !call_.arguments.back().name.empty();
        std::vector<Candidate> candidates;
        for (const auto *methods : {&host_.PictureMethods(), &host_.GlobalMethods()})
            for (const RegisteredMethod &method : *methods) {
                if (!SameName(method.declaration.name, call_.name))
                    continue;
                const std::vector<Parameter> &parameters = method.declaration.parameters;
                Candidate &candidate = candidates.emplace_back(GiveOut(parameters, {}));
                candidate.method = &method;
                candidate.isPictures = methods == &host_.PictureMethods();
                for (std::size_t i = 0; i < parameters.size(); ++i)
                    if (!candidate.arguments[i] && !LeftOut(parameters[i], hasNames))
                        candidate.missing.push_back(parameters[i].name);
            }
        if (candidates.empty())
            FailUnknown();
        const Candidate &chosen = *std::ranges::min_element(candidates, {}, &Candidate::Lacks);
        if (chosen.Lacks() > 0)
            FailArguments(candidates, chosen);
        const Declaration &declaration = chosen.method->declaration;
        if (!call_.member.empty())
            Fail(call_.member, "there is no method \"{}\" to go on with behind {}{}", call_.member, declaration.name,
                 Suggestion(call_.member, InterfaceNames(host_)));
        if (call_.assigned && !chosen.method->record.setter)
            Fail(call_.assigned->written, "{} cannot be assigned to", declaration.name);
        if (chosen.isPictures && !hasPicture_)
            Fail(call_.name, kNoPicture);

        bound_.target = chosen.isPictures ? Target::PictureMethod : Target::GlobalMethod;
        bound_.name = declaration.name;
        bound_.method = chosen.method;
        const auto isBits = [](const Parameter &parameter) { return SameName(parameter.name, kBits); };
        bound_.takesSound = std::ranges::any_of(declaration.parameters, isBits);
        for (std::size_t i = 0; i < declaration.parameters.size(); ++i) {
            const Parameter &parameter = declaration.parameters[i];
            const bool isTold = bits_ && isBits(parameter);
            const std::string leftOut = isTold ? std::to_string(*bits_) : LeftOut(parameter, hasNames).value_or("");
            const Argument argument =
                chosen.arguments[i] ? *chosen.arguments[i] : Argument{{}, Form::Bare, leftOut, call_.name};
            const Slot value = ValueOf(parameter, argument);
            if (isTold && value->AsInteger() != *bits_)
                Fail(argument.written, "the samples of this sound file need {}={}, not {}", parameter.name, *bits_,
                     value->AsInteger());
            bound_.arguments.emplace_back(parameter.name, value);
        }
        if (call_.assigned)
            bound_.assigned = ValueOf({"the assigned value", declaration.result, false, {}}, *call_.assigned);
    }

    void BindClass(const RegisteredClass &definition) {
        if (call_.assigned)
            Fail(call_.assigned->written, "{} is a class: it cannot be assigned to", definition.name);
        bound_.target = Target::Class;
        bound_.name = definition.name;
        bool hasTable = false;
        for (const RegisteredMethod &method : definition.methods) {
            const auto &[text, name, parameters, result] = method.declaration;
            hasTable = hasTable || (name == kTable && method.record.setter);
            if (SameName(name, call_.member) && parameters.empty() && result == Type::Boolean)
                bound_.method = &method;
        }
        if (!bound_.method)
            Fail(call_.name, "{} is a class: expected \".Run\" behind it", definition.name);
        std::vector<Parameter> parameters(hasTable ? 1 : 0, {std::string(kTable), Type::Nothing, false, {}});
        for (const auto &[name, type, record] : definition.properties)
            parameters.push_back({name, type, false, {}});
        for (const Argument &argument : call_.arguments) {
            CheckName(argument, definition.name, "property", parameters);
            if (argument.name.empty() && !hasTable)
                Fail(argument.written, "{} takes properties by name, as in MinX=10", definition.name);
        }
        const Candidate given = GiveOut(parameters, kTable);
        if (hasTable && !given.arguments[0])
            Fail(call_.name, "{} needs a table, without which all becomes black: {}(\"film.cube\").{}", definition.name,
                 definition.name, call_.member);
        const Argument current{{}, Form::Bare, "me", call_.name};
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const Parameter &property = parameters[i];
            const Argument *argument = given.arguments[i];
            if (!argument && property.name == "SourcePicture")
                argument = &current;
            if (!argument)
                continue;
            const Slot value = ValueOf(property, *argument);
            if (property.type != Type::Nothing)
                bound_.arguments.emplace_back(property.name, value);
        }
    }

    /// What an argument stands for. What is wrong with it is shown at its place.
    Slot ValueOf(const Parameter &parameter, const Argument &argument) {
        try {
            return Read(parameter, argument);
        } catch (const UserError &error) {
            Fail(argument.written, "{}", error.what());
        }
    }

    Slot Read(const Parameter &parameter, const Argument &argument) {
        const Type type = parameter.type;
        const bool isBare = argument.form == Form::Bare;
        const std::optional<double> parsed = isBare ? ParseNumber(argument.text) : std::nullopt;
        const double number = parsed.value_or(NAN);
        const auto isWhole = [&](double least, double most) {
            return number == std::trunc(number) && number >= least && number <= most;
        };
        if (type == Type::Nothing) { // the table's
            bound_.table = ParseCube(AsText(ReadBytes(argument.text)), argument.text);
            return Value();
        }
        const bool mayBeNil = type == Type::String || type == Type::Picture || type == Type::MemoryBlock;
        if (mayBeNil && IsWord(argument, "nil"))
            return Value();
        if (type == Type::Integer ? isWhole(INT32_MIN, INT32_MAX) : type == Type::UInt32 && isWhole(0, UINT32_MAX))
            return Value(static_cast<std::int64_t>(number));
        if (type == Type::Double && parsed)
            return Value(number);
        if (const auto color = isBare ? ColorOf(argument.text) : std::nullopt; color && type == Type::Color)
            return Value(*color);
        if (type == Type::Boolean && (IsWord(argument, "true") || IsWord(argument, "false")))
            return Value(IsWord(argument, "true"));
        if (type == Type::String && !isBare)
            return Value(StringOf(argument));
        if (type == Type::MemoryBlock)
            return Value(BlockOf(argument));
        if (type == Type::Picture && IsWord(argument, "me")) {
            RefuseIf(!hasPicture_, kNoPicture);
            return std::nullopt;
        }
        if (type == Type::Picture && argument.form != Form::FileBytes) {
            LoadedPicture loaded = ReadPicture(host_, argument.text);
            bound_.notes.insert(bound_.notes.end(), loaded.notes.begin(), loaded.notes.end());
            return Value(loaded.picture);
        }
        Refuse("{} as {}: expected {}, not {}", parameter.name, NameOf(type), kExpected[static_cast<std::size_t>(type)],
               argument.written);
    }

    Ref StringOf(const Argument &argument) {
        if (argument.form == Form::FileBytes)
            return host_.MakeString(AsText(ReadBytes(argument.text)), kBinaryString);
        if (std::error_code ignored; std::filesystem::exists(argument.text, ignored))
            bound_.hint = fmt::format("a file is called so: @\"{}\" stands for its bytes", argument.text);
        return host_.MakeString(argument.text);
    }

    /// Where sounds are taken, a file is one and stands for its samples; elsewhere it is a block as it is, unless it is
    /// of a kind that nobody means so. @ takes any file for its bytes.
    Ref BlockOf(const Argument &argument) {
        Bytes bytes = ReadBytes(argument.text);
        const std::string_view kind = KindOf(bytes);
        if (argument.form != Form::FileBytes && bound_.takesSound) {
            Sound sound = ReadWav(bytes, argument.text);
            if (!sound.loss.empty())
                bound_.notes.push_back(fmt::format("{}: {}", argument.text, sound.loss));
            bits_ = sound.bits;
            bytes = std::move(sound.samples);
        } else if (argument.form != Form::FileBytes && !kind.empty()) {
            Refuse("{0}: cannot be taken for a block of bytes, for it is {1}; @\"{0}\" stands for its bytes",
                   argument.text, kind);
        }
        return host_.MakeBlock(bytes.size(), bytes);
    }

    Host &host_;
    bool hasPicture_;
    BoundCall bound_;
    const Call &call_;
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
