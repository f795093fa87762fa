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
Kind KindOf(Type type);   ///< of the objects of a type that is passed as a handle

constexpr std::int32_t Low32(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

/// The word of an argument that is no double, as the compiler passes it: unsigned types extended with zeros, signed
/// ones with their sign.
std::intptr_t ArgumentWord(Type type, const Value &value);
Value ValueOf(Type type, std::int32_t integer); ///< an integer, unsigned integer or color that came back

/// The memory that a `byref` argument points to.
union Variable {
    std::intptr_t word; ///< as an argument has it; the others begin where it does
    void *handle;
    std::int32_t integer;
    double number;
    signed char boolean;
};

Variable VariableOf(Type type, const Value &value);
/// The value after the call of a variable that held `before`; takes over the reference of a new object.
Value ReadBack(Type type, const Variable &variable, const Value &before);

/// The living object behind a handle that the module handed back with one reference for the script; nil, with a
/// violation, when it is none of that kind.
Ref TakeOver(const void *handle, Kind kind);

} // namespace standin
