#pragma once

#include "standin/host.h"
#include "tools/call_parser.h"
#include "tools/cube_file.h"
#include "tools/messages.h"

namespace tools {

/// A value that is at hand; none: the current picture of the chain, written `me`, known only when the call is made.
using Slot = std::optional<standin::Value>;

/// A call that fits the interface, its files read and its values made. It holds references: it ends before its host.
struct BoundCall {
    enum class Target { PictureMethod, GlobalMethod, Class };

    Call call;
    Target target = Target::PictureMethod;
    std::string name;                                    ///< as declared
    const standin::RegisteredMethod *method = nullptr;   ///< of a class: the member that is called
    std::vector<std::pair<std::string, Slot>> arguments; ///< by parameter, left-out ones too; of a class, properties
    std::optional<Slot> assigned;
    bool takesSound = false; ///< samples, with how they are stored
    std::optional<CubeTable> table;
    std::string hint; ///< what may be wrong when nothing comes of the call; empty when nothing is suspicious
    std::vector<std::string> notes; ///< what is lost of its picture files

    bool YieldsPicture() const;
    bool YieldsString() const;
};

/// Reads a line of a script, which outlives its calls, and finds the methods and classes that its calls name, each to
/// run on what the one before yields. `hasPicture` says whether there is a current picture, before the line and behind
/// it. Throws UserError, which shows what is declared under the name that was written.
std::vector<BoundCall> BindLine(standin::Host &host, std::string_view line, bool &hasPicture);

/// A call that came to nothing: it returned nil or false, or raised an exception.
struct CallFailed : std::runtime_error {
    explicit CallFailed(const std::string &what, std::optional<standin::RaisedException> thrown = {})
        : runtime_error(what), raised(std::move(thrown)) {}
    std::optional<standin::RaisedException> raised;
};

/// Makes a call, of a class its run. `picture` is the current one, which serves as `me`; a picture that the call yields
/// takes its place. Throws CallFailed, and leaves `picture` as it is.
standin::Result RunCall(standin::Host &host, const BoundCall &call, standin::Ref &picture);

/// What a report tells of a result: its "name", its "type" as declared, and its "value", which is null for nil, an
/// object with "width" and "height" for a picture, one with "bytes" for a string or memory block.
Json Told(std::string_view name, standin::Type type, const standin::Value &value);

/// The same as a person reads it: "true", "0.25", "picture of 640 x 480", "string of 43 bytes", "nil"
std::string Shown(const Json &told);

} // namespace tools
