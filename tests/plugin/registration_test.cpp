#include "support/test_host.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the host is given at start-up. The declarations, word for word, are those of docs/reference.md, which a test of
/// its own compares; here stands what it does not tell.
namespace {

using namespace standin;

struct Class {
    const char *name;
    std::uint32_t size32, size64;
    bool consoleSafe;
    std::size_t methods, properties;
};

constexpr std::string_view kNotForConsole[] = {
    "ColornessKVT",   "ScrollVerticalKVT",  "ScrollHorizontalKVT", "ScrollKVT",
    "CountColorsKVT", "TransformColorsKVT", "ReplaceColorKVT",     "ExtractColorKVT",
};
constexpr std::string_view kAssigned[] = {"EmbeddedMaskKVT", "Table"};

constexpr std::string_view kOwnAccessors[] = {"FactorRed", "FactorBlue", "FactorGreen"};
constexpr Class kClasses[] = {{"PictureSepiaKVT", 64, 80, false, 2, 12},
                              {"PictureLut3DKVT", 140000, 140000, true, 3, 6}};

constexpr struct {
    const char *what;
    std::optional<double> version;
    std::uint32_t consoleFlags; ///< of what is marked as safe in console applications
} kHosts[] = {
    {"a current host", 2019.03, 4},
    {"an older host", 2010.0, 0},
    {"one that tells no version", std::nullopt, 0},
};

template <class Names> bool IsOne(std::string_view name, const Names &names) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// `least` that scripts rely on; `flags` of those that are safe in console applications.
void ExpectMethods(const std::vector<RegisteredMethod> &methods, std::size_t least, std::uint32_t flags) {
    EXPECT_GE(methods.size(), least);
    for (const auto &[declaration, record] : methods) {
        EXPECT_EQ(record.flags, IsOne(declaration.name, kNotForConsole) ? 0 : flags) << declaration.text;
        EXPECT_TRUE(record.function) << declaration.text;
        EXPECT_EQ(record.setter != nullptr, IsOne(declaration.name, kAssigned)) << declaration.text;
    }
}

void ExpectProperties(const std::vector<RegisteredProperty> &properties, std::uint32_t flags) {
    const auto isStandard = [](REALroutine accessor) { return reinterpret_cast<std::intptr_t>(accessor) == -1; };
    for (const auto &[name, type, record] : properties) {
        EXPECT_EQ(record.flags, flags) << name;
        EXPECT_TRUE(record.getter && record.setter) << name;
        EXPECT_EQ(isStandard(record.getter), !IsOne(name, kOwnAccessors)) << name;
        EXPECT_EQ(isStandard(record.setter), !IsOne(name, kOwnAccessors)) << name;
    }
}

TEST(Registration, IsWhatTheHostCanRead) {
    for (const auto &row : kHosts) {
        SCOPED_TRACE(row.what);
        const TestHost host({.version = row.version});
        ExpectMethods(host.GlobalMethods(), 6, row.consoleFlags);
        ExpectMethods(host.PictureMethods(), 39, row.consoleFlags);
        const REALclassDefinition &extension = host.PictureExtension().record;
        EXPECT_STREQ(extension.name, "Picture");
        EXPECT_EQ(extension.flags, 4u);
        EXPECT_EQ(extension.propertyCount + extension.morePropertyCount + extension.moreMethodCount, 0);
        ASSERT_EQ(host.Classes().size(), std::size(kClasses));
        for (std::size_t i = 0; i < std::size(kClasses); ++i) {
            SCOPED_TRACE(kClasses[i].name);
            const RegisteredClass &registered = *host.Classes()[i];
            EXPECT_EQ(registered.name, kClasses[i].name);
            EXPECT_EQ(registered.record.instanceSize, sizeof(void *) == 4 ? kClasses[i].size32 : kClasses[i].size64);
            EXPECT_EQ(registered.record.flags, kClasses[i].consoleSafe ? 4u : 0u);
            EXPECT_TRUE(registered.record.constructor);
            const std::uint32_t flags = kClasses[i].consoleSafe ? row.consoleFlags : 0;
            EXPECT_EQ(registered.properties.size(), kClasses[i].properties);
            ExpectProperties(registered.properties, flags);
            ExpectMethods(registered.methods, kClasses[i].methods, flags);
            EXPECT_EQ(registered.methods[0].record.function, registered.record.destructor) << "Close is the destructor";
        }
    }
}

const struct {
    const char *what;
    Fault fault;
    const char *lost; ///< how the lines begin that are not in the log
    std::size_t count;
} kStartUps[] = {
    {"nothing is lacking", {}, "", 0},
    {"no version is announced", {"RegisterPluginVersion"}, "RegisterPluginVersion", 1},
    {"the host's version stays unknown", {"REALGetRBVersion"}, "REALGetRBVersion", 1},
    {"no class", {"PluginRegisterClass"}, "class", 2},
    {"the first class alone is lost", {"PluginRegisterClass", Fault::Late}, "class PictureSepiaKVT", 1},
    {"no extension", {"PluginRegisterClassExtension"}, "extension", 1},
    {"no global method", {"PluginRegisterMethod"}, "method", 6},
    {"the first global method alone is lost", {"PluginRegisterMethod", Fault::Late}, "method BinaryString", 1},
};

TEST(StartUp, GoesOnInOrderWithoutWhatTheHostLacks) {
    const std::vector<std::string> log = TestHost().StartUpLog();
    const std::vector<std::string> first = {"RegisterPluginVersion 9", "REALGetRBVersion", "class PictureSepiaKVT",
                                            "class PictureLut3DKVT", "extension of Picture"};
    ASSERT_EQ(log.size(), first.size() + 6);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), log.begin()));
    for (const auto &row : kStartUps) {
        SCOPED_TRACE(row.what);
        std::vector<std::string> expected = log;
        const auto isLost = [&](const std::string &line) { return row.count > 0 && line.starts_with(row.lost); };
        EXPECT_EQ(std::erase_if(expected, isLost), row.count);
        const TestHost host({.faults = {row.fault}});
        EXPECT_EQ(host.StartUpLog(), expected);
    }
}

} // namespace
