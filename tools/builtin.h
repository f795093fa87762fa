#pragma once

#include <string_view>

/// Files of the source tree, built into the program.
namespace tools::builtin {

extern const std::string_view kMethods;   ///< methods.json
extern const std::string_view kReference; ///< docs/reference.md
extern const std::string_view kPage;      ///< gallery/page.html
extern const std::string_view kStyle;     ///< gallery/page.css
extern const std::string_view kScript;    ///< gallery/page.js

} // namespace tools::builtin
