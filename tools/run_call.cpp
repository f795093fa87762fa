#include "tools/bound_call.h"

#include "tools/picture_files.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <set>

namespace tools {
namespace {

using namespace standin;
using Target = BoundCall::Target;

void FillTable(Host &host, const Ref &instance, const CubeTable &table) {
    for (int red = 0; red < kGridPoints; ++red)
        for (int green = 0; green < kGridPoints; ++green)
            for (int blue = 0; blue < kGridPoints; ++blue) {
                const Triple entry = GridEntry(table, red, green, blue);
                for (int channel = 0; channel < 3; ++channel)
                    host.Assign(instance, "Table", {red, green, blue, channel},
                                entry[static_cast<std::size_t>(channel)]);
            }
}

/// Why bytes are no picture string; empty when they look like one.
std::string FaultOf(std::span<const unsigned char> bytes) {
    constexpr std::size_t kHeader = 24;
    if (bytes.size() < kHeader || AsText(bytes.first(4)) != "PPIC")
        return fmt::format("the {} bytes are no picture string, which begins with PPIC and has {} before its pixels",
                           bytes.size(), kHeader);
    const auto word = [&](std::size_t at) { return BigEndian(bytes, at, 4); };
    const bool isWhole = word(4) == bytes.size() && word(20) + std::uint64_t{3} * word(8) * word(12) <= bytes.size();
    return isWhole ? ""
                   : fmt::format("the picture string tells of {} bytes and {} x {} pixels, and has {} bytes", word(4),
                                 word(8), word(12), bytes.size());
}

/// Why a call may have come to nil, as far as its values tell; a line each.
std::string WhyNil(const BoundCall &call, const Ref &receiver, const std::vector<Value> &arguments) {
    constexpr std::size_t kTableBytes = 256;
    std::string why;
    const auto add = [&](const std::string &reason) { why += reason.empty() ? "" : "\n  " + reason; };
    std::string sizes;
    std::set<std::string> different;
    const auto addSize = [&](std::string_view name, const Picture &picture) {
        const std::string size = fmt::format("{} x {}", picture.width, picture.height);
        sizes += fmt::format("{}{} is {}", sizes.empty() ? "sizes differ: " : ", ", name, size);
        different.insert(size);
    };
    if (call.target == Target::PictureMethod)
        addSize("the picture", receiver.picture());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const auto &[name, type, byref, defaultText] = call.method->declaration.parameters[i];
        const Value &value = arguments[i];
        const std::int64_t number = value.Is<std::int64_t>() ? value.AsInteger() : 0;
        if (value.IsNil() && !defaultText)
            add(name + " is nil");
        else if (call.takesSound && name == "Bits" && !std::set<std::int64_t>{7, 8, 15, 16}.contains(number))
            add(fmt::format("{} is {}: 7, 8, 15 and 16 are known", name, number));
        else if ((name == "Width" || name == "Height") && number > formats::kMostSide)
            add(fmt::format("{} is {}, and {} is the most", name, number, formats::kMostSide));
        else if (type == Type::Picture && value.Is<Ref>())
            addSize(name, value.AsPicture());
        else if (type == Type::String && value.Is<Ref>())
            add(FaultOf(AsBytes(value.AsRef().text().bytes())));
        else if (value.Is<Ref>() && !call.takesSound && value.AsRef().block().memory.size() < kTableBytes)
            add(fmt::format("{} holds {} bytes, and a table {}", name, value.AsRef().block().memory.size(),
                            kTableBytes));
    }
    add(different.size() > 1 ? sizes : "");
    add(call.hint);
    return why;
}

Result RunClass(Host &host, const BoundCall &call, Ref &picture) {
    const Ref instance = host.New(call.name);
    for (const auto &[name, slot] : call.arguments)
        host.Set(instance, name, slot.value_or(picture));
    if (call.table)
        FillTable(host, instance, *call.table);
    Result result = host.CallRecord(*call.method, false, instance, {});
    const Value destination = host.Get(instance, "DestinationPicture");
    if (!result.value.AsBoolean() || destination.IsNil())
        throw CallFailed(fmt::format("{}.{} {}{}", call.name, call.method->declaration.name,
                                     result.value.AsBoolean() ? "left no DestinationPicture" : "returned false",
                                     host.Get(instance, "SourcePicture").IsNil() ? "\n  SourcePicture is nil" : ""));
    picture = destination.AsRef();
    return result;
}

} // namespace

Result RunCall(Host &host, const BoundCall &call, Ref &picture) {
    if (call.target == Target::Class)
        return RunClass(host, call, picture);
    std::vector<Value> arguments;
    for (const auto &[name, slot] : call.arguments)
        arguments.push_back(slot.value_or(picture));
    const Value assigned = call.assigned ? call.assigned->value_or(picture) : Value();
    // The module stores alpha alone. Where there is an alpha channel, colors that are premultiplied follow it, as the
    // host's pictures demand.
    const bool follows = call.assigned && picture.picture().description.hasAlphaChannel;
    const Image before = follows ? ImageOf(picture.picture()) : Image();
    Result result = host.CallRecord(*call.method, call.target == Target::GlobalMethod, picture, arguments,
                                    call.assigned ? &assigned : nullptr);
    if (follows)
        SetColors(picture.picture(), before);
    if (result.raised)
        throw CallFailed(fmt::format("{} raised {}: {}", call.name, result.raised->className, result.raised->message),
                         result.raised);
    if ((call.YieldsPicture() || call.YieldsString()) && result.value.IsNil())
        throw CallFailed(call.name + " returned nil" + WhyNil(call, picture, arguments));
    if (call.YieldsPicture())
        picture = result.value.AsRef();
    return result;
}

Json Told(std::string_view name, Type type, const Value &value) {
    Json json;
    if (value.Is<bool>())
        json = value.AsBoolean();
    else if (value.Is<double>())
        json = value.AsDouble();
    else if (value.Is<std::int64_t>())
        json = value.AsInteger();
    else if (value.Is<Ref>() && type == Type::Picture)
        json = {{"width", value.AsPicture().width}, {"height", value.AsPicture().height}};
    else if (value.Is<Ref>() && type == Type::String)
        json = {{"bytes", value.AsRef().text().bytes().size()}};
    else if (value.Is<Ref>())
        json = {{"bytes", value.AsRef().block().memory.size()}};
    return {{"name", name}, {"type", NameOf(type)}, {"value", json}};
}

std::string Shown(const Json &told) {
    const Json &value = told["value"];
    if (value.contains("width"))
        return fmt::format("picture of {} x {}", value["width"].get<int>(), value["height"].get<int>());
    if (value.contains("bytes"))
        return fmt::format("{} of {} bytes", told["type"] == NameOf(Type::String) ? "string" : "memory block",
                           value["bytes"].get<std::size_t>());
    if (value.is_number_float())
        return fmt::format("{}", value.get<double>());
    return value.is_null() ? "nil" : value.dump();
}

} // namespace tools
