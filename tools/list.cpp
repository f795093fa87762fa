#include "tools/list.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace tools {
namespace {

using standin::RegisteredClass;
using standin::RegisteredMethod;
using standin::RegisteredProperty;

constexpr std::uint32_t kConsole = 4; ///< the host's flag of what it also offers to console applications

bool Contains(std::string_view name, std::string_view part) {
    if (part.size() > name.size())
        return false;
    for (std::size_t at = 0; at <= name.size() - part.size(); ++at)
        if (standin::SameName(name.substr(at, part.size()), part))
            return true;
    return false;
}

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

/// The lines of those whose names contain the filter, under a heading; nothing when there is none.
std::string Lines(std::string_view heading, const std::vector<RegisteredMethod> &methods, std::string_view filter) {
    std::string lines;
    std::size_t count = 0;
    for (const RegisteredMethod &method : methods)
        if (Contains(method.declaration.name, filter)) {
            lines += Line(method);
            ++count;
        }
    return count == 0 ? "" : fmt::format("{} ({})\n{}\n", heading, count, lines);
}

std::string Lines(const RegisteredClass &definition, std::string_view filter) {
    const std::string_view part = Contains(definition.name, filter) ? std::string_view() : filter;
    std::string lines;
    for (const RegisteredProperty &property : definition.properties)
        if (Contains(property.name, part))
            lines += Line(property);
    for (const RegisteredMethod &method : definition.methods)
        if (Contains(method.declaration.name, part))
            lines += Line(method);
    if (lines.empty())
        return lines;
    return fmt::format("Class {} ({} bytes of instance data){}\n{}\n", definition.name, definition.record.instanceSize,
                       Notes({Flags(definition.record.flags)}), lines);
}

} // namespace

std::string ListInterface(const standin::Host &host, std::string_view filter) {
    std::string text = Lines("Global methods", host.GlobalMethods(), filter);
    text += Lines("Methods of Picture", host.PictureMethods(), filter);
    for (const auto &definition : host.Classes())
        text += Lines(*definition, filter);
    if (!text.empty())
        text.pop_back(); // the empty line behind the last group
    return text;
}

} // namespace tools
