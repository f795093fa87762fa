#pragma once

#include "tools/apply.h"

#include <string>

namespace tools {

/// The answers that are no pictures, "Name = value" a line, each after `prefix`.
std::string AnswersOf(const ApplyReport &report, const std::string &prefix);

/// What went wrong, a line or more each, after "kvt: " and `prefix`.
std::string MessagesOf(const ApplyReport &report, const std::string &prefix);

/// Request and report as one object.
std::string JsonOf(const ApplyRequest &request, const ApplyReport &report);

} // namespace tools
