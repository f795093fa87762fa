#include "plugin/plugin_main.h"

#include "host/entries.h"
#include "plugin/console_flags.h"
#include "plugin/interface.h"

void REALPluginMain(kvt::HostResolver resolver) {
    if (!resolver)
        return;
    kvt::gResolver = resolver;
    kvt::RegisterPluginVersion(static_cast<std::int32_t>(kInterfaceVersion));
    kvt::rbversion_rbversion = kvt::REALGetRBVersion();
    kvt::PluginEntry();
}

namespace kvt {

void PluginEntry() {
    const std::span<REALmethodDefinition> globalMethods = GlobalMethods();
    FixConsoleFlags(&gPictureSepiaClass);
    FixConsoleFlags(&gPictureLut3DClass);
    FixConsoleFlags(&gPictureExtension);
    FixConsoleFlags(globalMethods.data(), static_cast<int>(globalMethods.size()));
    MyREALRegisterClass(&gPictureSepiaClass);
    MyREALRegisterClass(&gPictureLut3DClass);
    MyREALRegisterClassExtension(&gPictureExtension);
    for (REALmethodDefinition &method : globalMethods)
        REALRegisterMethod(&method);
    MyPluginEnde();
}

void MyREALRegisterClass(REALclassDefinition *definition) {
    definition->instanceSize = (definition->instanceSize + 15u) & ~15u;
    REALRegisterClass(definition);
}

void MyREALRegisterClassExtension(REALclassDefinition *definition) { REALRegisterClassExtension(definition); }

void MyPluginEnde() {}

} // namespace kvt
