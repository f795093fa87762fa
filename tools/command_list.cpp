#include "tools/commands.h"
#include "tools/files.h"
#include "tools/host_options.h"
#include "tools/list.h"
#include "tools/nearest.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace tools {
namespace {

struct ListOptions {
    HostOptions host;
    std::string filter;
    bool json = false;
};

void RunList(const ListOptions &options) {
    const standin::Host host(DescribeHost(options.host));
    const Json interface = Interface(host, options.filter);
    const std::string text = InterfaceText(interface, options.filter);
    if (text.empty())
        throw UserError(fmt::format("nothing in the interface has \"{}\" in its name or meaning{}", options.filter,
                                    Suggestion(options.filter, InterfaceNames(host))));
    fmt::print("{}", options.json ? interface.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n' : text);
}

} // namespace

void AddListCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command =
        program.add_subcommand("list", "Print the interface as the host received it, and what it is for");
    const auto options = std::make_shared<ListOptions>();
    command
        ->add_option("name", options->filter,
                     "only what has this in its name or meaning; a whole name also tells what it does and shows calls")
        ->type_name("NAME");
    command->add_flag("--json", options->json, "print one JSON object, with parameters and their defaults");
    AddHostOptions(*command, options->host);
    command->footer(R"(Examples:
  kvt list
  kvt list negative
  kvt list InvertKVT
  kvt list --json)");
    command->callback([options, &outcome] {
        RunList(*options);
        outcome = Done;
    });
}

} // namespace tools
