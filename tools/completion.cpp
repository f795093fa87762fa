#include "tools/completion.h"

#include "conformance/rules.h"
#include "tools/command_line.h"
#include "tools/list.h"
#include "tools/picture_files.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace tools {
namespace {

constexpr std::string_view kBash = R"(# Completes the words of kvt in bash.
_kvt() {
    local found word=${COMP_WORDS[COMP_CWORD]} words=("${COMP_WORDS[@]:0:COMP_CWORD+1}")
    mapfile -t found < <("${1/#\~/$HOME}" completion bash "${words[@]/#/=}" 2>/dev/null)
    COMPREPLY=("${found[@]:1}")
    case ${found[0]-} in
    files) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "${word#[\"\']}") && compopt -o filenames 2>/dev/null ;;
    folders) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "${word#[\"\']}") && compopt -o filenames 2>/dev/null ;;
    esac
    [[ ${COMPREPLY[0]-} != *[=.] ]] || compopt -o nospace 2>/dev/null
}
complete -F _kvt kvt kvt32
)";

constexpr std::string_view kZsh = R"(#compdef kvt kvt32
# Completes the words of kvt in zsh.
_kvt() {
    local -a found=("${(@f)$($words[1] completion zsh "${(@)words[1,CURRENT]/#/=}" 2>/dev/null)}")
    local paths=$found[1] result=1
    shift found
    (( ! $#found )) || _describe -V kvt found -M 'm:{[:lower:][:upper:]}={[:upper:][:lower:]}' && result=0
    case $paths in
    files) _files && result=0 ;;
    folders) _files -/ && result=0 ;;
    esac
    return result
}
if [[ $funcstack[1] == _kvt ]]; then _kvt "$@"; else compdef _kvt kvt kvt32; fi
)";

char Small(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

bool StartsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(), [](char a, char b) { return Small(a) == Small(b); });
}

bool HasPart(std::string_view text, std::initializer_list<std::string_view> parts) {
    return std::any_of(parts.begin(), parts.end(), [&](auto part) { return text.find(part) != text.npos; });
}

/// The option of that name, when it takes a value; null for others.
const CLI::Option *ValuedOption(const CLI::App &command, const std::string &name) {
    const CLI::Option *option = name.starts_with('-') ? command.get_option_no_throw(name) : nullptr;
    return option && !Placeholder(*option).empty() ? option : nullptr;
}

class Finder {
  public:
    Finder(const standin::Host &host, std::string word) : host_(host), word_(std::move(word)) {}

    void Add(std::string text, std::string meaning = {}) {
        if (StartsWith(text, word_))
            found.words.push_back({std::move(text), std::move(meaning)});
    }

    void AddOptions(const CLI::App &command) {
        for (const CLI::Option *option : command.get_options()) {
            for (const std::string &name : option->get_snames())
                Add("-" + name, OptionText(*option));
            for (const std::string &name : option->get_lnames())
                Add("--" + name, OptionText(*option));
        }
    }

    /// What a value or an argument may be, as its placeholder in the help says.
    void AddValues(const std::string &kind) {
        if (kind.find('|') != kind.npos)
            for (const std::string &value : CLI::detail::split(kind, '|'))
                Add(value);
        else if (kind == "RULE")
            for (const conformance::Rule &rule : conformance::Rules())
                Add(rule.name, rule.promise);
        else if (kind == "NAME")
            AddCalls();
        else if (HasPart(kind, {"PICTURE", "FILE", "MODULE", "OUTPUT"}))
            found.paths = "files";
        else if (HasPart(kind, {"FOLDER", "DIR"}))
            found.paths = "folders";
    }

    /// Methods and classes; of a class that is written out, its methods behind the dot and its properties in brackets.
    void AddCalls() {
        const std::size_t end = word_.find_first_of("(.");
        if (end == word_.npos) {
            for (const std::string_view name : InterfaceNames(host_)) {
                const Json *method = FindMethod(name);
                Add(std::string(name), method ? (*method)["meaning"].get<std::string>() : "");
            }
            return;
        }
        const bool isMember = word_[end] == '.' || word_.find(").") != word_.npos;
        const std::string start = word_.substr(0, word_.find_last_of(isMember ? "." : "(, ") + 1);
        for (const auto &definition : host_.Classes()) {
            if (!standin::SameName(definition->name, word_.substr(0, end)))
                continue;
            for (const auto &method : definition->methods)
                if (isMember)
                    Add(start + method.declaration.name);
            for (const auto &property : definition->properties)
                if (!isMember)
                    Add(start + property.name + "=", std::string(standin::NameOf(property.type)));
        }
    }

    Completions found;

  private:
    const standin::Host &host_;
    std::string word_;
};

} // namespace

std::string_view CompletionScript(std::string_view shell) { return shell == "bash" ? kBash : kZsh; }

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

    const auto commands =
        program.get_subcommands([](const CLI::App *command) { return !command->get_group().empty(); });
    const CLI::App *command = nullptr;
    bool hasPicture = false;
    bool hasCall = false;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string &past = words[i];
        if (!command) {
            const auto named = [&](const CLI::App *one) { return one->get_name() == past; };
            if (const auto found = std::find_if(commands.begin(), commands.end(), named); found != commands.end())
                command = *found;
        } else if (past.size() > 1 && past.starts_with('-')) {
            if (ValuedOption(*command, past)) // its value is no picture and no call
                i += i + 1 < words.size() && words[i + 1] == "=" ? 2U : 1U;
        } else if (past == kStandardStream || IsPicturePath(past) || std::filesystem::is_regular_file(past)) {
            hasPicture = true;
        } else {
            hasCall = true;
        }
    }

    Finder finder(host, word);
    std::string kind;
    if (command)
        for (const CLI::Option *option : command->get_options())
            if (kind.empty() && option->get_positional())
                kind = Placeholder(*option);
    if (const CLI::Option *option = command ? ValuedOption(*command, words.back()) : nullptr) {
        finder.AddValues(Placeholder(*option));
    } else if (word.starts_with('-')) {
        finder.AddOptions(command ? *command : program);
    } else if (!command) {
        for (const CLI::App *one : commands)
            finder.Add(one->get_name(), one->get_description());
    } else if (HasPart(kind, {"CALL"}) && (hasPicture || hasCall || !HasPart(kind, {"PICTURE"}))) {
        finder.AddCalls();
        finder.found.paths = HasPart(kind, {"PICTURE"}) && !hasCall ? "files" : "none";
    } else {
        finder.AddValues(kind);
    }
    return finder.found;
}

} // namespace tools
