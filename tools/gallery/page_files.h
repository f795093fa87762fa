#pragma once

#include <string_view>

/// The files beside this one, built into the program.
namespace tools::gallery {

extern const std::string_view kPageTemplate; ///< page.html
extern const std::string_view kPageStyle;    ///< page.css
extern const std::string_view kPageScript;   ///< page.js

} // namespace tools::gallery
