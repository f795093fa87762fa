#pragma once

#include <string_view>

/// What the build writes into the program: files of the source tree, and what it was built as.
namespace tools::builtin {

extern const std::string_view kHelp;      ///< help.txt
extern const std::string_view kMethods;   ///< methods.json
extern const std::string_view kReference; ///< docs/reference.md
extern const std::string_view kPage;      ///< gallery/page.html with its style and script
extern const std::string_view kBash;      ///< completion.bash
extern const std::string_view kZsh;       ///< completion.zsh
extern const std::string_view kVersion;   ///< "kvt" and the project's version
extern const std::string_view kDate;      ///< of the build, as year-month-day

} // namespace tools::builtin
