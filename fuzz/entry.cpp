#include "plugin/plugin_main.h"

#include <dlfcn.h>

/// Starts the module that is linked into the program.
void REALPluginMain(kvt::HostResolver resolver) {
    reinterpret_cast<decltype(REALPluginMain) *>(dlsym(RTLD_DEFAULT, "REALPluginMain"))(resolver);
}
