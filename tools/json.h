#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Documents are put together from the inside out: each function yields finished JSON.
namespace tools::json {

/// A string. Bytes that are no UTF-8, as names of files may have, become U+FFFD.
std::string Text(std::string_view text);
std::string Number(double number); ///< null for what JSON has no number for
std::string Boolean(bool value);

/// Values are finished JSON, each in its place.
std::string Object(std::initializer_list<std::pair<std::string_view, std::string>> members);
std::string Array(const std::vector<std::string> &values);

} // namespace tools::json
