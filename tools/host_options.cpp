#include "tools/host_options.h"

#include "tools/files.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <string_view>

namespace tools {
namespace {

/// How a desktop host stores pictures, by the alpha info of their bitmaps. Pictures with an alpha channel are always
/// premultiplied.
constexpr struct {
    std::string_view name;
    std::uint32_t opaque;
    std::uint32_t withAlpha;
} kLayouts[] = {
    {"alpha-low", 6, 2},          {"alpha-high", 5, 1},     {"premultiplied-first", 2, 2},
    {"premultiplied-last", 1, 1}, {"straight-first", 4, 2}, {"straight-last", 3, 1},
};
constexpr std::string_view kRowTable = "row-table"; ///< the one layout of a console host

/// The names of what a desktop host has.
std::string Layouts(std::string_view separator) {
    std::vector<std::string_view> names;
    for (const auto &layout : kLayouts)
        names.push_back(layout.name);
    return fmt::format("{}", fmt::join(names, separator));
}

void ChooseLayout(standin::HostDescription &host, std::string_view name) {
    const bool console = host.application == standin::Application::Console;
    if (name.empty() || (console && name == kRowTable))
        return;
    for (const auto &layout : kLayouts)
        if (layout.name == name && !console) {
            host.newPictureAlphaInfo = layout.opaque;
            host.newAlphaPictureAlphaInfo = layout.withAlpha;
            return;
        }
    throw UserError(fmt::format("--layout {}: a {} host has {}", name, console ? "console" : "desktop",
                                console ? std::string(kRowTable) : Layouts(", ")));
}

} // namespace

standin::HostDescription DescribeHost(const HostOptions &options) {
    standin::HostDescription host;
    if (options.host == "console")
        host.application = standin::Application::Console;
    else if (options.host != "desktop")
        throw UserError(fmt::format("--host {}: expected desktop or console", options.host));
    ChooseLayout(host, options.layout);
    if (standin::SameName(options.version, "none"))
        host.version.reset();
    else if (const auto version = standin::ParseNumber(options.version); version && *version > 0)
        host.version = version;
    else
        throw UserError(fmt::format("--host-version {}: expected a number such as 2019.03, or none", options.version));
    host.freshWord = host.application == standin::Application::Console ? 0x00FFFFFF : 0xFFFFFFFF;
    host.watchesInputs = false;
    host.scattersRows = false; // files are decoded into them as a whole
    host.module = options.module;
    return host;
}

void AddHostOptions(CLI::App &command, HostOptions &options) {
    command.add_option("--host", options.host, "kind of host")->type_name("desktop|console")->capture_default_str();
    command
        .add_option("--layout", options.layout,
                    fmt::format("how the host stores pixels; {} on a console host", kRowTable))
        ->type_name(fmt::format("{}|{}", Layouts("|"), kRowTable));
    command.add_option("--host-version", options.version, "a number, or none for a host that does not tell")
        ->type_name("VERSION")
        ->capture_default_str();
    command.add_option("--module", options.module, "the module's file; else the one beside the program")
        ->type_name("FILE");
}

} // namespace tools
