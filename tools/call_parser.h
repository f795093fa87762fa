#pragma once

#include "tools/files.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// A stretch of a call's text.
struct Place {
    std::size_t at = 0;
    std::size_t length = 0;
};

/// One value as it is written.
struct Argument {
    enum class Form {
        Bare,      ///< 10, &c223344, true, nil, me, mask.png
        Quoted,    ///< "text", a double quote inside written twice
        FileBytes, ///< @file.ppic or @"file.ppic": what the file holds
    };
    std::string name; ///< of the property, when written Name=value; else empty
    Form form = Form::Bare;
    std::string text; ///< without quotes and @
    Place place;      ///< of the value as written
    Place namePlace;
};

/// A call as a script writes it: Name, Name(argument, ...), Name(argument, ...) = value, Class(Property=value).Member.
struct Call {
    std::string text; ///< of this call alone; places are places in it
    std::string name;
    Place namePlace;
    std::vector<Argument> arguments;
    std::string member; ///< behind the dot; empty when there is none
    Place memberPlace;
    std::optional<Argument> assigned;
};

/// A call that is wrong at one place. The message is followed by the call with a mark under the place, then by the
/// note.
struct CallError : UserError {
    CallError(std::string_view message, std::string_view call, Place place, std::string_view note = {});
};

/// Whether a method or class is called so.
using IsDeclared = std::function<bool(std::string_view name)>;

/// Reads a line of a script: calls one behind the other with dots between. A variable that they are called on or that
/// takes the result ("result = p.InvertKVT") counts for nothing, for a chain has but one picture. Throws CallError.
std::vector<Call> ParseCalls(std::string_view text, const IsDeclared &isDeclared);

/// The name of the first call of a line, whatever follows; empty when there is none.
std::string_view NameAtStart(std::string_view text, const IsDeclared &isDeclared);

/// Reads one call, with neither variables nor others behind it. Throws CallError.
Call ParseCall(std::string_view text);

} // namespace tools
