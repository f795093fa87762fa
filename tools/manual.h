#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace tools {

/// The manual page, for man: what help tells of all commands. What several commands tell alike stands once, at the end.
std::string ManualPage(const CLI::App &program, std::string_view version, std::string_view date);

} // namespace tools
