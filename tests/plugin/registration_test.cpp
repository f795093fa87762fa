#include "support/test_host.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

/// What the host is given at start-up. The declarations, word for word, and which of them are for desktop applications
/// alone are those of docs/reference.md, which a test of its own compares; here stands what it does not tell.
namespace {

using namespace standin;

constexpr struct {
    const char *name;
    std::uint32_t size32, size64;
    bool consoleSafe;
    std::size_t methods, properties;
} kClasses[] = {{"PictureSepiaKVT", 64, 80, false, 2, 12}, {"PictureLut3DKVT", 140000, 140000, true, 3, 6}};

constexpr struct {
    const char *what;
    std::optional<double> version;
    std::uint32_t consoleFlags; ///< of what is marked as safe in console applications
} kHosts[] = {
    {"a current host", 2019.03, 4},
    {"an older host", 2010.0, 0},
    {"one that tells no version", std::nullopt, 0},
};

template <class Records> void ExpectFlags(const Records &records, std::uint32_t flags) {
    for (const auto &registered : records)
        EXPECT_EQ(registered.record.flags, flags);
}

TEST(Registration, IsWhatTheHostCanRead) {
    for (const auto &row : kHosts) {
        SCOPED_TRACE(row.what);
        const TestHost host({.version = row.version});
        ExpectFlags(host.GlobalMethods(), row.consoleFlags);
        if (row.consoleFlags == 0)
            ExpectFlags(host.PictureMethods(), 0);
        EXPECT_EQ(host.PictureExtension().record.flags, 4u);
        ASSERT_EQ(host.Classes().size(), std::size(kClasses));
        for (std::size_t i = 0; i < std::size(kClasses); ++i) {
            SCOPED_TRACE(kClasses[i].name);
            const RegisteredClass &registered = *host.Classes()[i];
            EXPECT_EQ(registered.name, kClasses[i].name);
            EXPECT_EQ(registered.record.instanceSize, sizeof(void *) == 4 ? kClasses[i].size32 : kClasses[i].size64);
            EXPECT_EQ(registered.record.flags, kClasses[i].consoleSafe ? 4u : 0u);
            EXPECT_TRUE(registered.record.constructor);
            EXPECT_EQ(registered.properties.size(), kClasses[i].properties);
            EXPECT_EQ(registered.methods.size(), kClasses[i].methods);
            ExpectFlags(registered.properties, kClasses[i].consoleSafe ? row.consoleFlags : 0);
            ExpectFlags(registered.methods, kClasses[i].consoleSafe ? row.consoleFlags : 0);
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
