#include "tools/list.h"

#include "tools/gallery/entries.h"
#include "tools/json.h"
#include "tools/nearest.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>

namespace tools {
namespace {

using gallery::Entry;
using gallery::FindEntry;
using standin::RegisteredClass;
using standin::RegisteredMethod;
using standin::RegisteredProperty;

constexpr std::uint32_t kConsole = 4; ///< the host's flag of what it also offers to console applications

std::string Flags(std::uint32_t flags) {
    if (flags == 0)
        return "";
    return flags == kConsole ? "console" : fmt::format("flags {:#x}", flags);
}

std::string Notes(std::initializer_list<std::string> notes) {
    std::string joined;
    for (const std::string &note : notes)
        if (!note.empty())
            joined += (joined.empty() ? "  [" : ", ") + note;
    return joined.empty() ? joined : joined + "]";
}

/// What a method or class is, below its line; nothing for those of other modules.
std::string Meaning(std::string_view name) {
    const Entry *entry = FindEntry(name);
    return entry ? fmt::format("      {}\n", entry->heading) : "";
}

std::string Line(const RegisteredMethod &method) {
    return fmt::format("  {}{}\n", method.declaration.text,
                       Notes({Flags(method.record.flags), method.record.setter ? "assignable" : ""}));
}

std::string Line(const RegisteredProperty &property) {
    const bool own = reinterpret_cast<std::uintptr_t>(property.record.getter) != ~std::uintptr_t{0};
    return fmt::format("  {} as {}{}\n", property.name, standin::NameOf(property.type),
                       Notes({Flags(property.record.flags),
                              own ? "own accessors" : fmt::format("at byte {}", property.record.param)}));
}

std::string MeaningJson(std::string_view name) {
    const Entry *entry = FindEntry(name);
    return entry ? json::Text(entry->heading) : "null";
}

std::string JsonOf(const RegisteredMethod &method) {
    std::vector<std::string> parameters;
    for (const standin::Parameter &parameter : method.declaration.parameters)
        parameters.push_back(
            json::Object({{"name", json::Text(parameter.name)},
                          {"type", json::Text(standin::NameOf(parameter.type))},
                          {"byref", json::Boolean(parameter.byref)},
                          {"default", parameter.defaultText ? json::Text(*parameter.defaultText) : "null"}}));
    return json::Object({{"name", json::Text(method.declaration.name)},
                         {"declaration", json::Text(method.declaration.text)},
                         {"meaning", MeaningJson(method.declaration.name)},
                         {"parameters", json::Array(parameters)},
                         {"result", json::Text(standin::NameOf(method.declaration.result))},
                         {"console", json::Boolean((method.record.flags & kConsole) != 0)},
                         {"assignable", json::Boolean(method.record.setter != nullptr)}});
}

std::string JsonOf(const RegisteredProperty &property) {
    return json::Object({{"name", json::Text(property.name)},
                         {"type", json::Text(standin::NameOf(property.type))},
                         {"console", json::Boolean((property.record.flags & kConsole) != 0)}});
}

std::string_view NameOf(const RegisteredMethod &method) { return method.declaration.name; }
std::string_view NameOf(const RegisteredProperty &property) { return property.name; }

/// Those of a kind whose names contain the filter.
template <class Kind> std::vector<const Kind *> Chosen(const std::vector<Kind> &all, std::string_view filter) {
    std::vector<const Kind *> chosen;
    for (const Kind &one : all)
        if (HasPart(NameOf(one), filter))
            chosen.push_back(&one);
    return chosen;
}

template <class Kind> std::string Lines(const std::vector<const Kind *> &chosen) {
    std::string lines;
    for (const Kind *one : chosen)
        lines += Line(*one);
    return lines;
}

template <class Kind> std::string JsonOf(const std::vector<const Kind *> &chosen) {
    std::vector<std::string> objects;
    objects.reserve(chosen.size());
    for (const Kind *one : chosen)
        objects.push_back(JsonOf(*one));
    return json::Array(objects);
}

/// The lines under a heading; nothing when there is none.
std::string Section(std::string_view heading, const std::vector<const RegisteredMethod *> &methods) {
    std::string lines;
    for (const RegisteredMethod *method : methods)
        lines += Line(*method) + Meaning(method->declaration.name);
    return methods.empty() ? "" : fmt::format("{} ({})\n{}\n", heading, methods.size(), lines);
}

/// What is told of one method or class alone.
std::string Details(const Entry &entry, bool isClass) {
    std::string lines = fmt::format("{}\nCalls such as\n", entry.promise);
    for (const gallery::Shot &shot : entry.shots)
        lines += fmt::format("  {}\n      {}\n", shot.call, shot.note);
    std::string anchor = isClass ? "class-" : "";
    for (const char c : entry.method)
        anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lines + fmt::format("Ranges, formats and what surprises: docs/reference.md#{}\n", anchor);
}

/// What is listed of a class: all when its name contains the filter.
struct ChosenClass {
    const RegisteredClass *definition;
    std::vector<const RegisteredProperty *> properties;
    std::vector<const RegisteredMethod *> methods;
};

std::vector<ChosenClass> ChosenClasses(const standin::Host &host, std::string_view filter) {
    std::vector<ChosenClass> classes;
    for (const auto &definition : host.Classes()) {
        const std::string_view part = HasPart(definition->name, filter) ? std::string_view() : filter;
        ChosenClass chosen{definition.get(), Chosen(definition->properties, part), Chosen(definition->methods, part)};
        if (!chosen.properties.empty() || !chosen.methods.empty())
            classes.push_back(std::move(chosen));
    }
    return classes;
}

bool IsClass(const standin::Host &host, std::string_view name) {
    return std::any_of(host.Classes().begin(), host.Classes().end(),
                       [&](const auto &definition) { return standin::SameName(definition->name, name); });
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

std::string ListInterface(const standin::Host &host, std::string_view filter) {
    std::string text = Section("Global methods", Chosen(host.GlobalMethods(), filter));
    text += Section("Methods of Picture", Chosen(host.PictureMethods(), filter));
    for (const auto &[definition, properties, methods] : ChosenClasses(host, filter))
        text += fmt::format("Class {} ({} bytes of instance data){}\n{}{}{}\n", definition->name,
                            definition->record.instanceSize, Notes({Flags(definition->record.flags)}),
                            Meaning(definition->name), Lines(properties), Lines(methods));
    if (const Entry *entry = FindEntry(filter); entry && !text.empty())
        return text + Details(*entry, IsClass(host, filter));
    if (!text.empty())
        text.pop_back(); // the empty line behind the last group
    return text;
}

std::string InterfaceJson(const standin::Host &host, std::string_view filter) {
    std::vector<std::string> classes;
    for (const auto &[definition, properties, methods] : ChosenClasses(host, filter))
        classes.push_back(json::Object({{"name", json::Text(definition->name)},
                                        {"meaning", MeaningJson(definition->name)},
                                        {"instanceBytes", fmt::format("{}", definition->record.instanceSize)},
                                        {"properties", JsonOf(properties)},
                                        {"methods", JsonOf(methods)}}));
    return json::Object({{"globalMethods", JsonOf(Chosen(host.GlobalMethods(), filter))},
                         {"pictureMethods", JsonOf(Chosen(host.PictureMethods(), filter))},
                         {"classes", json::Array(classes)}});
}

} // namespace tools
