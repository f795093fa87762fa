#include "tools/completion.h"

#include "tools/command_line.h"
#include "tools/list.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace tools {
namespace {

constexpr const char *kBash = R"(# Completes the words of kvt in bash.
_kvt() {{
    local methods="{methods}"
    local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}}
    local command="" pictures="" calls="" valued="" options="" kind="" values="" i past
    # bash cuts words at "="
    if [[ $word == = ]]; then
        word=""
    elif [[ $before == = ]]; then
        before=${{COMP_WORDS[COMP_CWORD - 2]}}
    fi
    word=${{word#[\"\']}}
    for ((i = 1; i < COMP_CWORD; i++)); do
        past=${{COMP_WORDS[i]}}
        if [[ -z $command ]]; then
            case $past in
{commands}
            esac
        elif [[ $past == -?* || " $valued " == *" ${{COMP_WORDS[i - 1]}} "* ]]; then
            continue
        elif [[ $past == - || -f $past || $past == *.@(png|jpg|jpeg|webp|tif|tiff|bmp) ]]; then
            pictures=yes
        else
            calls=yes
        fi
    done
    [[ -n $command ]] || options="{programOptions}" values="{commandNames}"
    case $command,$before in
{optionValues}
    *)
        if [[ $word == -* ]]; then
            values=$options kind=""
        elif [[ $kind == *\|* ]]; then
            values=${{kind//|/ }} kind=""
        elif [[ $kind == *CALL* && ( $kind != *PICTURE* || -n $calls ) ]]; then
            values=$methods kind=""
        elif [[ $kind == *PICTURE* && -n $pictures ]]; then
            values=$methods kind=FILE
        elif [[ $kind == NAME ]]; then
            values=$methods
        fi
        ;;
    esac
    mapfile -t COMPREPLY < <(
        compgen -W "$values" -- "$word"
        [[ ! $kind =~ (PICTURE|FILE|MODULE|OUTPUT) ]] || compgen -f -- "$word"
        [[ ! $kind =~ (FOLDER|DIR) ]] || compgen -d -- "$word"
    )
    [[ -z $kind ]] || compopt -o filenames 2>/dev/null
}}
complete -F _kvt kvt kvt32
)";

constexpr const char *kZsh = R"(#compdef kvt kvt32
# Completes the words of kvt in zsh.
_kvt_methods() {{
    local -a methods=({methods})
    compadd -X method "$@" -a methods
}}
_kvt_pictures_and_calls() {{
    (( CURRENT > 2 )) && _kvt_methods
    _files
}}
_kvt() {{
    local -a commands=(
{commands}
    )
    local state line
    _arguments -C {programOptions} \
        '1: :->command' '*:: :->words'
    case $state in
    command) _describe command commands ;;
    words)
        case $line[1] in
{cases}
        esac
        ;;
    esac
}}
if [[ $funcstack[1] == _kvt ]]; then _kvt "$@"; else compdef _kvt kvt kvt32; fi
)";

std::vector<const CLI::App *> Commands(const CLI::App &program) {
    return program.get_subcommands([](const CLI::App *command) { return !command->get_group().empty(); });
}

