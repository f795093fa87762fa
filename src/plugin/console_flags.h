#pragma once

#include "host/records.h"

#include <cstdint>

namespace kvt {

/// Translates the module's own bits in the flags of `count` method records into what the host understands: 0x40000
/// becomes the host's 4 and 0x80000 its 8, on hosts from version 2010.029 on; older ones never see them. Nothing for a
/// null pointer or a count below 1.
void FixConsoleFlags(REALmethodDefinition *methods, int count);

/// The same for a class's own flags and for every record in its four tables.
void FixConsoleFlags(REALclassDefinition *definition);

} // namespace kvt
