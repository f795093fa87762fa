#include "tools/builtin.h"
#include "tools/commands.h"
#include "tools/messages.h"
#include "tools/processes.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <iostream>
#include <new>
#include <sstream>

namespace tools {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLineWidth = 100;
constexpr std::size_t kTextColumn = 26;

/// Two columns; what is too wide for the first one gets a line of its own.
std::string Row(const std::string &head, const std::string &text) {
    const std::string indent(kTextColumn, ' ');
    std::string row = fmt::format("  {:<{}}", head, kTextColumn - 2);
    if (head.size() + 4 > kTextColumn)
        row = "  " + head + '\n' + indent;
    std::size_t column = kTextColumn;
    std::istringstream words(text);
    for (std::string word; words >> word; column += word.size() + 1) {
        if (column + word.size() > kLineWidth) {
            row += '\n' + indent;
            column = kTextColumn;
        }
        row += (column > kTextColumn ? " " : "") + word;
    }
    return row + '\n';
}

class Formatter : public CLI::Formatter {
  public:
    Formatter() { label("Positionals", "Arguments"); }

    std::string make_usage(const CLI::App *app, std::string) const override {
        return fmt::format("\nUsage: {}\n", Usage(*app));
    }
    std::string make_option(const CLI::Option *option, bool) const override {
        return Row(OptionHead(*option), OptionText(*option));
    }
    std::string make_subcommand(const CLI::App *command) const override {
        return Row(command->get_name(), command->get_description());
    }
};

const CLI::App &Given(const CLI::App &program) {
    const auto commands = program.get_subcommands();
    return commands.empty() ? program : *commands.back();
}

std::string ExplainExtra(const CLI::App &program) {
    const CLI::App &command = program.remaining().empty() ? Given(program) : program;
    const std::string word = command.remaining().at(0);
    const bool isOption = word.size() > 1 && word[0] == '-';
    std::vector<std::string> known;
    if (isOption)
        for (const CLI::Option *option : command.get_options())
            for (const std::string &name : option->get_lnames())
                known.push_back("--" + name);
    else
        for (const CLI::App *other : command.get_subcommands([](const CLI::App *) { return true; }))
            known.push_back(other->get_name());
    if (!isOption && known.empty())
        return fmt::format("\"{}\" is one word too many", word);
    return fmt::format("there is no {} \"{}\"{}", isOption ? "option" : "command", word,
                       Suggestion(isOption ? word.substr(0, word.find('=')) : word, {known.begin(), known.end()}));
}

std::string ExplainMissing(const CLI::App &command) {
    std::string missing;
    for (const CLI::Option *option : command.get_options())
        if (option->get_required() && option->count() == 0)
            missing += (missing.empty() ? "" : " and ") + OptionHead(*option);
    return fmt::format("{} is missing", missing);
}

/// A message that quotes the word that could not be used, with the name that may have been meant.
std::string Explain(const CLI::App &program, const CLI::ParseError &error) {
    const CLI::App &command = Given(program);
    std::string message = error.what();
    if (dynamic_cast<const CLI::ExtrasError *>(&error))
        message = ExplainExtra(program);
    else if (dynamic_cast<const CLI::RequiredError *>(&error))
        message = ExplainMissing(command);
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
    // What follows "--" and is a file is no option. CLI11 would give all of it to the program instead of the command.
    const bool hasCalls = !words.empty() && (words[0] == "apply" || words[0] == "make");
    if (const auto mark = std::find(words.begin(), words.end(), "--"); hasCalls && mark != words.end())
        for (auto word = words.erase(mark); word != words.end(); ++word)
            if (std::error_code ignored; word->size() > 1 && word->front() == '-' && fs::exists(*word, ignored))
                *word = "./" + *word;
    CLI::App program("Calls the picture-processing module's methods from the command line.", "kvt");
    program.set_version_flag("--version", std::string(builtin::kVersion));
    program.require_subcommand(0, 1);
    program.formatter(std::make_shared<Formatter>());
    Outcome outcome = Wrong;
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
    if (program.get_subcommands().empty())
        fmt::print(stderr, "{}", program.help());
    return outcome;
}

/// What standard output did not take is no success, whatever was to be told there.
Outcome WithOutput(Outcome outcome) {
    if (std::cout.flush() && std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return outcome;
    PrintProblem(fmt::format("standard output cannot be written: {}", std::strerror(errno)));
    return std::max(outcome, Failed);
}

} // namespace

std::string Placeholder(const CLI::Option &option) {
    if (option.get_type_size() == 0)
        return {};
    std::string name = option.get_type_name();
    // A validator's own word stands behind a colon, a set of values as "{a,b}".
    if (const std::size_t colon = name.find(':'); colon != name.npos)
        name = name.compare(0, colon, "TEXT") == 0 ? name.substr(colon + 1) : name.substr(0, colon);
    if (name.starts_with('{')) {
        name = name.substr(1, name.size() - 2);
        std::replace(name.begin(), name.end(), ',', '|');
    }
    if (option.get_positional() && (name == "TEXT" || name.empty())) {
        name = option.get_name(true, false);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
        if (option.get_expected_max() > 1)
            name += "...";
    }
    return name;
}

std::string OptionHead(const CLI::Option &option) {
    if (option.get_positional())
        return Placeholder(option);
    std::string head;
    for (const std::string &name : option.get_snames())
        head += (head.empty() ? "-" : ", -") + name;
    for (const std::string &name : option.get_lnames())
        head += (head.empty() ? "--" : ", --") + name;
    const std::string placeholder = Placeholder(option);
    return placeholder.empty() ? head : head + " " + placeholder;
}

std::string OptionText(const CLI::Option &option) {
    const std::string &standard = option.get_default_str();
    return option.get_description() + (standard.empty() ? "" : fmt::format(" (default {})", standard));
}

std::string Usage(const CLI::App &command) {
    std::string usage = command.get_parent() ? command.get_parent()->get_name() + " " : "";
    usage += command.get_name();
    if (!command.get_subcommands([](const CLI::App *) { return true; }).empty())
        return usage + " COMMAND [OPTION...]";
    usage += " [OPTION...]";
    for (const CLI::Option *option : command.get_options())
        if (option->get_positional() && !option->get_group().empty())
            usage += fmt::format(fmt::runtime(option->get_required() ? " {}" : " [{}]"), Placeholder(*option));
    return usage;
}

void AddHostOptions(CLI::App &command, HostOptions &options) {
    command.add_option("--host", options.host, "kind of host")->type_name("desktop|console")->capture_default_str();
    command
        .add_option("--layout", options.layout,
                    fmt::format("how the host stores pixels; {} on a console host", kConsoleLayout))
        ->type_name(fmt::format("{}|{}", DesktopLayouts("|"), kConsoleLayout));
    command.add_option("--host-version", options.version, "a number, or none for a host that does not tell")
        ->type_name("VERSION")
        ->capture_default_str();
    command.add_option("--module", options.module, "the module's file; else the one beside the program")
        ->type_name("FILE");
}

} // namespace tools

int main(int argc, char **argv) {
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN)); // writing fails instead, and can be told
    tools::Outcome outcome = tools::Wrong;
    try {
        outcome = tools::Run(argc, argv);
    } catch (const tools::Interrupted &interrupted) {
        static_cast<void>(std::signal(interrupted.signal, SIG_DFL));
        return std::raise(interrupted.signal);
    } catch (const tools::WriteFailed &error) {
        tools::PrintProblem(error.what());
        outcome = tools::Failed;
    } catch (const std::bad_alloc &) {
        tools::PrintProblem("there is not enough memory");
    } catch (const std::exception &error) {
        if (std::ferror(stdout) != 0) // which is why it was thrown, and is told below
            outcome = tools::Done;
        else
            tools::PrintProblem(error.what());
    }
    return tools::WithOutput(outcome);
}
