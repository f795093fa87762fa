#pragma once

#include "tools/files.h"
#include "tools/host_options.h"

#include <CLI/CLI.hpp>

namespace tools {

/// Each adds a command with its options to the program. A command that was given runs at the end of parsing, and says
/// in `outcome` how it ended, unless it is done. It throws UserError for what is wrong with the request.
void AddListCommand(CLI::App &program, Outcome &outcome);
void AddApplyCommand(CLI::App &program, Outcome &outcome);
void AddMakeCommand(CLI::App &program, Outcome &outcome);
void AddSampleCommand(CLI::App &program, Outcome &outcome);
void AddGalleryCommand(CLI::App &program, Outcome &outcome);
void AddCheckCommand(CLI::App &program, Outcome &outcome);
void AddCompletionCommand(CLI::App &program, Outcome &outcome);
void AddManualCommand(CLI::App &program, Outcome &outcome);

void AddHostOptions(CLI::App &command, HostOptions &options);

/// Adds an option or positional. What stands for its value in help is words in capitals, or the values themselves as in
/// "png|jpg|bmp", and then no other value is taken. What the value is now is the default, which help tells unless it is
/// empty.
template <class Value>
CLI::Option *AddOption(CLI::App &command, const char *names, Value &value, const std::string &standsFor,
                       const std::string &text) {
    CLI::Option *option = command.add_option(names, value, text)->type_name(standsFor)->capture_default_str();
    if (standsFor.find('|') != standsFor.npos)
        option->check(CLI::IsMember(CLI::detail::split(standsFor, '|')).description(""));
    return option->get_default_str() == "[]" ? option->default_str("") : option;
}

// What the program tells of its own commands, all derived from how they were declared.

/// "-o, --output FILE", or what stands for a positional.
std::string OptionHead(const CLI::Option &option);

/// What the option does, with its default.
std::string OptionText(const CLI::Option &option);

/// "kvt apply [OPTION...] PICTURE... [CALL...]"
std::string Usage(const CLI::App &command);

} // namespace tools
