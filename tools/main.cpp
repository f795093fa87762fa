#include "tools/builtin.h"
#include "tools/commands.h"
#include "tools/messages.h"
#include "tools/processes.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <iostream>

namespace tools {
namespace {

/// A text, whose words are shorter than that, in lines that fit beside the column of options.
std::string Wrapped(std::string text, std::size_t width) {
    for (std::size_t start = 0; text.size() - start > width; ++start) {
        start = text.rfind(' ', start + width);
        text.at(start) = '\n';
    }
    return text;
}

class Formatter : public CLI::Formatter {
  public:
    Formatter() {
        label("Positionals", "Arguments");
        column_width(26);
    }
    std::string make_usage(const CLI::App *app, std::string) const override {
        return fmt::format("\nUsage: {}\n", Usage(*app));
    }
    std::string make_option_name(const CLI::Option *option, bool) const override { return OptionHead(*option); }
    std::string make_option_opts(const CLI::Option *) const override { return {}; }
    std::string make_option_desc(const CLI::Option *option) const override {
        return Wrapped(OptionText(*option), 100 - get_column_width());
    }
};

/// A message that quotes the word that could not be used, with the name that may have been meant.
std::string Explain(const CLI::App &program, const CLI::ParseError &error) {
    const auto commands = program.get_subcommands();
    const CLI::App &command = commands.empty() || !program.remaining().empty() ? program : *commands.back();
    std::string message = error.what();
    if (const auto words = command.remaining(); !words.empty()) {
        std::vector<std::string> known;
        for (const CLI::App *other : command.get_subcommands({}))
            known.push_back(other->get_name());
        for (const CLI::Option *option : command.get_options())
            for (const std::string &name : option->get_lnames())
                known.push_back("--" + name);
        message = fmt::format("\"{}\" cannot be used here{}", words[0],
                              Suggestion(words[0].substr(0, words[0].find('=')), {known.begin(), known.end()}));
    } else if (dynamic_cast<const CLI::RequiredError *>(&error)) {
        for (const CLI::Option *option : command.get_options())
            if (option->get_required() && option->count() == 0)
                message = OptionHead(*option) + " is missing";
    }
    if (!message.ends_with('?'))
        message +=
            fmt::format("; {}{} --help shows what there is", &command == &program ? "" : "kvt ", command.get_name());
    return message;
}

/// What help shows below the options: the section of help.txt that is called so.
std::string HelpOf(const std::string &name) {
    const std::string heading = "\n== " + name + '\n';
    const std::string text = fmt::format("\n{}\n== ", builtin::kHelp);
    const std::size_t start = text.find(heading) + heading.size();
    return text.substr(start, text.find("\n\n== ", start) - start);
}

/// In the order in which help shows them.
constexpr void (*kCommands[])(CLI::App &program, Outcome &outcome) = {
    AddListCommand,    AddApplyCommand, AddMakeCommand,       AddSampleCommand,
    AddGalleryCommand, AddCheckCommand, AddCompletionCommand, AddManualCommand,
};

Outcome Run(int argc, char **argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    // What follows "--" is no option. CLI11 would give all of it to the program instead of the command.
    const bool hasCalls = !words.empty() && (words[0] == "apply" || words[0] == "make");
    if (const auto mark = std::find(words.begin(), words.end(), "--"); hasCalls && mark != words.end())
        for (auto word = words.erase(mark); word != words.end(); ++word)
            if (word->size() > 1 && word->front() == '-')
                *word = "./" + *word;
    CLI::App program("Calls the picture-processing module's methods from the command line.", "kvt");
    program.set_version_flag("--version", std::string(builtin::kVersion));
    program.require_subcommand(0, 1);
    program.formatter(std::make_shared<Formatter>());
    Outcome outcome = Done;
    for (const auto add : kCommands)
        add(program, outcome);
    for (CLI::App *command : program.get_subcommands({})) {
        const std::string &name = command->get_name();
        command->group("Commands");
        command->footer(HelpOf(name) + (name == "apply" || name == "make" ? "\n\n" + HelpOf("calls") : ""));
    }
    program.footer(HelpOf("kvt"));
    if (!words.empty() && words[0] == "help") { // as --help behind what it is about
        words.erase(words.begin());
        const auto isMeant = [&](const CLI::App *command) { return words.empty() || command->get_name() == words[0]; };
        if (!program.get_subcommands(isMeant).empty())
            words.emplace_back("--help");
    }
    try {
        program.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::Success &asked) {
        program.exit(asked);
        return Done;
    } catch (const CLI::ParseError &error) {
        PrintProblem(Explain(program, error));
        return Wrong;
    }
    if (!program.get_subcommands().empty())
        return outcome;
    fmt::print(stderr, "{}", program.help());
    return Wrong;
}

} // namespace

std::string OptionHead(const CLI::Option &option) {
    std::string type = option.get_type_name();
    if (option.get_positional())
        return type;
    const std::string names = CLI::detail::find_and_replace(option.get_name(false, true), ",", ", ");
    return type.empty() ? names : names + ' ' + type;
}

std::string OptionText(const CLI::Option &option) {
    const std::string &standard = option.get_default_str();
    return option.get_description() + (standard.empty() ? "" : fmt::format(" (default {})", standard));
}

std::string Usage(const CLI::App &command) {
    if (!command.get_parent())
        return command.get_name() + " COMMAND [OPTION...]";
    std::string usage = fmt::format("{} {} [OPTION...]", command.get_parent()->get_name(), command.get_name());
    for (const CLI::Option *option : command.get_options())
        if (option->get_positional() && !option->get_group().empty())
            usage += fmt::format(fmt::runtime(option->get_required() ? " {}" : " [{}]"), option->get_type_name());
    return usage;
}

void AddHostOptions(CLI::App &command, HostOptions &options) {
    AddOption(command, "--host", options.host, "desktop|console", "kind of host");
    AddOption(command, "--layout", options.layout, LayoutNames(),
              fmt::format("how the host stores pixels; {} on a console host", kConsoleLayout));
    AddOption(command, "--host-version", options.version, "VERSION", "a number, or none for a host that does not tell");
    AddOption(command, "--module", options.module, "FILE", "the module's file; else the one beside the program");
}

} // namespace tools

int main(int argc, char **argv) {
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN)); // writing fails instead, and can be told
    tools::Outcome outcome = tools::Done;
    try {
        outcome = tools::Run(argc, argv);
    } catch (const tools::Interrupted &interrupted) {
        static_cast<void>(std::signal(interrupted.signal, SIG_DFL));
        return std::raise(interrupted.signal);
    } catch (const std::exception &error) {
        if (std::ferror(stdout) == 0) { // else that is why it was thrown, and is told below
            const auto [end, why] = tools::EndBy(error);
            outcome = end;
            tools::PrintProblem(why);
        }
    }
    // What standard output did not take is no success, whatever was to be told there.
    if (!std::cout.flush() || std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        tools::PrintProblem(fmt::format("standard output cannot be written: {}", std::strerror(errno)));
        outcome = std::max(outcome, tools::Failed);
    }
    return outcome;
}
