#include "plugin/plugin_main.h"

#include <gtest/gtest.h>

namespace {

using namespace kvt;

constexpr struct {
    const char *what;
    double version;
    std::uint32_t before;
    std::uint32_t after;
} kFlags[] = {
    {"the first mark becomes 4", 2010.029, 0x40000, 4},
    {"the second mark becomes 8", 2019.0, 0x80000, 8},
    {"both marks", 2019.0, 0xC0000, 12},
    {"the third mark is nothing to the host", 2019.0, 0x100000, 0},
    {"the host's own bits stay on a new host", 2019.0, 0x140004, 4},
    {"the host's own bits stay on an old host", 2010.0, 0x1C0004, 4},
    {"no flags, no change", 2019.0, 0, 0},
};

TEST(ConsoleFlags, AreTranslatedByTheHostsVersion) {
    for (const auto &row : kFlags) {
        SCOPED_TRACE(row.what);
        rbversion_rbversion = row.version;
        REALmethodDefinition methods[2] = {{.flags = row.before}, {.flags = row.before}};
        FixConsoleFlags(methods, 1);
        EXPECT_EQ(methods[0].flags, row.after);
        EXPECT_EQ(methods[1].flags, row.before) << "only as many records as counted";
    }
    FixConsoleFlags(static_cast<REALmethodDefinition *>(nullptr), 3);
}

TEST(ConsoleFlags, OfAClassReachAllItsTables) {
    rbversion_rbversion = 2019.0;
    REALpropertyDefinition properties[3] = {{.flags = 0x40000}, {.flags = 0x40000}, {.flags = 0x40000}};
    REALmethodDefinition methods[2] = {{.flags = 0x40000}, {.flags = 0x40000}};
    REALclassDefinition definition = {.properties = properties, .propertyCount = 2, .methods = methods};
    definition.methodCount = definition.morePropertyCount = definition.moreMethodCount = 1;
    definition.flags = 0x40004;
    definition.moreProperties = properties + 2;
    definition.moreMethods = methods + 1;
    FixConsoleFlags(&definition);
    for (const std::uint32_t flags : {definition.flags, properties[0].flags, properties[1].flags, properties[2].flags,
                                      methods[0].flags, methods[1].flags})
        EXPECT_EQ(flags, 4u);
    REALclassDefinition bare = {.propertyCount = 5, .methodCount = 5, .flags = 0x40000, .moreMethodCount = 1};
    FixConsoleFlags(&bare); // counts without tables
    EXPECT_EQ(bare.flags, 4u);
}

} // namespace
