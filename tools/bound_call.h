#pragma once

#include "standin/host.h"
#include "tools/call_parser.h"
#include "tools/cube_file.h"

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tools {

/// The current picture of a chain of calls, written `me`, which is known only when the call is made.
struct CurrentPicture {
    bool operator==(const CurrentPicture &) const = default;
};

/// A value that is at hand, or the current picture.
using Slot = std::variant<standin::Value, CurrentPicture>;

/// A call that fits the interface, its files read and its values made. It holds references: it ends before its host.
struct BoundCall {
    enum class Target { PictureMethod, GlobalMethod, Class };

    Target target = Target::PictureMethod;
    std::string text;                                  ///< as written
    std::string name;                                  ///< as declared
    const standin::RegisteredMethod *method = nullptr; ///< of a class: the member that is called
    std::vector<Slot> arguments;                       ///< one for each parameter, left-out ones too
    std::optional<Slot> assigned;
    std::vector<std::pair<std::string, Slot>> properties; ///< of a class's instance, in the order written
    std::optional<CubeTable> table;
    std::string hint; ///< what may be wrong when nothing comes of the call; empty when nothing is suspicious
    std::vector<std::string> notes; ///< what is lost of its picture files

    bool YieldsPicture() const;
    bool YieldsString() const;
};

/// Finds the method or class that a call names and makes its values. `hasPicture` says whether there is a current
/// picture at that point of the chain. Throws CallError, which shows what is declared under that name.
BoundCall Bind(standin::Host &host, const Call &call, bool hasPicture);

/// Parses a line first and binds its calls, each on what the one before yields. `hasPicture` says afterwards whether
/// there is a picture at the line's end. Throws UserError, which shows the same.
std::vector<BoundCall> BindLine(standin::Host &host, std::string_view line, bool &hasPicture);

} // namespace tools
