#include "tools/gallery/lines.h"

#include <cctype>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tools::gallery {
namespace {

using standin::Parameter;
using standin::SameName;
using standin::Type;
using Form = Argument::Form;

std::string ValueFor(const Parameter &parameter, const Argument &argument, const std::string &current) {
    if (parameter.byref)
        return parameter.name;
    if (SameName(argument.text, "me"))
        return current;
    if (argument.form == Form::FileBytes)
        return VariableFor(argument.text) + "Bytes";
    if ((parameter.type == Type::Picture || parameter.type == Type::MemoryBlock) && !SameName(argument.text, "nil"))
        return VariableFor(argument.text);
    return argument.form == Form::Quoted ? fmt::format("\"{}\"", argument.text) : argument.text;
}

} // namespace

std::string InputOf(const Json &shot) {
    const auto on = shot.find("on");
    return on == shot.end() ? "photo.png" : on->is_null() ? "" : on->get<std::string>();
}

std::string VariableFor(std::string_view path) { return std::string(path.substr(0, path.find('.'))); }

std::string ScriptFor(const Json &shot, const Call &call, const BoundCall &bound) {
    const std::string current = VariableFor(InputOf(shot));
    const standin::Declaration &declaration = bound.method->declaration;
    if (bound.target == BoundCall::Target::Class) {
        std::string script = fmt::format("dim tool as new {}\ntool.SourcePicture = {}\n", bound.name, current);
        for (const Argument &argument : call.arguments)
            script += argument.name.empty()
                          ? fmt::format("// and what {} holds into tool.Table(r, g, b, channel)\n", argument.text)
                          : fmt::format("tool.{} = {}\n", argument.name, argument.text);
        return script + fmt::format("if tool.{} then result = tool.DestinationPicture", declaration.name);
    }
    std::vector<std::string> values;
    for (std::size_t i = 0; i < call.arguments.size(); ++i)
        values.push_back(ValueFor(declaration.parameters[i], call.arguments[i], current));
    return fmt::format("{}{}{}{}{}", !call.assigned && declaration.result != Type::Nothing ? "result = " : "",
                       bound.target == BoundCall::Target::PictureMethod ? current + "." : "", declaration.name,
                       values.empty() ? "" : fmt::format("({})", fmt::join(values, ", ")),
                       call.assigned ? " = " + VariableFor(call.assigned->text) : "");
}

std::string CommandFor(const Json &shot, const HostOptions &options, std::string_view output) {
    const std::string as = shot.value("as", "");
    if (as == "masked" || as == "graphics world")
        return {};
    const std::string input = InputOf(shot);
    const auto call = shot["call"].get<std::string>();
    const bool isWord = std::all_of(call.begin(), call.end(), [](unsigned char c) { return std::isalnum(c); });
    std::string command = input.empty() ? "kvt make" : "kvt apply " + input;
    const auto add = [&](std::string_view option, std::string_view value, std::string_view usual = {}) {
        if (value != usual)
            command += fmt::format(" {} {}", option, value);
    };
    command += fmt::format(fmt::runtime(isWord ? " {}" : " '{}'"), call) + (as == "with alpha" ? " --alpha" : "");
    const HostOptions usual;
    add("-o", output);
    add("--host", options.host, usual.host);
    add("--layout", options.layout, usual.layout);
    add("--host-version", options.version, usual.version);
    return command;
}

} // namespace tools::gallery
