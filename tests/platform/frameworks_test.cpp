#include "platform/CoreGraphics.h"
#include "tests/platform/bundle.h"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

using namespace kvt;

TEST_F(Platform, FindsTheBundleBesideItsLibraryAndLoadsIt) {
    CFBundleRef bundle = LoadBundle();
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(platform::CountLivingObjects().bundles, 1);
    EXPECT_EQ(platform::Calls("CFBundleLoadExecutable"), 1);
    for (const char *name : {"GetGWorld", "SetGWorld", "NewRgn", "DisposeRgn", "ScrollRect"})
        EXPECT_NE(FunctionOf<void()>(bundle, name), nullptr) << name;
    EXPECT_EQ(FunctionOf<void()>(bundle, "OpenRgn"), nullptr);
    CFRelease(bundle);
    EXPECT_EQ(LoadBundle("Missing.framework"), nullptr);
}

TEST_F(Platform, FailsStepByStepAsOftenAsItIsTold) {
    for (const char *function : {"FSFindFolder", "CFURLCreateFromFSRef", "CFURLCreateCopyAppendingPathComponent",
                                 "CFBundleCreate", "CFBundleLoadExecutable"}) {
        SCOPED_TRACE(function);
        platform::Reset();
        platform::Fail(function, 2);
        EXPECT_EQ(LoadBundle(), nullptr);
        EXPECT_EQ(LoadBundle(), nullptr);
        CFBundleRef bundle = LoadBundle();
        ASSERT_NE(bundle, nullptr);
        EXPECT_EQ(platform::Calls(function), 3);
        CFRelease(bundle);
        platform::Fail(function);
        for (int attempt = 0; attempt < 5; ++attempt)
            EXPECT_EQ(LoadBundle(), nullptr);
    }
}

TEST_F(Platform, HidesAFunctionOfTheBundle) {
    CFBundleRef bundle = LoadBundle();
    ASSERT_NE(bundle, nullptr);
    auto *getGWorld = FunctionOf<void(CGrafPtr *, GDHandle *)>(bundle, "GetGWorld");
    platform::Fail("GetGWorld", 1);
    CGrafPtr port = nullptr;
    GDHandle device = nullptr;
    getGWorld(&port, &device); // found before
    EXPECT_EQ(FunctionOf<void()>(bundle, "GetGWorld"), nullptr);
    EXPECT_NE(FunctionOf<void()>(bundle, "GetGWorld"), nullptr);
    EXPECT_EQ(platform::Calls("GetGWorld"), 1);
    platform::Fail("CFBundleGetFunctionPointerForName");
    EXPECT_EQ(FunctionOf<void()>(bundle, "ScrollRect"), nullptr);
    CFRelease(bundle);
}

TEST_F(Platform, KnowsOneDomainAndOneFolder) {
    FSRef folder;
    EXPECT_EQ(FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &folder), 0);
    EXPECT_NE(FSFindFolder(0, kFrameworksFolderType, 1, &folder), 0);
    EXPECT_NE(FSFindFolder(kOnAppropriateDisk, 0x70726566 /* 'pref' */, 1, &folder), 0);
}

TEST_F(Platform, LooksInTheFolderThatATestNames) {
    std::string folder = testing::TempDir() + "kvt-frameworks-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    platform::SetFrameworksFolder((folder + "/missing").c_str());
    FSRef found;
    EXPECT_EQ(FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &found), -43);

    platform::SetFrameworksFolder(folder.c_str());
    EXPECT_EQ(LoadBundle(), nullptr) << "no bundle in it";
    EXPECT_EQ(platform::Calls("CFBundleCreate"), 1);
    std::filesystem::create_directory(folder + "/ApplicationServices.framework");
    EXPECT_EQ(LoadBundle(), nullptr) << "a bundle without code";
    EXPECT_EQ(platform::Calls("CFBundleLoadExecutable"), 1);
    std::filesystem::remove_all(folder);
}

TEST_F(Platform, KeepsOneConstantStringATextForever) {
    CFStringRef first = __CFStringMakeConstantString("a text of this test");
    const int strings = platform::CountLivingObjects().constantStrings;
    CFRelease(first);
    EXPECT_EQ(__CFStringMakeConstantString("a text of this test"), first);
    EXPECT_EQ(platform::CountLivingObjects().constantStrings, strings);
}

TEST_F(Platform, ReportsTheFirstMisuse) {
    FSRef folder;
    ASSERT_EQ(FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &folder), 0);
    CFURLRef url = CFURLCreateFromFSRef(nullptr, &folder);
    EXPECT_EQ(platform::CountLivingObjects().urls, 1);
    CFRelease(url);
    EXPECT_EQ(platform::FirstMisuse(), nullptr);
    EXPECT_EQ(CFBundleCreate(nullptr, url), nullptr);
    CFRelease(url);
    EXPECT_STREQ(platform::FirstMisuse(), "CFBundleCreate was given an object that is not alive");
    platform::Reset();
    CFRelease(nullptr);
    EXPECT_STREQ(platform::FirstMisuse(), "CFRelease was given an object that is not alive");
    platform::Reset();
    folder = {};
    EXPECT_EQ(CFURLCreateFromFSRef(nullptr, &folder), nullptr);
    EXPECT_NE(platform::FirstMisuse(), nullptr) << "a folder that was never found";
    platform::Reset();
}

TEST_F(Platform, HasNoOtherFunctions) {
    EXPECT_DEATH(platform::Fail("CFRetain"), "the platform has no function CFRetain");
    for (const char *name : platform::FunctionNames())
        EXPECT_EQ(platform::Calls(name), 0) << name;
}

TEST_F(Platform, DescribesBitmapContexts) {
    unsigned char pixel[4];
    CGContext context = {pixel, 32, 5, 7, 24, 6};
    EXPECT_EQ(CGBitmapContextGetData(&context), pixel);
    EXPECT_EQ(CGBitmapContextGetData(nullptr), nullptr);
    platform::Fail("CGBitmapContextGetData");
    EXPECT_EQ(CGBitmapContextGetData(&context), nullptr);
    EXPECT_EQ(CGBitmapContextGetAlphaInfo(&context), 6u);

    const struct {
        const char *name;
        std::size_t (*function)(CGContextRef);
        std::size_t value;
    } sizes[] = {
        {"CGBitmapContextGetBitsPerPixel", CGBitmapContextGetBitsPerPixel, 32},
        {"CGBitmapContextGetWidth", CGBitmapContextGetWidth, 5},
        {"CGBitmapContextGetHeight", CGBitmapContextGetHeight, 7},
        {"CGBitmapContextGetBytesPerRow", CGBitmapContextGetBytesPerRow, 24},
    };
    for (const auto &row : sizes) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.function(&context), row.value);
        EXPECT_EQ(row.function(nullptr), 0u);
        platform::Fail(row.name, 1);
        EXPECT_EQ(row.function(&context), 0u);
        EXPECT_EQ(platform::Calls(row.name), 3);
    }
}

} // namespace
