#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// Whether `part` occurs in a name. Letters compare without case, as in all of these.
bool HasPart(std::string_view name, std::string_view part);

/// The names that someone may have meant, three at the most: the one that differs in the fewest letters, unless it
/// differs in too many, then those that hold what was written, the shortest first.
std::vector<std::string_view> NearNames(std::string_view written, const std::vector<std::string_view> &names);

/// `; did you mean "Name" or "OtherName"?`, for the end of a message; empty when no name is near.
std::string Suggestion(std::string_view written, const std::vector<std::string_view> &names);

} // namespace tools
