#pragma once

#include "standin/host.h"

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

/// What completes the program's words in a shell. The shell's script hands the words to the program, which answers from
/// its own declarations and the interface: commands, options and their values, files, and behind a picture the names of
/// methods and classes, with their members.
namespace tools {

/// The script for bash or zsh.
std::string_view CompletionScript(std::string_view shell);

struct Completion {
    std::string text;
    std::string meaning; ///< empty when there is none
};
struct Completions {
    std::string_view paths = "none"; ///< of which kind complete the word too: "none", "files", "folders"
    std::vector<Completion> words;
};

/// What completes the last of the words; the first is the program's name. Each has a character before it, so that none
/// is an option of this command. Letters compare without case.
Completions Complete(const CLI::App &program, const standin::Host &host, std::vector<std::string> words);

} // namespace tools
