#pragma once

#include "tools/files.h"

#include <fmt/color.h>
#include <nlohmann/json_fwd.hpp>
#include <utility>

/// How the program speaks to its user.
namespace tools {

using Json = nlohmann::ordered_json; ///< whose members keep their order

/// On one line, or indented. What is no text in UTF-8 becomes one.
std::string TextOf(const Json &json, int indent = -1);

/// A text with its color, or without where the stream (STDOUT_FILENO or STDERR_FILENO) is no terminal or NO_COLOR is
/// set.
std::string Styled(int stream, const fmt::text_style &style, std::string_view text);

/// Writes "kvt: " and the text on standard error.
void PrintProblem(std::string_view text);

/// Shows a bar on standard error of how much of a long work is through; nothing at all where that is no terminal. It is
/// to be hidden before anything else is printed; problems do so.
void ShowProgress(std::size_t through, std::size_t total, std::string_view what = {});
void HideProgress();

/// Whether `part` occurs in a name. Letters compare without case, as in all of these.
bool HasPart(std::string_view name, std::string_view part);

/// `; did you mean "Name" or "OtherName"?`, for the end of a message: three names at the most of those that differ in a
/// few letters or hold what was written, the nearest first. When there is none, what is to stand there.
std::string Suggestion(std::string_view written, const std::vector<std::string_view> &names,
                       std::string_view otherwise = {});

/// How the program ends because of what was thrown, and what is told.
std::pair<Outcome, std::string> EndBy(const std::exception &thrown);

} // namespace tools
