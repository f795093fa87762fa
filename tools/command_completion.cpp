#include "conformance/rules.h"
#include "tools/apply.h"
#include "tools/builtin.h"
#include "tools/commands.h"
#include "tools/methods.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>
#include <span>

/// What completes the program's words in a shell. The shell's script hands the words to the program, which answers from
/// its own declarations and the interface: commands, options and their values, files, and behind a picture the names of
/// methods and classes, with their members.
namespace tools {
namespace {

bool Holds(std::string_view text, std::string_view part) { return text.find(part) != text.npos; }

/// What completes a word.
struct Completions {
    std::string word;
    std::string_view paths = "none"; ///< of which kind complete it too: "none", "files", "folders"
    std::string lines = {};          ///< each with its meaning behind a colon

    void Add(const std::string &text, std::string_view meaning = {}) { // letters compare without case
        if (standin::SameName(std::string_view(text).substr(0, word.size()), word))
            lines += fmt::format("{}:{}\n", text, meaning);
    }

    /// Methods and classes; of a class that is written out, its methods behind the dot and its properties in brackets.
    void AddCalls() {
        const standin::Host host;
        const std::string start = word.substr(0, word.find_last_of("(., ") + 1);
        if (start.empty())
            for (const std::string_view name : InterfaceNames(host)) {
                const Json *method = FindMethod(name);
                Add(std::string(name), method ? (*method)["meaning"].get<std::string>() : "");
            }
        for (const auto &definition : host.Classes()) {
            if (!standin::SameName(definition->name, start.substr(0, start.find_first_of("(."))))
                continue;
            for (const auto &method : definition->methods)
                if (start.back() == '.')
                    Add(start + method.declaration.name);
            for (const auto &property : definition->properties)
                if (start.back() != '.')
                    Add(start + property.name + '=', standin::NameOf(property.type));
        }
    }

    /// What a value or an argument may be, as its placeholder in the help says.
    void AddValues(const std::string &kind) {
        if (Holds(kind, "|"))
            for (const std::string &value : CLI::detail::split(kind, '|'))
                Add(value);
        else if (kind == "RULE")
            for (const conformance::Rule &rule : conformance::Rules())
                Add(rule.name, rule.promise);
        else if (kind == "NAME" || kind == "CALL...")
            AddCalls();
        else if (Holds(kind, "PICTURE") || Holds(kind, "FILE") || Holds(kind, "MODULE"))
            paths = "files";
        else if (Holds(kind, "FOLDER"))
            paths = "folders";
    }
};

/// What completes the last of the words, of which the first is the program's name.
Completions Complete(const CLI::App &program, const std::vector<std::string> &words) {
    Completions completions{words.back()};
    const auto past = std::span(words).first(words.size() - 1);
    const auto commands =
        program.get_subcommands([&](const CLI::App *one) { return past.size() > 1 && one->get_name() == past[1]; });
    const CLI::App &command = commands.empty() ? program : *commands[0];
    const CLI::Option *option =
        past.back().starts_with('-') ? command.get_option_no_throw(past.back()) : nullptr; // whose value it may be
    const auto arguments = command.get_options([](const CLI::Option *one) { return one->get_positional(); });
    const std::string kind = arguments.empty() ? "" : arguments[0]->get_type_name();
    if (option && !option->get_type_name().empty()) {
        completions.AddValues(option->get_type_name());
    } else if (completions.word.starts_with('-')) {
        for (const CLI::Option *one : command.get_options())
            for (const std::string &name : one->get_lnames())
                completions.Add("--" + name, OptionText(*one));
    } else if (&command == &program) {
        for (const CLI::App *one : program.get_subcommands({}))
            completions.Add(one->get_name(), one->get_description());
    } else if (Holds(kind, "[CALL...]") && std::ranges::any_of(past.subspan(2), LooksLikeInput)) { // behind a picture
        completions.AddCalls();
        completions.paths = LooksLikeInput(past.back()) ? "files" : "none";
    } else {
        completions.AddValues(kind);
    }
    return completions;
}

} // namespace

void AddCompletionCommand(CLI::App &program, Outcome &) {
    CLI::App *command = program.add_subcommand("completion", "Print what completes kvt's words in a shell");
    command->prefix_command(); // the shell's script asks with the words behind it
    const auto shell = std::make_shared<std::string>();
    AddOption(*command, "shell", *shell, "bash|zsh", "whose language it is")->required();
    command->callback([&program, command, shell] {
        const std::vector<std::string> words = command->remaining();
        if (words.size() < 2) {
            fmt::print("{}", *shell == "bash" ? builtin::kBash : builtin::kZsh);
            return;
        }
        const Completions completions = Complete(program, words);
        fmt::print("{}\n{}", completions.paths, completions.lines);
    });
}

} // namespace tools
