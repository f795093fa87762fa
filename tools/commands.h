#pragma once

#include "tools/files.h"
#include "tools/host_options.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tools {

/// Each adds a command with its options to the program. A command that was given runs at the end of parsing, and says
/// in `outcome` how it ended. It throws UserError for what is wrong with the request.
void AddListCommand(CLI::App &program, Outcome &outcome);
void AddApplyCommand(CLI::App &program, Outcome &outcome);
void AddMakeCommand(CLI::App &program, Outcome &outcome);
void AddSampleCommand(CLI::App &program, Outcome &outcome);
void AddGalleryCommand(CLI::App &program, Outcome &outcome);
void AddCheckCommand(CLI::App &program, Outcome &outcome);
void AddCompletionCommand(CLI::App &program, Outcome &outcome);
void AddManualCommand(CLI::App &program, Outcome &outcome);

void AddHostOptions(CLI::App &command, HostOptions &options);

// What the program tells of its own commands, all derived from how they were declared.

/// What stands for an option's value or a positional, by its type name: words in capitals, or the values themselves as
/// in "png|jpg|bmp". Empty for a flag.
std::string Placeholder(const CLI::Option &option);

/// "-o, --output FILE", or the placeholder alone of a positional.
std::string OptionHead(const CLI::Option &option);

/// What the option does, with its default.
std::string OptionText(const CLI::Option &option);

/// "kvt apply [OPTION...] PICTURE... [CALL...]"
std::string Usage(const CLI::App &command);

} // namespace tools
