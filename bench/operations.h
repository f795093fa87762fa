#pragma once

#include "bench/inputs.h"
#include "standin/host.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace bench {

/// How an operation's time depends on the picture.
enum class Cost {
    PerPixel,
    Constant, ///< it looks at few pixels or none
};

using Input = const standin::Ref &(Inputs::*)();
using Argument = std::variant<standin::Value, Input, int (Inputs::*)() const>;

/// One line of the benchmark: one call.
struct Operation {
    std::string_view method; ///< as scripts know it; "Class.Method" for the classes' own
    std::string_view what;   ///< tells a method's lines apart where it has several
    Input receiver;          ///< null: the method is a global one
    std::vector<Argument> arguments = {};
    Input assigned = nullptr; ///< what is assigned to the method, if anything is
    Cost cost = Cost::PerPixel;
    /// Fresh memory that the module asks the system for and fills, in bytes a pixel. Its clearing is the system's, and
    /// is taken apart; 0 where it is too little to matter.
    std::size_t freshBytesPerPixel = 0;

    std::string Name() const; ///< "Method (what)"
    standin::Result Run(standin::Host &host, Inputs &inputs) const;
};

const std::vector<Operation> &Operations();

/// The registered methods that no line measures and the lines that measure no method, a sentence each.
std::vector<std::string> Mismatches(const standin::Host &host);

} // namespace bench
