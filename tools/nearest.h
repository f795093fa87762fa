#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// The name among `names` that someone may have meant; empty when none is near. Letters compare without case.
std::string_view NearestName(std::string_view written, const std::vector<std::string_view> &names);

/// `; did you mean "Name"?`, for the end of a message; empty when no name is near.
std::string Suggestion(std::string_view written, const std::vector<std::string_view> &names);

} // namespace tools
