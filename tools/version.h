#pragma once

#include <string_view>

namespace tools {

extern const std::string_view kVersion; ///< "kvt" and the project's version
extern const std::string_view kDate;    ///< of the build, as year-month-day

} // namespace tools
