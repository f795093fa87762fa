#include "tools/commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>

namespace tools {

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
