#include "tools/command_line.h"

#include "tools/nearest.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <sstream>

namespace tools {
namespace {

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

std::vector<std::string> OptionNames(const CLI::App &command) {
    std::vector<std::string> names;
    for (const CLI::Option *option : command.get_options())
        for (const std::string &name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

std::string ExplainExtra(const CLI::App &program) {
    const CLI::App &command = program.remaining().empty() ? Given(program) : program;
    const std::string word = command.remaining().at(0);
    const bool isOption = word.size() > 1 && word[0] == '-';
    std::vector<std::string> known;
    if (isOption)
        known = OptionNames(command);
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

std::shared_ptr<CLI::FormatterBase> HelpFormatter() { return std::make_shared<Formatter>(); }

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

} // namespace tools
