#include "tools/host_options.h"

#include "tools/messages.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

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

} // namespace

std::string DesktopLayouts(std::string_view separator) {
    std::string names;
    for (const auto &layout : kLayouts)
        names += fmt::format("{}{}", names.empty() ? "" : separator, layout.name);
    return names;
}

standin::HostDescription DescribeHost(const HostOptions &options) {
    const bool console = options.host == "console";
    standin::HostDescription host;
    host.application = console ? standin::Application::Console : standin::Application::Desktop;
    const auto layout = std::ranges::find_if(kLayouts, [&](const auto &known) { return known.name == options.layout; });
    if (!console && layout != std::end(kLayouts)) {
        host.newPictureAlphaInfo = layout->opaque;
        host.newAlphaPictureAlphaInfo = layout->withAlpha;
    } else if (!options.layout.empty() && !(console && options.layout == kConsoleLayout)) {
        Refuse("--layout {}: a {} host has {}", options.layout, options.host,
               console ? kConsoleLayout : DesktopLayouts(", "));
    }
    if (standin::SameName(options.version, "none"))
        host.version.reset();
    else if (const auto version = standin::ParseNumber(options.version); version && *version > 0)
        host.version = version;
    else
        Refuse("--host-version {}: expected a number such as 2019.03, or none", options.version);
    host.freshWord = console ? 0x00FFFFFF : 0xFFFFFFFF;
    host.watchesInputs = false;
    host.scattersRows = false; // files are decoded into them as a whole
    host.module = options.module;
    return host;
}

} // namespace tools
