#pragma once

#include "standin/host.h"

#include <string>

namespace CLI {
class App;
}

/// Scripts that complete the program's words in a shell: commands, options and their values, files, and behind a
/// picture the names of methods and classes. All of it is taken from the program's declarations and the interface.
namespace tools {

std::string BashCompletion(const CLI::App &program, const standin::Host &host);
std::string ZshCompletion(const CLI::App &program, const standin::Host &host);

} // namespace tools
