#pragma once

#include "host/records.h"
#include "host/resolver.h"

/// The module's one exported function. The host calls it once, before anything else, with its resolver: the module
/// announces its interface version, learns the host's version and registers its script-visible interface. A null
/// resolver is ignored.
extern "C" [[gnu::visibility("default")]] void REALPluginMain(kvt::HostResolver resolver);

namespace kvt {

/// Registers the whole interface: the classes, the extension of "Picture", the global methods.
void PluginEntry();

/// Registers a class, its instance size rounded up to a multiple of 16 in the record.
void MyREALRegisterClass(REALclassDefinition *definition);
void MyREALRegisterClassExtension(REALclassDefinition *definition);

/// The closing hook of the registration; nothing is left to do.
void MyPluginEnde();

} // namespace kvt
