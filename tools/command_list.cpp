#include "tools/commands.h"
#include "tools/methods.h"

#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace tools {
namespace {

using namespace standin;

constexpr std::uint32_t kConsole = 4; ///< the host's flag of what it also offers to console applications

std::string Text(const Json &one, const char *name) { return one[name].get<std::string>(); }

/// With what it is and does, unless it is another module's.
Json WithMeaning(Json one) {
    if (const Json *method = FindMethod(Text(one, "name")))
        one.update({{"meaning", (*method)["meaning"]}, {"promise", (*method)["promise"]}});
    return one;
}

Json JsonOf(const RegisteredMethod &method) {
    const Declaration &declaration = method.declaration;
    Json parameters = Json::array();
    for (const Parameter &parameter : declaration.parameters)
        parameters.push_back({{"name", parameter.name},
                              {"type", NameOf(parameter.type)},
                              {"byref", parameter.byref},
                              {"default", parameter.defaultText ? Json(*parameter.defaultText) : Json()}});
    return WithMeaning({{"name", declaration.name},
                        {"declaration", declaration.text},
                        {"parameters", parameters},
                        {"result", NameOf(declaration.result)},
                        {"console", (method.record.flags & kConsole) != 0},
                        {"flags", method.record.flags},
                        {"assignable", method.record.setter != nullptr}});
}

Json JsonOf(const RegisteredProperty &property) {
    return {{"name", property.name},
            {"declaration", fmt::format("{} as {}", property.name, NameOf(property.type))},
            {"type", NameOf(property.type)},
            {"console", (property.record.flags & kConsole) != 0},
            {"flags", property.record.flags},
            {"offset", property.UsesStandardAccess() ? Json(property.record.param) : Json()}}; // null: it has accessors
}

bool Matches(const Json &one, std::string_view filter) {
    const auto has = [&](const char *member) { return HasPart(one.value(member, ""), filter); };
    return has("name") || has("meaning") || has("promise");
}

/// Those of a kind that have the filter.
template <class Kind> Json Chosen(const std::vector<Kind> &all, std::string_view filter) {
    Json chosen = Json::array();
    for (const Kind &one : all)
        if (Json json = JsonOf(one); Matches(json, filter))
            chosen.push_back(std::move(json));
    return chosen;
}

/// What something is declared as, with notes, and its meaning below it.
std::string Lines(const std::string &declaration, const Json &one) {
    std::vector<std::string> notes;
    if (const auto flags = one["flags"].get<std::uint32_t>())
        notes.push_back(flags == kConsole ? "console" : fmt::format("flags {:#x}", flags));
    if (one.value("assignable", false))
        notes.emplace_back("assignable");
    if (const auto offset = one.find("offset"); offset != one.end())
        notes.push_back(offset->is_null() ? "own accessors" : fmt::format("at byte {}", offset->get<int>()));
    return declaration + (notes.empty() ? "" : fmt::format("  [{}]", fmt::join(notes, ", "))) + '\n' +
           (one.contains("meaning") ? fmt::format("      {}\n", Text(one, "meaning")) : "");
}

std::string Lines(const Json &members) {
    std::string lines;
    for (const Json &one : members)
        lines += Lines("  " + Text(one, "declaration"), one);
    return lines;
}

std::string Details(const Json &method, bool isClass) {
    std::string lines = fmt::format("{}\nCalls such as\n", Text(method, "promise"));
    for (const Json &shot : method["calls"])
        lines += fmt::format("  {}\n      {}\n", Text(shot, "call"), Text(shot, "shows"));
    return fmt::format("{}Ranges, formats and what surprises: docs/reference.md#{}{}\n", lines, isClass ? "class-" : "",
                       CLI::detail::to_lower(Text(method, "name")));
}

/// The interface as the host received it: "globalMethods", "pictureMethods" and "classes" with their members, each with
/// what it is. With a filter, those that have it in their name, meaning or promise; such a class is there whole.
Json Interface(const Host &host, std::string_view filter) {
    Json classes = Json::array();
    for (const auto &definition : host.Classes()) {
        Json one = WithMeaning({{"name", definition->name},
                                {"instanceBytes", definition->record.instanceSize},
                                {"flags", definition->record.flags}});
        const std::string_view part = Matches(one, filter) ? std::string_view() : filter;
        one["properties"] = Chosen(definition->properties, part);
        one["methods"] = Chosen(definition->methods, part);
        if (!one["properties"].empty() || !one["methods"].empty())
            classes.push_back(std::move(one));
    }
    return {{"globalMethods", Chosen(host.GlobalMethods(), filter)},
            {"pictureMethods", Chosen(host.PictureMethods(), filter)},
            {"classes", classes}};
}

/// The same to be read. Of the method or class that is called just like the filter, also what it does, a few calls and
/// where more is told. Empty when the interface is.
std::string InterfaceText(const Json &interface, std::string_view filter) {
    std::vector<std::string> groups;
    for (const auto &[key, heading] :
         {std::pair("globalMethods", "Global methods"), {"pictureMethods", "Methods of Picture"}})
        if (const Json &methods = interface[key]; !methods.empty())
            groups.push_back(fmt::format("{} ({})\n{}", heading, methods.size(), Lines(methods)));
    bool isClass = false;
    for (const Json &one : interface["classes"]) {
        const int bytes = one["instanceBytes"];
        groups.push_back(Lines(fmt::format("Class {} ({} bytes of instance data)", Text(one, "name"), bytes), one) +
                         Lines(one["properties"]) + Lines(one["methods"]));
        isClass = isClass || SameName(Text(one, "name"), filter);
    }
    if (const Json *method = FindMethod(filter); method && !groups.empty())
        groups.push_back(Details(*method, isClass));
    return fmt::format("{}", fmt::join(groups, "\n"));
}

} // namespace

void AddListCommand(CLI::App &program, Outcome &) {
    CLI::App *command =
        program.add_subcommand("list", "Print the interface as the host received it, and what it is for");
    struct Options {
        HostOptions host;
        std::string filter;
        bool json = false;
    };
    const auto options = std::make_shared<Options>();
    AddOption(*command, "name", options->filter, "NAME",
              "only what has this in its name or meaning; a whole name also tells what it does and shows calls");
    command->add_flag("--json", options->json, "print one JSON object, with parameters and their defaults");
    AddHostOptions(*command, options->host);
    command->callback([options] {
        const Host host(DescribeHost(options->host));
        const Json interface = Interface(host, options->filter);
        const std::string text = InterfaceText(interface, options->filter);
        if (text.empty())
            Refuse("nothing in the interface has \"{}\" in its name or meaning{}", options->filter,
                   Suggestion(options->filter, InterfaceNames(host)));
        fmt::print("{}", options->json ? TextOf(interface) + '\n' : text);
    });
}

} // namespace tools
