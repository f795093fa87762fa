#include "inside/fake_host.h"

#include "host/entries.h"
#include "plugin/console_flags.h"
#include "plugin/plugin_main.h"
#include "support/strings.h"

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
        FixConsoleFlags(methods + 1, 0);
        EXPECT_EQ(methods[1].flags, row.before);
    }
    FixConsoleFlags(static_cast<REALmethodDefinition *>(nullptr), 3);
}

TEST(ConsoleFlags, OfAClassReachAllItsTables) {
    rbversion_rbversion = 2019.0;
    REALpropertyDefinition properties[2] = {{.flags = 0x40000}, {.flags = 0x40000}};
    REALmethodDefinition methods[1] = {{.flags = 0x40000}};
    REALpropertyDefinition moreProperties[1] = {{.flags = 0x40000}};
    REALmethodDefinition moreMethods[1] = {{.flags = 0x40000}};
    REALclassDefinition definition = {.properties = properties,
                                      .propertyCount = 2,
                                      .methods = methods,
                                      .methodCount = 1,
                                      .flags = 0x40004,
                                      .moreProperties = moreProperties,
                                      .morePropertyCount = 1,
                                      .moreMethods = moreMethods,
                                      .moreMethodCount = 1};
    FixConsoleFlags(&definition);
    for (const std::uint32_t flags : {definition.flags, properties[0].flags, properties[1].flags, methods[0].flags,
                                      moreProperties[0].flags, moreMethods[0].flags})
        EXPECT_EQ(flags, 4u);
    REALclassDefinition bare = {.propertyCount = 5, .methodCount = 5, .flags = 0x40000, .moreMethodCount = 1};
    FixConsoleFlags(&bare); // counts without tables
    EXPECT_EQ(bare.flags, 4u);
}

TEST(Registration, ANullResolverOrABareHostIsNoCrash) {
    fake::InFreshProcess([] {
        REALPluginMain(nullptr);
        REALPluginMain(fake::Resolve); // a host that has no entry at all
        EXPECT_EQ(rbversion_rbversion, 0.0);
    });
}

TEST(Entries, AreAskedForAgainWhileMissing) {
    fake::InFreshProcess([] {
        EXPECT_EQ(REALNewPicture(1, 1, 32), nullptr);
        static REALpictureStruct picture;
        fake::Offer(
            "newPicture", +[](std::int32_t width, std::int32_t height, std::int32_t depth) {
                return width == 3 && height == 4 && depth == 32 ? &picture : nullptr;
            });
        EXPECT_EQ(REALNewPicture(3, 4, 32), &picture);
        fake::entries.clear();
        EXPECT_EQ(REALNewPicture(3, 4, 32), &picture) << "an address once found is kept";
    });
}

/// A host's boolean has 8 bits, and what else the register holds is anything.
TEST(Entries, YieldBooleansByTheirLowByte) {
    fake::InFreshProcess([] {
        static std::uint32_t answer;
        constexpr struct {
            const char *entry;
            bool (*call)();
        } kBooleans[] = {
            {"REALGetPropValueInt",
             [] {
                 std::int32_t value;
                 return REALGetPropValueInt32(nullptr, "", &value);
             }},
            {"REALSetPropValueInt", [] { return REALSetPropValueInt32(nullptr, "", 0); }},
            {"REALGetPropValueBool",
             [] {
                 unsigned char value;
                 return REALGetPropValueUInt8(nullptr, "", &value);
             }},
            {"REALSetPropValueUInt32", [] { return REALSetPropValueUInt32(nullptr, "", 0); }},
            {"REALSetPropValueString", [] { return REALSetPropValueString(nullptr, "", nullptr); }},
            {"REALLockPictureDescription", [] { return REALLockPictureDescription(nullptr, nullptr, 8); }},
            {"PluginGetStringData", [] { return REALGetStringData(nullptr, 0, nullptr); }},
        };
        for (const auto &row : kBooleans) {
            fake::entries[row.entry] = reinterpret_cast<void *>(+[] { return answer; });
            for (const std::uint32_t given : {0u, 0x100u, 0xFFFFFF00u, 1u, 0x80u, 0xABCDEF02u}) {
                answer = given;
                EXPECT_EQ(row.call(), (given & 0xFF) != 0) << row.entry << ' ' << given;
            }
        }
    });
}

} // namespace
