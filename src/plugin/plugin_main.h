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

/// Translates the module's own bits in the flags of `count` method records into what the host understands: 0x40000
/// becomes the host's 4 and 0x80000 its 8, on hosts from version 2010.029 on; older ones never see them. Nothing for a
/// null pointer or a count below 1.
void FixConsoleFlags(REALmethodDefinition *methods, int count);

/// The same for a class's own flags and for every record in its four tables.
void FixConsoleFlags(REALclassDefinition *definition);

} // namespace kvt
