#include "conformance/rules.h"
#include "tools/builtin.h"
#include "tools/commands.h"
#include "tools/methods.h"
#include "tools/picture_files.h"

#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

/// What completes the program's words in a shell. The shell's script hands the words to the program, which answers from
/// its own declarations and the interface: commands, options and their values, files, and behind a picture the names of
/// methods and classes, with their members.
namespace tools {
namespace {

bool Holds(std::string_view text, std::string_view part) { return text.find(part) != text.npos; }

/// What stands for the value of the option of that name; empty when there is none.
std::string ValueOf(const CLI::App &command, const std::string &name) {
    const CLI::Option *option = name.starts_with('-') ? command.get_option_no_throw(name) : nullptr;
    return option ? option->get_type_name() : "";
}

/// What completes a word.
struct Completions {
    const standin::Host &host;
    std::string word;
    std::string_view paths = "none"; ///< of which kind complete it too: "none", "files", "folders"
    std::vector<std::pair<std::string, std::string>> found = {}; ///< with their meanings, empty where there is none

    void Add(std::string text, std::string meaning = {}) { // letters compare without case
        if (standin::SameName(std::string_view(text).substr(0, word.size()), word))
            found.emplace_back(std::move(text), std::move(meaning));
    }

    /// What a value or an argument may be, as its placeholder in the help says.
    void AddValues(const std::string &kind) {
        if (Holds(kind, "|"))
            for (const std::string &value : CLI::detail::split(kind, '|'))
                Add(value);
        else if (kind == "RULE")
            for (const conformance::Rule &rule : conformance::Rules())
                Add(rule.name, rule.promise);
        else if (kind == "NAME")
            AddCalls();
        else if (Holds(kind, "PICTURE") || Holds(kind, "FILE") || Holds(kind, "MODULE"))
            paths = "files";
        else if (Holds(kind, "FOLDER"))
            paths = "folders";
    }

    /// Methods and classes; of a class that is written out, its methods behind the dot and its properties in brackets.
    void AddCalls() {
        const std::size_t end = word.find_first_of("(.");
        if (end == word.npos) {
            for (const std::string_view name : InterfaceNames(host)) {
                const Json *method = FindMethod(name);
                Add(std::string(name), method ? (*method)["meaning"].get<std::string>() : "");
            }
            return;
        }
        const bool isMember = word[end] == '.' || Holds(word, ").");
        const std::string start = word.substr(0, word.find_last_of(isMember ? "." : "(, ") + 1);
        for (const auto &definition : host.Classes()) {
            if (!standin::SameName(definition->name, word.substr(0, end)))
                continue;
            for (const auto &method : definition->methods)
                if (isMember)
                    Add(start + method.declaration.name);
            for (const auto &property : definition->properties)
                if (!isMember)
                    Add(start + property.name + "=", std::string(standin::NameOf(property.type)));
        }
    }
};

/// What completes the last of the words; the first is the program's name. Each has a character before it, so that none
/// is an option of this command.
Completions Complete(const CLI::App &program, const standin::Host &host, std::vector<std::string> words) {
    for (std::string &word : words)
        word.erase(0, 1);
    std::string word = words.back();
    words.pop_back();
    if (word.starts_with('"') || word.starts_with('\''))
        word.erase(0, 1);
    if (word == "=") // bash cuts words there
        word.clear();
    else if (words.size() > 1 && words.back() == "=")
        words.pop_back();

    const CLI::App *command = &program;
    bool hasPicture = false;
    bool hasCall = false;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string &past = words[i];
        if (command == &program) {
            for (const CLI::App *one : program.get_subcommands([&](auto *named) { return named->get_name() == past; }))
                command = one;
        } else if (past.size() > 1 && past.starts_with('-')) {
            if (!ValueOf(*command, past).empty()) // its value is no picture and no call
                i += i + 1 < words.size() && words[i + 1] == "=" ? 2U : 1U;
        } else if (past == kStandardStream || IsPicturePath(past) || std::filesystem::is_regular_file(past)) {
            hasPicture = true;
        } else {
            hasCall = true;
        }
    }

    Completions completions{host, word};
    const auto arguments = command->get_options([](const CLI::Option *option) { return option->get_positional(); });
    const std::string kind = arguments.empty() ? "" : arguments[0]->get_type_name();
    if (const std::string value = words.empty() ? "" : ValueOf(*command, words.back()); !value.empty()) {
        completions.AddValues(value);
    } else if (word.starts_with('-')) {
        for (const CLI::Option *option : command->get_options())
            for (const std::string &name : CLI::detail::split(option->get_name(false, true), ','))
                completions.Add(name, OptionText(*option));
    } else if (command == &program) {
        for (const CLI::App *one : program.get_subcommands({}))
            completions.Add(one->get_name(), one->get_description());
    } else if (Holds(kind, "CALL") && (hasPicture || hasCall || !Holds(kind, "PICTURE"))) {
        completions.AddCalls();
        completions.paths = Holds(kind, "PICTURE") && !hasCall ? "files" : "none";
    } else {
        completions.AddValues(kind);
    }
    return completions;
}

} // namespace

void AddCompletionCommand(CLI::App &program, Outcome &) {
    CLI::App *command = program.add_subcommand("completion", "Print what completes kvt's words in a shell");
    struct Request {
        std::string shell;
        std::vector<std::string> words;
    };
    const auto request = std::make_shared<Request>();
    AddOption(*command, "shell", request->shell, "bash|zsh", "whose language it is")->required();
    command->add_option("words", request->words)->group(""); // the shell's script asks with these
    command->callback([&program, request] {
        const std::string &shell = request->shell;
        if (request->words.empty()) {
            fmt::print("{}", shell == "bash" ? builtin::kBash : builtin::kZsh);
            return;
        }
        const standin::Host host;
        const Completions completions = Complete(program, host, request->words);
        fmt::print("{}\n", completions.paths);
        for (const auto &[text, meaning] : completions.found)
            fmt::print(fmt::runtime(shell == "zsh" && !meaning.empty() ? "{}:{}\n" : "{}\n"), text, meaning);
    });
}

} // namespace tools
