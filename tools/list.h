#pragma once

#include "standin/host.h"

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// The names of all methods and classes, each once, in the order of the alphabet. Seen while the host lives.
std::vector<std::string_view> InterfaceNames(const standin::Host &host);

/// The interface as the host received it, a line each with what it is below: global methods, methods of Picture,
/// classes with their members. With a filter, those whose name contains it; a class whose name does is listed whole. Of
/// the method or class that is called just so, also what it does, a few calls and where more is told.
std::string ListInterface(const standin::Host &host, std::string_view filter);

/// The same as one JSON object; nothing in it when nothing has the filter in its name.
std::string InterfaceJson(const standin::Host &host, std::string_view filter);

} // namespace tools
