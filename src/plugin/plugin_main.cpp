#include "plugin/plugin_main.h"

#include "color/methods.h"
#include "host/entries.h"
#include "plugin/interface.h"
#include "tone/methods.h"

void REALPluginMain(kvt::HostResolver resolver) {
    if (!resolver)
        return;
    kvt::gResolver = resolver;
    kvt::RegisterPluginVersion(static_cast<std::int32_t>(kInterfaceVersion));
    kvt::rbversion_rbversion = kvt::REALGetRBVersion();
    kvt::PluginEntry();
}

namespace kvt {
namespace {

void FixFlags(std::uint32_t &flags) {
    constexpr std::uint32_t kModuleBits = 0x1c0000;
    constexpr std::uint32_t kSecondModuleBit = 0x80000;
    constexpr std::uint32_t kHostSecond = 8;
    if (rbversion_rbversion >= 2010.029) {
        if (flags & kConsoleSafe)
            flags |= kHostConsole;
        if (flags & kSecondModuleBit)
            flags |= kHostSecond;
    }
    flags &= ~kModuleBits;
}

template <class Record> void FixTable(Record *records, std::int32_t count) {
    for (std::int32_t index = 0; records && index < count; ++index)
        FixFlags(records[index].flags);
}

} // namespace

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

void FixConsoleFlags(REALmethodDefinition *methods, int count) { FixTable(methods, count); }

void FixConsoleFlags(REALclassDefinition *definition) {
    FixFlags(definition->flags);
    FixTable(definition->properties, definition->propertyCount);
    FixTable(definition->methods, definition->methodCount);
    FixTable(definition->moreProperties, definition->morePropertyCount);
    FixTable(definition->moreMethods, definition->moreMethodCount);
}

} // namespace kvt