/// "-o --output"
std::vector<std::string> Names(const CLI::Option &option) {
    std::vector<std::string> names;
    for (const std::string &name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string &name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

/// Values that are written out: "png|jpg|bmp" becomes "png jpg bmp". Empty when there are others.
std::string Values(const CLI::Option &option) {
    std::string values = Placeholder(option);
    if (values.find('|') == values.npos)
        return {};
    std::replace(values.begin(), values.end(), '|', ' ');
    return values;
}

std::string BashOptions(const CLI::App &command, bool valuedOnly) {
    std::vector<std::string> names;
    for (const CLI::Option *option : command.get_options())
        if (!option->get_positional() && (!valuedOnly || !Placeholder(*option).empty()))
            for (const std::string &name : Names(*option))
                names.push_back(name);
    return fmt::format("{}", fmt::join(names, " "));
}

std::string BashKind(const CLI::App &command) {
    for (const CLI::Option *option : command.get_options())
        if (option->get_positional())
            return Placeholder(*option);
    return {};
}

std::string ZshText(const std::string &text) {
    std::string quoted;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':' || c == '\\')
            quoted += '\\';
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted;
}

/// What completes a value or a positional.
std::string ZshAction(const CLI::Option &option) {
    if (const std::string values = Values(option); !values.empty())
        return fmt::format("({})", values);
    const std::string kind = Placeholder(option);
    const auto has = [&](std::string_view part) { return kind.find(part) != kind.npos; };
    if (has("PICTURE") && has("CALL"))
        return "_kvt_pictures_and_calls";
    if (has("CALL") || kind == "NAME")
        return "_kvt_methods";
    if (has("FOLDER") || has("DIR"))
        return "_files -/";
    return has("PICTURE") || has("FILE") || has("MODULE") || has("OUTPUT") ? "_files" : " ";
}

std::string ZshArguments(const CLI::App &command) {
    std::string arguments;
    for (const CLI::Option *option : command.get_options()) {
        const std::string kind = Placeholder(*option);
        const std::string value = kind.empty() ? "" : fmt::format(":{}:{}", ZshText(kind), ZshAction(*option));
        const bool isRepeated = option->get_expected_max() > 1;
        if (option->get_positional())
            arguments += fmt::format(" \\\n            '{}{}'",
                                     isRepeated               ? "*"
                                     : option->get_required() ? "1"
                                                              : "1:",
                                     value);
        else
            for (const std::string &name : Names(*option))
                arguments += fmt::format(" \\\n            '{}{}[{}]{}'", isRepeated ? "*" : "", name,
                                         ZshText(OptionText(*option)), value);
    }
    return arguments;
}

} // namespace

std::string BashCompletion(const CLI::App &program, const standin::Host &host) {
    std::string commands;
    std::string optionValues;
    std::vector<std::string> names;
    for (const CLI::App *command : Commands(program)) {
        const std::string &name = command->get_name();
        names.push_back(name);
        fmt::format_to(std::back_inserter(commands),
                       "            {0}) command={0} kind='{1}' options='{2}' valued='{3}' ;;\n", name,
                       BashKind(*command), BashOptions(*command, false), BashOptions(*command, true));
        for (const CLI::Option *option : command->get_options())
            if (!option->get_positional() && !Placeholder(*option).empty()) {
                std::vector<std::string> patterns;
                for (const std::string &written : Names(*option))
                    patterns.push_back(fmt::format("{},{}", name, written));
                fmt::format_to(std::back_inserter(optionValues), "    {}) kind='{}' values='{}' ;;\n",
                               fmt::join(patterns, " | "), Values(*option).empty() ? Placeholder(*option) : "",
                               Values(*option));
            }
    }
    commands.pop_back();
    optionValues.pop_back();
    return fmt::format(kBash, fmt::arg("methods", fmt::join(InterfaceNames(host), " ")), fmt::arg("commands", commands),
                       fmt::arg("programOptions", BashOptions(program, false)),
                       fmt::arg("commandNames", fmt::join(names, " ")), fmt::arg("optionValues", optionValues));
}

std::string ZshCompletion(const CLI::App &program, const standin::Host &host) {
    std::string commands;
    std::string cases;
    for (const CLI::App *command : Commands(program)) {
        fmt::format_to(std::back_inserter(commands), "        '{}:{}'\n", command->get_name(),
                       ZshText(command->get_description()));
        fmt::format_to(std::back_inserter(cases), "        {}) _arguments -s{} ;;\n", command->get_name(),
                       ZshArguments(*command));
    }
    commands.pop_back();
    cases.pop_back();
    return fmt::format(kZsh, fmt::arg("methods", fmt::join(InterfaceNames(host), " ")), fmt::arg("commands", commands),
                       fmt::arg("programOptions", ZshArguments(program)), fmt::arg("cases", cases));
}

} // namespace tools
