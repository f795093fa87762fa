#pragma once

#include "tools/apply.h"

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// What stands behind `kvt apply`, apart from options.
struct Words {
    std::vector<std::string> inputs;
    std::vector<std::string> calls;
};

/// Whether a word names an input: "-", a file or pipe that exists, or what has a picture's ending.
bool LooksLikeInput(const std::string &word);

/// Whether a path ends in a slash or is a folder.
bool IsFolder(const std::string &path);

/// The first words are inputs; from the first that is none on, all are calls. Throws UserError when no input stands
/// there, or one stands among the calls, and shows the line that may have been meant.
Words SplitWords(const std::vector<std::string> &words);

/// A path with {name}, {dir} and {ext} filled in: the input's name without its ending, its folder, its ending without
/// the dot. {{ stands for a brace. Standard input is called stdin, in the current folder, with the ending png. Throws
/// UserError.
std::string FillIn(std::string_view pattern, const std::string &input);

/// One request an input, with its own places to write to; results go into a folder under the names of the inputs.
/// Throws UserError when two would write to the same place, one to what is another's input, or one in a folder over its
/// own.
std::vector<ApplyRequest> PlanBatch(const ApplyRequest &pattern, const std::vector<std::string> &inputs);

} // namespace tools
