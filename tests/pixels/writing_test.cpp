#include "support/test_host.h"

#include <array>
#include <numeric>

/// Which result pictures the module makes, and how it hands them over.
namespace {

using namespace standin;

const struct {
    const char *what;
    int width, height;
    bool hasAlphaChannel;
    std::optional<double> version;
    std::vector<Fault> faults;
    std::uint32_t newAlphaInfo; ///< of the pictures that the host makes
    bool made;
    int attempts; ///< how often the host was asked to make one
} kResults[] = {
    {"without alpha channel", 5, 3, false, 2019.0, {}, 6, true, 1},
    {"as wide as can be", 32767, 1, false, 2019.0, {}, 6, true, 1},
    {"one column more", 32768, 1, false, 2019.0, {}, 6, false, 0},
    {"as high as can be", 1, 32767, false, 2019.0, {}, 6, true, 1},
    {"one row more", 1, 32768, false, 2019.0, {}, 6, false, 0},
    {"no columns", 0, 3, false, 2019.0, {}, 6, false, 0},
    {"no rows", 5, 0, false, 2019.0, {}, 6, false, 0},
    {"the host fails", 5, 3, false, 2019.0, {{"newPicture", Fault::Fails, 1}}, 6, false, 1},
    {"one that cannot be opened", 5, 3, false, 2019.0, {}, 7, false, 1},
    {"one that cannot be locked", 5, 3, false, 2011.0, {{"REALLockPictureDescription", Fault::Fails, 2}}, 6, false, 1},
    {"with alpha channel", 5, 3, true, 2019.0, {}, 2, true, 1},
    {"on a host without version", 5, 3, true, {}, {}, 2, false, 0},
    {"wider than without", 32768, 1, true, 2019.0, {}, 2, true, 1},
    {"no columns for an alpha channel", 0, 3, true, 2019.0, {}, 2, false, 0},
    {"no rows for one", 5, 0, true, 2019.0, {}, 2, false, 0},
    {"a constructor that does nothing", 5, 3, true, 2019.0, {{"Picture.Constructor", Fault::Fails, 1}}, 2, false, 1},
    {"an alpha channel that cannot be opened", 5, 3, true, 2019.0, {}, 3, false, 1},
};

TEST(Results, AreMadeInTheReadersSize) {
    for (const auto &row : kResults) {
        SCOPED_TRACE(row.what);
        TestHost host({.version = row.version,
                       .newPictureAlphaInfo = row.newAlphaInfo,
                       .newAlphaPictureAlphaInfo = row.newAlphaInfo,
                       .newPicturePadding = 8,
                       .faults = row.faults,
                       .sealsPictures = true});
        const Ref source = host.Make({.width = row.width,
                                      .height = row.height,
                                      .hasAlphaChannel = row.hasAlphaChannel,
                                      .alphaInfo = 2,
                                      .color = [](int x, int) { return static_cast<ColorValue>(x) & 0xFF; }});
        const Result result = host.Call(source, "InvertKVT");
        EXPECT_FALSE(result.raised);
        EXPECT_EQ(host.CallsOf(row.hasAlphaChannel ? "PluginNewInstance" : "newPicture"), row.attempts);
        ASSERT_EQ(result.value.Is<Ref>(), row.made);
        if (!row.made)
            continue;
        const Picture &made = result.picture();
        EXPECT_EQ(made.width, row.width);
        EXPECT_EQ(made.height, row.height);
        EXPECT_EQ(made.description.hasAlphaChannel, row.hasAlphaChannel);
        EXPECT_EQ(made.ColorAt(made.width - 1, made.height - 1),
                  0xFFFFFF - (static_cast<ColorValue>(made.width - 1) & 0xFF));
        EXPECT_EQ(made.ExtraAt(0, 0), 255u);
    }
}

const struct {
    const char *what;
    std::optional<PictureDescription> target;
    std::vector<Fault> faults;
    bool isUsed; ///< and else a new picture is made
} kTargets[] = {
    {"of the same size", PictureDescription{.width = 5, .height = 3}, {}, true},
    {"of a width beyond 16 bits", PictureDescription{.width = 0x10002, .height = 3}, {}, true},
    {"nil", {}, {}, false},
    {"a column short", PictureDescription{.width = 4, .height = 9}, {}, false},
    {"a row short", PictureDescription{.width = 7, .height = 2}, {}, false},
    {"cannot be locked", PictureDescription{.width = 5, .height = 3, .lockable = false}, {}, false},
    {"cannot be opened", PictureDescription{.width = 5, .height = 3, .bitsPerPixel = 24}, {}, false},
    {"alpha of another place",
     PictureDescription{.width = 5, .height = 3, .hasAlphaChannel = true, .alphaInfo = 3},
     {},
     false},
    {"size unknown", PictureDescription{.width = 5, .height = 3}, {{"REALGetPropValueInt"}}, false},
};

TEST(Targets, AreUsedWhenTheyAreLargeEnoughAndOpen) {
    std::array<unsigned char, 256> same;
    std::iota(same.begin(), same.end(), static_cast<unsigned char>(0));
    for (const auto &row : kTargets)
        for (const std::optional<double> version : {2019.03, 2011.0}) {
            SCOPED_TRACE(row.what);
            TestHost host({.version = version, .faults = row.faults, .sealsPictures = true});
            const Ref source = host.Make({.width = 5, .height = 3, .color = [](int x, int y) {
                                              return MakeColor(static_cast<unsigned>(x), static_cast<unsigned>(y), 77);
                                          }});
            const Ref table = host.MakeBlock(256, same);
            const Ref target = row.target ? host.Make(*row.target) : Ref();
            if (row.isUsed)
                host.MayChange(target);
            const Result result = host.Call(source, "TransformColorsKVT", table, table, table, target);
            ASSERT_TRUE(result.value.Is<Ref>());
            EXPECT_EQ(result.value.AsRef() == target, row.isUsed);
            EXPECT_EQ(result.picture().width, row.isUsed ? target.picture().width : 5);
            EXPECT_EQ(result.picture().ColorAt(4, 2), MakeColor(4, 2, 77));
        }
}

} // namespace
