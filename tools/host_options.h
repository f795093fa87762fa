#pragma once

#include "standin/host.h"

#include <string>

namespace CLI {
class App;
}

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

void AddHostOptions(CLI::App &command, HostOptions &options);

} // namespace tools
