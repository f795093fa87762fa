#include "tools/gallery/lines.h"

#include <cctype>
#include <fmt/format.h>

namespace tools::gallery {
namespace {

using standin::Parameter;
using standin::SameName;
using standin::Type;
using Form = Argument::Form;

std::string Quoted(std::string_view text) {
    for (const char c : text)
        if (!std::isalnum(static_cast<unsigned char>(c)))
            return fmt::format("'{}'", text);
    return std::string(text);
}

bool ComesFromFile(const Parameter &parameter, const Argument &argument) {
    const bool held = parameter.type == Type::Picture || parameter.type == Type::MemoryBlock;
    return argument.form == Form::FileBytes || (held && !SameName(argument.text, "nil"));
}

std::string ValueFor(const Parameter &parameter, const Argument &argument, std::string_view current) {
    if (parameter.byref)
        return parameter.name;
    if (SameName(argument.text, "me"))
        return std::string(current);
    if (ComesFromFile(parameter, argument))
        return VariableFor(argument.text) + (argument.form == Form::FileBytes ? "Bytes" : "");
    return argument.form == Form::Quoted ? fmt::format("\"{}\"", argument.text) : argument.text;
}

std::string ScriptForClass(const Call &call, const BoundCall &bound, std::string_view current) {
    std::string script = fmt::format("dim tool as new {}\ntool.SourcePicture = {}\n", bound.name, current);
    for (const Argument &argument : call.arguments)
        if (argument.name.empty())
            script += fmt::format("// and what {} holds into tool.Table(r, g, b, channel)\n", argument.text);
        else
            script += fmt::format("tool.{} = {}\n", argument.name, argument.text);
    return script + fmt::format("if tool.{} then result = tool.DestinationPicture", bound.method->declaration.name);
}

} // namespace

std::string VariableFor(std::string_view path) { return std::string(path.substr(0, path.find('.'))); }

std::string ScriptFor(const Shot &shot, const Call &call, const BoundCall &bound) {
    const std::string current = VariableFor(shot.input);
    if (bound.target == BoundCall::Target::Class)
        return ScriptForClass(call, bound, current);
    const standin::Declaration &declaration = bound.method->declaration;
    std::string script;
    if (!call.assigned && declaration.result != Type::Nothing)
        script += "result = ";
    if (bound.target == BoundCall::Target::PictureMethod)
        script += current + ".";
    script += declaration.name;
    for (std::size_t i = 0; i < call.arguments.size(); ++i)
        script +=
            fmt::format("{}{}", i == 0 ? "(" : ", ", ValueFor(declaration.parameters[i], call.arguments[i], current));
    if (!call.arguments.empty())
        script += ")";
    if (call.assigned)
        script += " = " + VariableFor(call.assigned->text);
    return script;
}

std::string CommandFor(const Shot &shot, const HostOptions &options, std::string_view output) {
    if (shot.setting == Setting::WithMask || shot.setting == Setting::InGraphicsWorld)
        return {};
    std::string command = shot.input.empty() ? "kvt make " : fmt::format("kvt apply {} ", shot.input);
    command += Quoted(shot.call);
    if (shot.setting == Setting::WithAlpha)
        command += " --alpha";
    if (!output.empty())
        command += fmt::format(" -o {}", output);
    const HostOptions usual;
    if (options.host != usual.host)
        command += " --host " + options.host;
    if (options.layout != usual.layout)
        command += " --layout " + options.layout;
    if (options.version != usual.version)
        command += " --host-version " + options.version;
    return command;
}

} // namespace tools::gallery
