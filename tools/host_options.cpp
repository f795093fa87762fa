#include "tools/host_options.h"

#include "tools/messages.h"

#include <fmt/format.h>

namespace tools {
namespace {

/// How a host stores pictures. A desktop host: by the alpha info of their bitmaps, of which those with an alpha channel
/// are always premultiplied.
constexpr struct {
    std::string_view name;
    std::uint32_t opaque;
    std::uint32_t withAlpha;
} kLayouts[] = {
    {"alpha-low", 6, 2},      {"alpha-high", 5, 1},    {"premultiplied-first", 2, 2}, {"premultiplied-last", 1, 1},
    {"straight-first", 4, 2}, {"straight-last", 3, 1}, {kConsoleLayout, 0, 0},
};

} // namespace

std::string LayoutNames() {
    std::string names;
    for (const auto &layout : kLayouts)
        names += fmt::format("{}{}", names.empty() ? "" : "|", layout.name);
    return names;
}

standin::HostDescription DescribeHost(const HostOptions &options) {
    const bool console = options.host == "console";
    RefuseIf(!options.layout.empty() && console != (options.layout == kConsoleLayout),
             "--layout {}: a console host has {}, a desktop host any other", options.layout, kConsoleLayout);
    standin::HostDescription host;
    host.application = console ? standin::Application::Console : standin::Application::Desktop;
    for (const auto &layout : kLayouts)
        if (!console && layout.name == options.layout) {
            host.newPictureAlphaInfo = layout.opaque;
            host.newAlphaPictureAlphaInfo = layout.withAlpha;
        }
    if (standin::SameName(options.version, "none"))
        host.version.reset();
    else if (host.version = standin::ParseNumber(options.version); !host.version || *host.version <= 0)
        Refuse("--host-version {}: expected a number such as 2019.03, or none", options.version);
    host.freshWord = console ? 0x00FFFFFF : 0xFFFFFFFF;
    host.watchesInputs = false;
    host.scattersRows = false; // files are decoded into them as a whole
    host.module = options.module;
    return host;
}

} // namespace tools
