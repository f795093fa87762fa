#pragma once

#include "tools/files.h"

namespace CLI {
class App;
}

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

} // namespace tools
