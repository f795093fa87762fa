#pragma once

#include "standin/host.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// How script values become arguments of a routine and come back.
namespace standin {

Value DefaultOf(const Parameter &parameter); ///< what a script passes when it leaves the argument out

/// Why a value cannot be passed for a parameter; empty when it can.
std::string Misfit(const Parameter &parameter, const Value &value);

/// The first overload that the arguments fit. Throws WrongCall with all of that name and what keeps them from fitting.
const RegisteredMethod &Choose(const std::vector<RegisteredMethod> &methods, std::string_view name,
                               const std::vector<Value> &arguments);

bool IsHandle(Type type); ///< passed as a handle

/// An argument, a result, or what lies in a property's field or where a `byref` argument points to.
union Variable {
    std::intptr_t word; ///< as the compiler passes it: unsigned types extended with zeros, signed ones with their sign
    void *handle;
    std::int32_t integer;
    double number;
    signed char boolean;
};

Variable VariableOf(Type type, const Value &value);
Variable ReadField(const Instance &instance, const RegisteredProperty &property);

/// What came back. An object must be living, of its kind, and come with one reference for the script; it is nil, with a
/// violation, when it is not.
Value ValueOf(Type type, const Variable &variable);
/// The same for a variable that held `before` when the call began.
Value ReadBack(Type type, const Variable &variable, const Value &before);

} // namespace standin
