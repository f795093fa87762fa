#include "tools/run_call.h"

#include "tools/picture_files.h"

#include <fmt/format.h>

namespace tools {
namespace {

using standin::Host;
using standin::Ref;
using standin::Result;
using standin::Value;
using Target = BoundCall::Target;

Value Fill(const Slot &slot, const Ref &picture) {
    return std::holds_alternative<CurrentPicture>(slot) ? Value(picture) : std::get<Value>(slot);
}

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

Result RunClass(Host &host, const BoundCall &call, Ref &picture) {
    const Ref instance = host.New(call.name);
    for (const auto &[name, slot] : call.properties)
        host.Set(instance, name, Fill(slot, picture));
    if (call.table)
        FillTable(host, instance, *call.table);
    Result result = host.CallRecord(*call.method, false, instance, {});
    if (!result.value.AsBoolean())
        throw CallFailed(fmt::format("{}.{} returned false", call.name, call.method->declaration.name));
    const Value destination = host.Get(instance, "DestinationPicture");
    if (destination.IsNil())
        throw CallFailed(fmt::format("{}.{} left no DestinationPicture", call.name, call.method->declaration.name));
    picture = destination.AsRef();
    return result;
}

/// The module stores alpha alone. Colors that are premultiplied follow it, as the host's pictures demand.
Result RunAssignment(Host &host, const BoundCall &call, const Ref &picture, std::vector<Value> arguments) {
    const Value assigned = Fill(*call.assigned, picture);
    const Image before = ImageOf(picture.picture());
    Result result = host.CallRecord(*call.method, false, picture, std::move(arguments), &assigned);
    SetColors(picture.picture(), before);
    return result;
}

} // namespace

Result RunCall(Host &host, const BoundCall &call, Ref &picture) {
    if (call.target == Target::Class)
        return RunClass(host, call, picture);
    std::vector<Value> arguments;
    for (const Slot &slot : call.arguments)
        arguments.push_back(Fill(slot, picture));
    Result result = call.assigned ? RunAssignment(host, call, picture, std::move(arguments))
                                  : host.CallRecord(*call.method, call.target == Target::GlobalMethod, picture,
                                                    std::move(arguments));
    if (result.raised)
        throw CallFailed(fmt::format("{} raised {}: {}", call.name, result.raised->className, result.raised->message),
                         result.raised);
    if ((call.YieldsPicture() || call.YieldsString()) && result.value.IsNil())
        throw CallFailed(call.name + " returned nil" + (call.hint.empty() ? "" : "\n" + call.hint));
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
    case standin::Kind::Picture:
        return fmt::format("picture of {} x {}", value.AsPicture().width, value.AsPicture().height);
    case standin::Kind::String:
        return fmt::format("string of {} bytes", value.AsRef().text().bytes().size());
    case standin::Kind::MemoryBlock:
        return fmt::format("memory block of {} bytes", value.AsRef().block().memory.size());
    default:
        return value.AsRef().object()->Describe();
    }
}

} // namespace tools
