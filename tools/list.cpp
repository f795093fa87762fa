#include "tools/list.h"

#include "tools/nearest.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tools {
namespace {

using standin::RegisteredMethod;
using standin::RegisteredProperty;

constexpr std::uint32_t kConsole = 4; ///< the host's flag of what it also offers to console applications

Json Meaning(std::string_view name) {
    const Json *method = FindMethod(name);
    return method ? (*method)["meaning"] : Json();
}

Json JsonOf(const RegisteredMethod &method) {
    const standin::Declaration &declaration = method.declaration;
    Json parameters = Json::array();
    for (const standin::Parameter &parameter : declaration.parameters)
        parameters.push_back({{"name", parameter.name},
                              {"type", standin::NameOf(parameter.type)},
                              {"byref", parameter.byref},
                              {"default", parameter.defaultText ? Json(*parameter.defaultText) : Json()}});
    return {{"name", declaration.name},
            {"declaration", declaration.text},
            {"meaning", Meaning(declaration.name)},
            {"parameters", parameters},
            {"result", standin::NameOf(declaration.result)},
            {"console", (method.record.flags & kConsole) != 0},
            {"flags", method.record.flags},
            {"assignable", method.record.setter != nullptr}};
}

Json JsonOf(const RegisteredProperty &property) {
    const bool own = reinterpret_cast<std::uintptr_t>(property.record.getter) != ~std::uintptr_t{0};
    return {{"name", property.name},
            {"type", standin::NameOf(property.type)},
            {"console", (property.record.flags & kConsole) != 0},
            {"flags", property.record.flags},
            {"offset", own ? Json() : Json(property.record.param)}}; // null: it has accessors of its own
}

bool Matches(const Json &one, std::string_view filter) {
    const Json *method = FindMethod(one["name"].get_ref<const std::string &>());
    const auto has = [&](const Json &text) { return HasPart(text.get_ref<const std::string &>(), filter); };
    return has(one["name"]) ||
           (method && one.contains("meaning") && (has((*method)["meaning"]) || has((*method)["promise"])));
}

/// Those of a kind that have the filter.
template <class Kind> Json Chosen(const std::vector<Kind> &all, std::string_view filter) {
    Json chosen = Json::array();
    for (const Kind &one : all)
        if (Json json = JsonOf(one); Matches(json, filter))
            chosen.push_back(std::move(json));
    return chosen;
}

std::string Notes(const Json &one, bool isProperty = false) {
    std::vector<std::string> notes;
    if (const auto flags = one["flags"].get<std::uint32_t>())
        notes.push_back(flags == kConsole ? "console" : fmt::format("flags {:#x}", flags));
    if (one.value("assignable", false))
        notes.emplace_back("assignable");
    if (isProperty)
        notes.push_back(one["offset"].is_null() ? "own accessors"
                                                : fmt::format("at byte {}", one["offset"].get<int>()));
    return notes.empty() ? "" : fmt::format("  [{}]", fmt::join(notes, ", "));
}

std::string Text(const Json &one, const char *name) { return one[name].get<std::string>(); }

std::string Lines(const Json &members) {
    std::string lines;
    for (const Json &one : members)
        if (one.contains("declaration"))
            lines += fmt::format("  {}{}\n", Text(one, "declaration"), Notes(one));
        else
            lines += fmt::format("  {} as {}{}\n", Text(one, "name"), Text(one, "type"), Notes(one, true));
    return lines;
}

std::string MeaningLine(const Json &one) {
    return one["meaning"].is_null() ? "" : fmt::format("      {}\n", Text(one, "meaning"));
}

std::string Details(const Json &method, bool isClass) {
    std::string lines = fmt::format("{}\nCalls such as\n", Text(method, "promise"));
    for (const Json &shot : method["calls"])
        lines += fmt::format("  {}\n      {}\n", Text(shot, "call"), Text(shot, "shows"));
    std::string anchor = isClass ? "class-" : "";
    for (const char c : Text(method, "name"))
        anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lines + fmt::format("Ranges, formats and what surprises: docs/reference.md#{}\n", anchor);
}

} // namespace

std::vector<std::string_view> InterfaceNames(const standin::Host &host) {
    std::vector<std::string_view> names;
    for (const auto *methods : {&host.PictureMethods(), &host.GlobalMethods()})
        for (const RegisteredMethod &method : *methods)
            names.push_back(method.declaration.name);
    for (const auto &definition : host.Classes())
        names.push_back(definition->name);
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

Json Interface(const standin::Host &host, std::string_view filter) {
    Json classes = Json::array();
    for (const auto &definition : host.Classes()) {
        Json one = {{"name", definition->name},
                    {"meaning", Meaning(definition->name)},
                    {"instanceBytes", definition->record.instanceSize},
                    {"flags", definition->record.flags}};
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

std::string InterfaceText(const Json &interface, std::string_view filter) {
    std::vector<std::string> groups;
    for (const auto &[key, heading] :
         {std::pair("globalMethods", "Global methods"), {"pictureMethods", "Methods of Picture"}}) {
        const Json &methods = interface[key];
        std::string lines;
        for (const Json &method : methods)
            lines += Lines(Json::array({method})) + MeaningLine(method);
        if (!methods.empty())
            groups.push_back(fmt::format("{} ({})\n{}", heading, methods.size(), lines));
    }
    for (const Json &one : interface["classes"])
        groups.push_back(fmt::format("Class {} ({} bytes of instance data){}\n{}{}{}", Text(one, "name"),
                                     one["instanceBytes"].get<int>(), Notes(one), MeaningLine(one),
                                     Lines(one["properties"]), Lines(one["methods"])));
    if (const Json *method = FindMethod(filter); method && !groups.empty()) {
        const Json &classes = interface["classes"];
        groups.push_back(Details(*method, std::any_of(classes.begin(), classes.end(), [&](const Json &one) {
            return one["name"] == (*method)["name"];
        })));
    }
    return fmt::format("{}", fmt::join(groups, "\n"));
}

} // namespace tools
