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

constexpr const char *kExamples = R"(Examples:
  kvt sample photo.png
  kvt list Invert
  kvt apply photo.png 'InvertKVT(10, 10, 200, 100)' 'ChangeContrastKVT(1.2)' -o out.png
  kvt apply *.jpg 'ChangeSaturationKVT(60)' -o out/
  kvt help apply)";

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
    program.footer(kExamples);
    Outcome outcome = Wrong;
    for (const auto add : kCommands)
        add(program, outcome);
    for (CLI::App *command : program.get_subcommands({}))
        command->group("Commands");
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
