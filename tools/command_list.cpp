#include "tools/commands.h"
#include "tools/files.h"
#include "tools/host_options.h"
#include "tools/list.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>

namespace tools {
namespace {

struct ListOptions {
    HostOptions host;
    std::string filter;
};

void RunList(const ListOptions &options) {
    const standin::Host host(DescribeHost(options.host));
    const std::string text = ListInterface(host, options.filter);
    if (text.empty())
        throw UserError(fmt::format("nothing in the interface has \"{}\" in its name", options.filter));
    fmt::print("{}", text);
}

} // namespace

void AddListCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("list", "Print the interface as the host received it");
    const auto options = std::make_shared<ListOptions>();
    command->add_option("name", options->filter, "only what has this in its name");
    AddHostOptions(*command, options->host);
    command->callback([options, &outcome] {
        RunList(*options);
        outcome = Done;
    });
}

} // namespace tools
