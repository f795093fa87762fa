#include "tools/manual.h"

#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <map>
#include <vector>

namespace tools {
namespace {

/// Text as the page's language takes it.
std::string Roff(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && (escaped.empty() || escaped.back() == '\n'))
            escaped += "\\&";
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    return escaped;
}

/// A stretch of help: a line that ends in a colon, and the lines below it. Sentences may stand without such a title.
struct Block {
    std::string title;
    std::vector<std::string> lines;
};

std::vector<Block> Blocks(const std::string &footer) {
    std::vector<Block> blocks;
    for (const std::string &line : CLI::detail::split(footer, '\n')) {
        if (line.empty())
            continue;
        const bool isTitle = line[0] != ' ' && line.back() == ':';
        if (isTitle || blocks.empty())
            blocks.push_back({isTitle ? line.substr(0, line.size() - 1) : "", {}});
        if (!isTitle)
            blocks.back().lines.push_back(line.substr(std::min<std::size_t>(line.find_first_not_of(' '), 2)));
    }
    return blocks;
}

/// Examples and columns keep their lines, sentences are filled.
std::string Body(const Block &block) {
    std::string body;
    bool keeps = false;
    for (const std::string &line : block.lines) {
        const bool isKept = block.title == "Examples" || line.find("  ") != line.npos;
        if (isKept != keeps)
            body += isKept ? ".nf\n" : ".fi\n";
        keeps = isKept;
        body += Roff(line) + '\n';
    }
    return body + (keeps ? ".fi\n" : "");
}

std::string Options(const CLI::App &command) {
    std::string options;
    for (const CLI::Option *option : command.get_options())
        options += fmt::format(".TP\n.B {}\n{}\n", Roff(OptionHead(*option)), Roff(OptionText(*option)));
    return options;
}

std::string Capitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

} // namespace

std::string ManualPage(const CLI::App &program, std::string_view version, std::string_view date) {
    const auto commands = program.get_subcommands([](const CLI::App *) { return true; });
    std::map<std::string, int> uses;
    for (const CLI::App *command : commands)
        for (const Block &block : Blocks(command->get_footer()))
            ++uses[block.title + Body(block)];
    const auto isShared = [&](const Block &block) {
        return !block.title.empty() && block.title != "Examples" && uses[block.title + Body(block)] > 1;
    };

    std::string page = fmt::format(".TH KVT 1 {} \"{}\" \"User Commands\"\n.SH NAME\nkvt \\- "
                                   "calls the methods of the picture\\-processing module\n.SH SYNOPSIS\n.B {}\n",
                                   date, Roff(version), Roff(Usage(program)));
    page += fmt::format(".SH DESCRIPTION\n{}\n{}", Roff(program.get_description()), Options(program));
    page += ".SH COMMANDS\n";
    std::vector<Block> shared;
    for (const CLI::App *command : commands) {
        page +=
            fmt::format(".SS {}\n{}.\n{}", Roff(Usage(*command)), Roff(command->get_description()), Options(*command));
        for (const Block &block : Blocks(command->get_footer()))
            if (!isShared(block))
                page +=
                    (block.title.empty() ? "" : fmt::format(".PP\n.B {}\n", Roff(block.title))) + ".PP\n" + Body(block);
            else if (std::none_of(shared.begin(), shared.end(),
                                  [&](const Block &other) { return other.title == block.title; }))
                shared.push_back(block);
    }
    for (const Block &block : shared)
        page += fmt::format(".SH \"{}\"\n{}", Capitals(block.title), Body(block));
    for (const Block &block : Blocks(program.get_footer()))
        page += fmt::format(".SH \"{}\"\n{}", Capitals(block.title), Body(block));
    return page;
}

} // namespace tools
