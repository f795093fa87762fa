#include "standin/arguments.h"

#include "standin/host_state.h"

#include <cstring>
#include <fmt/format.h>

namespace standin {
namespace {

Kind KindOf(Type handle) {
    return handle == Type::Picture ? Kind::Picture : handle == Type::String ? Kind::String : Kind::MemoryBlock;
}

/// The same for all arguments of a call.
std::string Misfit(const Declaration &declaration, const std::vector<Value> &arguments) {
    const std::size_t least = declaration.Required();
    const std::size_t most = declaration.parameters.size();
    if (arguments.size() < least || arguments.size() > most)
        return fmt::format("{} argument(s) expected, {} given",
                           least == most ? fmt::format("{}", most) : fmt::format("{} to {}", least, most),
                           arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i)
        if (std::string problem = Misfit(declaration.parameters[i], arguments[i]); !problem.empty())
            return problem;
    return "";
}

} // namespace

bool IsHandle(Type type) { return type == Type::String || type == Type::Picture || type == Type::MemoryBlock; }

Value DefaultOf(const Parameter &parameter) {
    const std::string &text = *parameter.defaultText;
    if (SameName(text, "nil"))
        return nullptr;
    if (SameName(text, "true") || SameName(text, "false"))
        return SameName(text, "true");
    const std::optional<double> number = ParseNumber(text);
    if (!number)
        throw WrongCall(fmt::format("the default \"{}\" of {} is no value", text, parameter.name));
    return parameter.type == Type::Double ? Value(*number) : Value(static_cast<std::int64_t>(*number));
}

std::string Misfit(const Parameter &parameter, const Value &value) {
    const auto misfit = [&](std::string_view got) {
        return fmt::format("{} is {}, not {}", parameter.name, NameOf(parameter.type), got);
    };
    if (value.Is<NoVariable>())
        return parameter.byref ? "" : misfit("a variable");
    if (IsHandle(parameter.type)) {
        if (value.IsNil())
            return "";
        if (!value.Is<Ref>())
            return misfit("a number");
        return value.AsRef().object()->kind == KindOf(parameter.type) ? "" : misfit(value.AsRef().object()->Describe());
    }
    if (value.IsNil())
        return misfit("nil");
    if (value.Is<Ref>())
        return misfit(value.AsRef().object()->Describe());
    if (parameter.type == Type::Boolean)
        return value.Is<bool>() ? "" : misfit("a number");
    if (value.Is<bool>())
        return misfit("a boolean");
    if (parameter.type == Type::Double)
        return "";
    if (value.Is<double>())
        return misfit("a double");
    const std::int64_t number = value.AsInteger();
    const bool fits =
        parameter.type == Type::Integer ? std::in_range<std::int32_t>(number) : std::in_range<std::uint32_t>(number);
    return fits ? "" : misfit(fmt::format("{}, which has too many bits", number));
}

const RegisteredMethod &Choose(const std::vector<RegisteredMethod> &methods, std::string_view name,
                               const std::vector<Value> &arguments) {
    std::string problems;
    for (const RegisteredMethod &method : methods) {
        if (!SameName(method.declaration.name, name))
            continue;
        const std::string problem = Misfit(method.declaration, arguments);
        if (problem.empty())
            return method;
        problems += fmt::format("\n  {}: {}", method.declaration.text, problem);
    }
    throw WrongCall(problems.empty() ? fmt::format("no method is called \"{}\"", name)
                                     : fmt::format("no {} takes these arguments:{}", name, problems));
}

Variable VariableOf(Type type, const Value &value) {
    if (type == Type::Double)
        return {.number = value.AsDouble()};
    if (IsHandle(type))
        return {.handle = value.IsNil() ? nullptr : value.AsRef().handle()};
    if (type == Type::Boolean)
        return {.word = value.AsBoolean() ? 1 : 0};
    if (type == Type::Integer)
        return {.word = static_cast<std::int32_t>(value.AsInteger())};
    return {.word = static_cast<std::intptr_t>(static_cast<std::uint32_t>(value.AsInteger()))};
}

Variable ReadField(const Instance &instance, const RegisteredProperty &property) {
    const std::span<const unsigned char> field = FieldOf(instance, property);
    Variable held = {};
    std::memcpy(&held, field.data(), field.size());
    return held;
}

Value ValueOf(Type type, const Variable &variable) {
    if (type == Type::Nothing || (IsHandle(type) && !variable.handle))
        return {};
    if (type == Type::Double)
        return variable.number;
    if (type == Type::Boolean)
        return variable.boolean != 0;
    if (type == Type::Integer)
        return variable.integer;
    if (!IsHandle(type))
        return static_cast<unsigned>(variable.integer);
    Object *object = gHost->ObjectAt(variable.handle);
    if (object && !object->dead && object->kind == KindOf(type))
        return Ref::Adopt(object);
    gHost->Violation(Concern::References, "the result is no living object of its type");
    return {};
}

Value ReadBack(Type type, const Variable &variable, const Value &before) {
    const void *old = before.Is<Ref>() ? before.AsRef().handle() : nullptr;
    if (!IsHandle(type) || (!old && variable.handle))
        return ValueOf(type, variable);
    if (variable.handle == old)
        return before;
    gHost->Violation(Concern::References, "a byref variable that held an object was given another one");
    return ValueOf(type, variable);
}

} // namespace standin
