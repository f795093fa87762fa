#include "tools/bound_call.h"

#include "tools/picture_files.h"

#include <algorithm>
#include <fmt/format.h>
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
    if (bytes.size() < kHeader)
        return fmt::format("{} bytes are too few for a picture string, which has {} before its pixels", bytes.size(),
                           kHeader);
    if (AsText(bytes.first(4)) != "PPIC")
        return "the bytes are no picture string, which begins with PPIC";
    const auto word = [&](std::size_t at) { return BigEndian(bytes, at, 4); };
    if (word(4) != bytes.size())
        return fmt::format("the picture string says that it has {} bytes, and has {}", word(4), bytes.size());
    const std::uint64_t pixels = std::uint64_t{3} * word(8) * word(12);
    if (word(20) + pixels > bytes.size())
        return fmt::format("the picture string holds fewer than the {} bytes of its {} x {} pixels", pixels, word(8),
                           word(12));
    return {};
}

/// Why a call may have come to nil, as far as its values tell; a line each.
std::string WhyNil(const BoundCall &call, const Ref &receiver, const std::vector<Value> &arguments) {
    constexpr std::size_t kTableBytes = 256;
    constexpr std::int64_t kMostSide = 32767;
    std::string why;
    const auto add = [&](const std::string &reason) { why += reason.empty() ? "" : "\n  " + reason; };
    std::vector<std::pair<std::string, const Picture *>> pictures;
    if (call.target == Target::PictureMethod)
        pictures.emplace_back("the picture", &receiver.picture());
    const std::vector<Parameter> &parameters = call.method->declaration.parameters;
    const bool takesSamples = std::any_of(parameters.begin(), parameters.end(),
                                          [](const auto &parameter) { return SameName(parameter.name, "Bits"); });
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const auto &[name, type, byref, defaultText] = parameters[i];
        const Value &value = arguments[i];
        if (value.IsNil() && !defaultText)
            add(name + " is nil");
        else if (takesSamples && name == "Bits" && std::set<std::int64_t>{7, 8, 15, 16}.count(value.AsInteger()) == 0)
            add(fmt::format("{} is {}: 7, 8, 15 and 16 are known", name, value.AsInteger()));
        else if (value.Is<std::int64_t>() && value.AsInteger() > kMostSide && (name == "Width" || name == "Height"))
            add(fmt::format("{} is {}, and {} is the most", name, value.AsInteger(), kMostSide));
        if (!value.Is<Ref>())
            continue;
        const Ref &ref = value.AsRef();
        if (type == Type::Picture)
            pictures.emplace_back(name, &ref.picture());
        else if (type == Type::String)
            add(FaultOf(AsBytes(ref.text().bytes())));
        else if (!takesSamples && ref.block().memory.size() < kTableBytes)
            add(fmt::format("{} holds {} bytes, and a table {}", name, ref.block().memory.size(), kTableBytes));
    }
    std::string sizes;
    bool differ = false;
    for (const auto &[name, picture] : pictures) {
        sizes += fmt::format("{}{} is {} x {}", sizes.empty() ? "" : ", ", name, picture->width, picture->height);
        differ = differ || picture->width != pictures[0].second->width || picture->height != pictures[0].second->height;
    }
    add(differ ? "sizes differ: " + sizes : "");
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

/// The module stores alpha alone. Where there is an alpha channel, colors that are premultiplied follow it, as the
/// host's pictures demand.
Result RunAssignment(Host &host, const BoundCall &call, const Ref &picture, std::vector<Value> arguments) {
    const Value assigned = call.assigned->value_or(picture);
    const bool follow = picture.picture().description.hasAlphaChannel;
    const Image before = follow ? ImageOf(picture.picture()) : Image();
    Result result = host.CallRecord(*call.method, false, picture, std::move(arguments), &assigned);
    if (follow)
        SetColors(picture.picture(), before);
    return result;
}

} // namespace

Result RunCall(Host &host, const BoundCall &call, Ref &picture) {
    if (call.target == Target::Class)
        return RunClass(host, call, picture);
    std::vector<Value> arguments;
    for (const auto &[name, slot] : call.arguments)
        arguments.push_back(slot.value_or(picture));
    Result result = call.assigned
                        ? RunAssignment(host, call, picture, arguments)
                        : host.CallRecord(*call.method, call.target == Target::GlobalMethod, picture, arguments);
    if (result.raised)
        throw CallFailed(fmt::format("{} raised {}: {}", call.name, result.raised->className, result.raised->message),
                         result.raised);
    if ((call.YieldsPicture() || call.YieldsString()) && result.value.IsNil())
        throw CallFailed(call.name + " returned nil" + WhyNil(call, picture, arguments));
    if (call.YieldsPicture())
        picture = result.value.AsRef();
    return result;
}

std::string Shown(const Value &value) {
    if (value.Is<bool>())
        return value.AsBoolean() ? "true" : "false";
    if (value.Is<double>())
        return fmt::format("{}", value.AsDouble());
    if (value.Is<std::int64_t>())
        return fmt::format("{}", value.AsInteger());
    if (!value.Is<Ref>())
        return "nil";
    switch (value.AsRef().object()->kind) {
    case Kind::Picture:
        return fmt::format("picture of {} x {}", value.AsPicture().width, value.AsPicture().height);
    case Kind::String:
        return fmt::format("string of {} bytes", value.AsRef().text().bytes().size());
    case Kind::MemoryBlock:
        return fmt::format("memory block of {} bytes", value.AsRef().block().memory.size());
    default:
        return value.AsRef().object()->Describe();
    }
}

} // namespace tools
