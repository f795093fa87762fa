#pragma once

#include "host/records.h"

#include <span>

namespace kvt {

// The script-visible interface. Its records are written to: before registration the flags are translated and class
// sizes rounded up; the host then fills a class's data offset. The classes' records stand in their classes' files.

extern REALclassDefinition gPictureExtension; ///< the methods added to the host's class "Picture"

std::span<REALmethodDefinition> GlobalMethods();

} // namespace kvt
