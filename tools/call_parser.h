#pragma once

#include "tools/files.h"

#include <cstddef>
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
    std::string text;
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

/// The name that a text begins with, whatever follows; empty when there is none.
std::string_view NameAtStart(std::string_view text);

/// Throws CallError.
Call ParseCall(std::string_view text);

} // namespace tools
