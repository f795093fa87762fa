#include "tools/builtin.h"
#include "tools/commands.h"

#include <fmt/format.h>

namespace tools {
namespace {

/// Text as the page's language takes it.
std::string Roff(const std::string &text) {
    std::string escaped = '\n' + text;
    for (const auto &[plain, safe] : {std::pair("\\", "\\e"), {"-", "\\-"}, {"\n.", "\n\\&."}, {"\n'", "\n\\&'"}})
        escaped = CLI::detail::find_and_replace(escaped, plain, safe);
    return escaped.substr(1);
}

/// Help below the options: examples and columns keep their lines, and headings stand out.
std::string Footer(const CLI::App &command) {
    std::string page;
    for (const std::string &line : CLI::detail::split(command.get_footer(), '\n'))
        page += !line.empty() && line[0] != ' ' && line.back() == ':' ? fmt::format("\\fB{}\\fR\n", Roff(line))
                                                                      : Roff(line) + '\n';
    return fmt::format(".PP\n.nf\n{}.fi\n", page);
}

std::string Options(const CLI::App &command) {
    std::string options;
    for (const CLI::Option *option : command.get_options())
        if (!option->get_group().empty())
            options += fmt::format(".TP\n.B {}\n{}\n", Roff(OptionHead(*option)), Roff(OptionText(*option)));
    return options;
}

/// What help tells of all commands. What several commands tell alike stands once, at the end.
std::string ManualPage(const CLI::App &program) {
    std::string page = fmt::format(".TH KVT 1 {} \"{}\" \"User Commands\"\n.SH NAME\nkvt \\- "
                                   "calls the methods of the picture\\-processing module\n.SH SYNOPSIS\n.B {}\n"
                                   ".SH DESCRIPTION\n{}\n{}{}.SH COMMANDS\n",
                                   builtin::kDate, Roff(std::string(builtin::kVersion)), Roff(Usage(program)),
                                   Roff(program.get_description()), Options(program), Footer(program));
    for (const CLI::App *command : program.get_subcommands({}))
        page += fmt::format(".SS {}\n{}.\n{}{}", Roff(Usage(*command)), Roff(command->get_description()),
                            Options(*command), Footer(*command));
    return page;
}

} // namespace

void AddManualCommand(CLI::App &program, Outcome &) {
    CLI::App *command = program.add_subcommand("manual", "Print the manual page, for man");
    command->callback([&program] { fmt::print("{}", ManualPage(program)); });
}

} // namespace tools
