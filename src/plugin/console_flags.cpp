#include "plugin/console_flags.h"

#include "host/resolver.h"

namespace kvt {
namespace {

constexpr std::uint32_t kModuleBits = 0x1c0000;
constexpr std::uint32_t kSecondModuleBit = 0x80000;
constexpr std::uint32_t kHostSecond = 8;

void FixFlags(std::uint32_t &flags) {
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

void FixConsoleFlags(REALmethodDefinition *methods, int count) { FixTable(methods, count); }

void FixConsoleFlags(REALclassDefinition *definition) {
    FixFlags(definition->flags);
    FixTable(definition->properties, definition->propertyCount);
    FixTable(definition->methods, definition->methodCount);
    FixTable(definition->moreProperties, definition->morePropertyCount);
    FixTable(definition->moreMethods, definition->moreMethodCount);
}

} // namespace kvt
