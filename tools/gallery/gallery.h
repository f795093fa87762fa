#pragma once

#include "tools/apply.h"
#include "tools/host_options.h"

#include <optional>
#include <string>

namespace tools {

constexpr const char *kGalleryFolder = "kvt-gallery";

struct GalleryRequest {
    std::optional<std::string> picture; ///< none: the sample picture
    std::string folder;                 ///< made when missing
    HostOptions host;
};

/// Renders every method and class into index.html, a page that needs nothing beside it, and writes what the page's
/// lines name next to it: all in `folder`/kvt-gallery, where no file is replaced that was not written by an earlier
/// gallery. What fails is reported, on the page and on standard error, and the others go on. Throws UserError for what
/// is wrong with the request; nothing is written then but materials.
Outcome RenderGallery(const GalleryRequest &request);

} // namespace tools
