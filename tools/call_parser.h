#pragma once

#include "tools/files.h"

#include <functional>
#include <optional>

namespace tools {

/// One value as it is written. Views are parts of the line that was read, which outlives them.
struct Argument {
    enum class Form {
        Bare,      ///< 10, &c223344, true, nil, me, mask.png
        Quoted,    ///< "text", a double quote inside written twice
        FileBytes, ///< @file.ppic or @"file.ppic": what the file holds
    };
    std::string_view name; ///< of the property, when written Name=value; else empty
    Form form = Form::Bare;
    std::string text;         ///< without quotes and @
    std::string_view written; ///< with them
};

/// A call as a script writes it: Name, Name(argument, ...), Name(argument, ...) = value, Class(Property=value).Member.
struct Call {
    std::string_view text; ///< of this call alone
    std::string_view name;
    std::vector<Argument> arguments;
    std::string_view member; ///< behind the dot; empty when there is none
    std::optional<Argument> assigned;
};

/// A call that is wrong at one place. The message is followed by the call with a mark under that part of it, then by
/// the note.
struct CallError : UserError {
    CallError(std::string_view message, std::string_view call, std::string_view part, std::string_view note = {});
};

/// The declarations of what has that name, for the end of a message; empty when nothing is called so.
using Declarations = std::function<std::string(std::string_view name)>;

/// Reads a line of a script: calls one behind the other with dots between. A variable that they are called on or that
/// takes the result ("result = p.InvertKVT") counts for nothing, for a chain has but one picture. Throws CallError.
std::vector<Call> ParseCalls(std::string_view line, const Declarations &declarations);

} // namespace tools
