#pragma once

#include "tools/bound_call.h"

#include <optional>
#include <stdexcept>
#include <utility>

namespace tools {

/// A call that came to nothing: it returned nil or false, or raised an exception.
struct CallFailed : std::runtime_error {
    explicit CallFailed(const std::string &what, std::optional<standin::RaisedException> thrown = {})
        : runtime_error(what), raised(std::move(thrown)) {}
    std::optional<standin::RaisedException> raised;
};

/// Makes a call, of a class its run. `picture` is the current one, which serves as `me`; a picture that the call yields
/// takes its place. Throws CallFailed, and leaves `picture` as it is.
standin::Result RunCall(standin::Host &host, const BoundCall &call, standin::Ref &picture);

/// "true", "0.25", "picture of 640 x 480", "string of 43 bytes", "nil"
std::string Shown(const standin::Value &value);

} // namespace tools
