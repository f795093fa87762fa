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

/// The first words are inputs, as long as each is "-", a file that exists, or has a picture's ending; from the first
/// that is none of these on, all are calls. Throws UserError when no input stands there, or one stands among the calls.
Words SplitWords(const std::vector<std::string> &words);

/// A path with {name}, {dir} and {ext} filled in: the input's name without its ending, its folder, its ending without
/// the dot. {{ stands for a brace. Standard input is called stdin, in the current folder, with the ending png. Throws
/// UserError.
std::string FillIn(std::string_view pattern, const std::string &input);

/// One request an input, with its own places to write to. Throws UserError when two would write to the same place, or
/// one to what is another's input.
std::vector<ApplyRequest> PlanBatch(const ApplyRequest &pattern, const std::vector<std::string> &inputs);

} // namespace tools
