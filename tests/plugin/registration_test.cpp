#include "support/test_host.h"

#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// What scripts see of the module, word for word as the host is given it.
namespace {

using namespace standin;

constexpr bool kNone = false;
constexpr bool kConsole = true;

struct Method {
    const char *declaration;
    bool consoleSafe;
    bool hasSetter = false;
};

struct Property {
    const char *name;
    const char *type;
    std::uint32_t offset; ///< in a 32-bit host, of one that the host reads and writes itself
    bool isOwn = false;   ///< accessors of the module
};

struct Class {
    const char *name;
    std::uint32_t size32, size64;
    std::uint32_t flags;
    bool consoleSafe;
    std::span<const Property> properties;
    std::span<const Method> methods;
};

// clang-format off

constexpr Method kGlobalMethods[] = {
    {"BinaryStringtoPictureKVT(data as String) as Picture", kConsole},
    {"PicturetoBinaryStringKVT(p as picture) as string", kConsole},
    {"CombinePicturesKVT(red as picture, blue as picture, green as picture) as picture", kConsole},
    {"MergePictureKVT(source1 as picture, source2 as picture) as picture", kConsole},
    {"TintPictureKVT(source as picture, GreyBase as color, SepiaBase as color) as picture", kConsole},
    {"RenderSamplesKVT(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height as integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor as color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture", kConsole},
};

constexpr Method kPictureMethods[] = {
    {"ColornessKVT(threshold as integer = 10) as double", kNone},
    {"ScrollVerticalKVT(delta as integer, wrap as boolean, scrollmask as boolean) as boolean", kNone},
    {"ScrollHorizontalKVT(delta as integer, wrap as boolean, scrollmask as boolean) as boolean", kNone},
    {"ScrollKVT(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean", kNone},
    {"HasMaskKVT as boolean", kConsole},
    {"ChangeContrastBrightnessAbsoluteKVT(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsole},
    {"ChangeContrastBrightnessLinearKVT(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsole},
    {"ChangeContrastBrightnessAbsoluteKVT(Contrast as double, Brightness as double) as picture", kConsole},
    {"ChangeContrastBrightnessLinearKVT(Contrast as double, Brightness as double) as picture", kConsole},
    {"ChangeBrightnessAbsoluteKVT(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsole},
    {"ChangeBrightnessLinearKVT(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kConsole},
    {"ChangeBrightnessAbsoluteKVT(Brightness as double) as picture", kConsole},
    {"ChangeBrightnessLinearKVT(Brightness as double) as picture", kConsole},
    {"ChangeContrastKVT(Contrast as double) as picture", kConsole},
    {"ChangeContrastKVT(ContrastRed as double, ContrastGreen as double, ContrastBlue as double) as picture", kConsole},
    {"ChangeCustomKVT(a as double, b as double) as picture", kConsole},
    {"InvertKVT(left as integer,top as integer,width as integer,height as integer) as picture", kConsole},
    {"InvertKVT as picture", kConsole},
    {"InvertGrayKVT(left as integer,top as integer,width as integer,height as integer) as picture", kConsole},
    {"InvertGrayKVT as picture", kConsole},
    {"ExtractColorRectangleMaskKVT(left as integer,top as integer,width as integer,height as integer) as picture", kConsole},
    {"ExtractColorRectangleMaskKVT as picture", kConsole},
    {"EmbeddedMaskKVT(swap as boolean) as picture", kConsole, true},
    {"CountColorKVT(col as color) as integer", kConsole},
    {"CountColorsKVT(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)", kNone},
    {"TransformColorsKVT(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture", kNone},
    {"ReplaceColorKVT(SearchColor as color, ReplaceWithColor as color) as picture", kNone},
    {"ExtractColorKVT(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture", kNone},
    {"ChangeSaturationKVT(Amount as integer) as picture", kConsole},
    {"ReplaceRedChannelKVT(RedChannel as picture) as picture", kConsole},
    {"ReplaceGreenChannelKVT(GreenChannel as picture) as picture", kConsole},
    {"ReplaceBlueChannelKVT(BlueChannel as picture) as picture", kConsole},
    {"FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean", kConsole},
    {"isWhiteKVT as boolean", kConsole},
    {"isWhiteKVT(left as integer,top as integer,width as integer,height as integer) as boolean", kConsole},
    {"isBlackKVT as boolean", kConsole},
    {"isBlackKVT(left as integer,top as integer,width as integer,height as integer) as boolean", kConsole},
    {"isGrayKVT(tolerance as integer = 0) as boolean", kConsole},
    {"isGrayKVT(tolerance as integer, left as integer,top as integer,width as integer,height as integer) as boolean", kConsole},
};

constexpr Property kSepiaProperties[] = {
    {"SourcePicture", "Picture", 24},
    {"DestinationPicture", "Picture", 28},
    {"MaxX", "Integer", 40},
    {"MinX", "Integer", 32},
    {"MaxY", "Integer", 44},
    {"MinY", "Integer", 36},
    {"SepiaRed", "Integer", 48},
    {"SepiaGreen", "Integer", 52},
    {"SepiaBlue", "Integer", 56},
    {"FactorRed", "Double", 0, true},
    {"FactorBlue", "Double", 0, true},
    {"FactorGreen", "Double", 0, true},
};
constexpr Method kSepiaMethods[] = {{"Close", kNone}, {"Run as boolean", kNone}};

constexpr Property kLut3DProperties[] = {
    {"SourcePicture", "Picture", 0},
    {"DestinationPicture", "Picture", 4},
    {"MaxX", "Integer", 16},
    {"MinX", "Integer", 8},
    {"MaxY", "Integer", 20},
    {"MinY", "Integer", 12},
};
constexpr Method kLut3DMethods[] = {
    {"Close", kConsole},
    {"Run as boolean", kConsole},
    {"Table(r as UInt32, g as UInt32, b as UInt32, x as UInt32) as double", kConsole, true},
};

// clang-format on

constexpr Class kClasses[] = {
    {"PictureSepiaKVT", 64, 80, 0, kNone, kSepiaProperties, kSepiaMethods},
    {"PictureLut3DKVT", 140000, 140000, 4, kConsole, kLut3DProperties, kLut3DMethods},
};

constexpr struct {
    const char *what;
    std::optional<double> version;
    std::uint32_t consoleFlags; ///< of what is marked as safe in console applications
} kHosts[] = {
    {"a current host", 2019.03, 4},
    {"an older host", 2010.0, 0},
    {"one that tells no version", std::nullopt, 0},
};

class Registration : public testing::TestWithParam<std::size_t> {};

void Compare(const std::vector<RegisteredMethod> &methods, std::span<const Method> expected, std::uint32_t flags) {
    ASSERT_EQ(methods.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const REALmethodDefinition &record = methods[i].record;
        EXPECT_STREQ(record.declaration, expected[i].declaration);
        EXPECT_EQ(record.flags, expected[i].consoleSafe ? flags : 0) << record.declaration;
        EXPECT_TRUE(record.function) << record.declaration;
        EXPECT_EQ(record.setter != nullptr, expected[i].hasSetter) << record.declaration;
    }
}

void Compare(const std::vector<RegisteredProperty> &properties, const Class &expected, std::uint32_t flags) {
    ASSERT_EQ(properties.size(), expected.properties.size());
    const auto isStandard = [](REALroutine accessor) { return reinterpret_cast<std::intptr_t>(accessor) == -1; };
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const REALpropertyDefinition &record = properties[i].record;
        const Property &property = expected.properties[i];
        EXPECT_STREQ(record.name, property.name);
        EXPECT_STREQ(record.type, property.type) << record.name;
        EXPECT_EQ(record.flags, expected.consoleSafe ? flags : 0) << record.name;
        EXPECT_TRUE(record.getter && record.setter) << record.name;
        EXPECT_EQ(isStandard(record.getter), !property.isOwn) << record.name;
        EXPECT_EQ(isStandard(record.setter), !property.isOwn) << record.name;
        if (sizeof(void *) == 4 || property.isOwn) {
            EXPECT_EQ(record.param, property.offset) << record.name;
        }
    }
}

TEST_P(Registration, IsTheInterfaceWordForWord) {
    const auto &row = kHosts[GetParam()];
    SCOPED_TRACE(row.what);
    const TestHost host({.version = row.version});
    Compare(host.GlobalMethods(), kGlobalMethods, row.consoleFlags);
    Compare(host.PictureMethods(), kPictureMethods, row.consoleFlags);
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
        EXPECT_EQ(registered.record.flags, kClasses[i].flags);
        EXPECT_TRUE(registered.record.constructor);
        Compare(registered.properties, kClasses[i], row.consoleFlags);
        Compare(registered.methods, kClasses[i].methods, row.consoleFlags);
        EXPECT_EQ(registered.methods[0].record.function, registered.record.destructor) << "Close is the destructor";
    }
}

INSTANTIATE_TEST_SUITE_P(OnEveryHost, Registration, testing::Range(std::size_t{0}, std::size(kHosts)));

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
    std::vector<std::string> log = {"RegisterPluginVersion 9", "REALGetRBVersion", "class PictureSepiaKVT",
                                    "class PictureLut3DKVT", "extension of Picture"};
    for (const Method &method : kGlobalMethods)
        log.push_back(std::string("method ") + method.declaration);
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
