#pragma once

#include "standin/host.h"

namespace tools {

/// The host that the user wants, as options say it.
struct HostOptions {
    std::string host = "desktop";    ///< or console
    std::string layout = {};         ///< empty: the host's usual one
    std::string version = "2019.03"; ///< or none
    std::string module = {};         ///< a file; empty: the one beside the program
};

/// Throws UserError. New pictures of that host are opaque white.
standin::HostDescription DescribeHost(const HostOptions &options);

/// What a desktop host's layouts are called; a console host has one.
std::string DesktopLayouts(std::string_view separator);
constexpr const char *kConsoleLayout = "row-table";

} // namespace tools
