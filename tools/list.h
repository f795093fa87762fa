#pragma once

#include "standin/host.h"
#include "tools/methods.h"

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// The names of all methods and classes, each once, in the order of the alphabet. Seen while the host lives.
std::vector<std::string_view> InterfaceNames(const standin::Host &host);

/// The interface as the host received it: "globalMethods", "pictureMethods" and "classes" with their members, each with
/// what it is. With a filter, those that have it in their name, meaning or promise; such a class is there whole.
Json Interface(const standin::Host &host, std::string_view filter);

/// The same to be read. Of the method or class that is called just like the filter, also what it does, a few calls and
/// where more is told. Empty when the interface is.
std::string InterfaceText(const Json &interface, std::string_view filter);

} // namespace tools
