#pragma once

#include "host/records.h"

#include <span>

namespace kvt {

/// The script-visible interface, in the order in which the host receives it. The records are written to: before
/// registration the flags are translated and class sizes rounded up; the host then fills a class's data offset.
extern REALclassDefinition gPictureExtension;

} // namespace kvt
