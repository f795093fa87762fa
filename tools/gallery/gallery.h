#pragma once

#include "tools/apply.h"
#include "tools/host_options.h"

#include <optional>
#include <string>

namespace tools {

struct GalleryRequest {
    std::optional<std::string> picture; ///< none: the sample picture
    std::string folder;                 ///< made when missing
    HostOptions host;
};

/// Renders every method and class into `folder`/index.html, a page that needs nothing beside it, and writes what the
/// page's lines name into the same folder. What fails is reported, on the page and on standard error, and the others
/// go on. Throws UserError for what is wrong with the request; nothing is written then but materials.
Outcome RenderGallery(const GalleryRequest &request);

} // namespace tools
