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

constexpr const char *kConsoleLayout = "row-table"; ///< the only one of a console host

/// What layouts are called, that of console hosts too: "alpha-low|alpha-high|..."
std::string LayoutNames();

} // namespace tools
