#include "platform/CoreGraphics.h"
#include "platform/CoreServices.h"
#include "platform/QuickDraw.h"
#include "platform/controls.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace kvt;

/// Begins every test with a platform where everything works, and ends it with nothing left behind.
class Platform : public testing::Test {
  protected:
    void SetUp() override { platform::Reset(); }
    void TearDown() override {
        EXPECT_EQ(platform::FirstMisuse(), nullptr);
        const platform::LivingObjects living = platform::CountLivingObjects();
        EXPECT_EQ(living.urls, 0);
        EXPECT_EQ(living.bundles, 0);
        EXPECT_EQ(living.regions, 0);
    }
};

/// The loaded QuickDraw bundle, or null; the caller releases it.
CFBundleRef LoadBundle(const char *name = "ApplicationServices.framework") {
    FSRef folder;
    if (FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &folder) != 0)
        return nullptr;
    CFURLRef frameworks = CFURLCreateFromFSRef(nullptr, &folder);
    if (!frameworks)
        return nullptr;
    CFURLRef url = CFURLCreateCopyAppendingPathComponent(nullptr, frameworks, __CFStringMakeConstantString(name), 0);
    CFRelease(frameworks);
    if (!url)
        return nullptr;
    CFBundleRef bundle = CFBundleCreate(nullptr, url);
    CFRelease(url);
    if (bundle && !CFBundleLoadExecutable(bundle)) {
        CFRelease(bundle);
        bundle = nullptr;
    }
    return bundle;
}

template <class Function> Function *FunctionOf(CFBundleRef bundle, const char *name) {
    return reinterpret_cast<Function *>(CFBundleGetFunctionPointerForName(bundle, __CFStringMakeConstantString(name)));
}

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
    FSRef folder;
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

TEST_F(Platform, DescribesBitmapContextsUntilToldToFail) {
    unsigned char pixel[4];
    CGContext context = {pixel, 32, 5, 7, 24, 6};
    EXPECT_EQ(CGBitmapContextGetData(&context), pixel);
    EXPECT_EQ(CGBitmapContextGetBitsPerPixel(&context), 32u);
    EXPECT_EQ(CGBitmapContextGetBytesPerRow(&context), 24u);
    EXPECT_EQ(CGBitmapContextGetWidth(nullptr), 0u);
    platform::Fail("CGBitmapContextGetHeight", 1);
    EXPECT_EQ(CGBitmapContextGetHeight(&context), 0u);
    EXPECT_EQ(CGBitmapContextGetHeight(&context), 7u);
    EXPECT_EQ(platform::Calls("CGBitmapContextGetHeight"), 2);
}

/// The bundle's functions, found by name.
class QuickDraw : public Platform {
  protected:
    void SetUp() override {
        Platform::SetUp();
        bundle_ = LoadBundle();
        ASSERT_NE(bundle_, nullptr);
        setGWorld = FunctionOf<void(CGrafPtr, GDHandle)>(bundle_, "SetGWorld");
        newRgn = FunctionOf<RgnHandle()>(bundle_, "NewRgn");
        disposeRgn = FunctionOf<void(RgnHandle)>(bundle_, "DisposeRgn");
        scrollRect = FunctionOf<void(const Rect *, std::int16_t, std::int16_t, RgnHandle)>(bundle_, "ScrollRect");
        ASSERT_TRUE(setGWorld && newRgn && disposeRgn && scrollRect);
    }
    void TearDown() override {
        CFRelease(bundle_);
        Platform::TearDown();
    }

    void (*setGWorld)(CGrafPtr, GDHandle);
    RgnHandle (*newRgn)();
    void (*disposeRgn)(RgnHandle);
    void (*scrollRect)(const Rect *, std::int16_t, std::int16_t, RgnHandle);

  private:
    CFBundleRef bundle_ = nullptr;
};

TEST_F(QuickDraw, ScrollsAPartAndTellsWhatItUncovered) {
    std::vector<std::uint32_t> pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    GraphicsWorld world = {reinterpret_cast<unsigned char *>(pixels.data()), 16, {10, 20, 13, 23}, 99};
    setGWorld(&world, nullptr);
    const Rect rect = {11, 20, 99, 22}; // the world's origin lies elsewhere; a word of padding ends each row
    RgnHandle region = newRgn();
    scrollRect(&rect, 1, 0, region);
    EXPECT_EQ(pixels, (std::vector<std::uint32_t>{1, 2, 3, 4, 99, 5, 7, 8, 99, 9, 11, 12}));
    const Rect uncovered = {11, 20, 13, 21};
    EXPECT_EQ(std::memcmp(&(*region)->bounds, &uncovered, sizeof(Rect)), 0);
    disposeRgn(region);
    setGWorld(nullptr, nullptr);
}

TEST_F(QuickDraw, ReportsDeadRegions) {
    const Rect rect = {0, 0, 5, 6};
    RgnHandle region = newRgn();
    EXPECT_EQ(platform::CountLivingObjects().regions, 1);
    scrollRect(&rect, 1, 1, region); // without a world, nothing
    EXPECT_EQ((*region)->bounds.right, 0);
    disposeRgn(region);
    disposeRgn(nullptr);
    scrollRect(&rect, 1, 1, nullptr);
    EXPECT_EQ(platform::FirstMisuse(), nullptr);
    scrollRect(&rect, 1, 1, region);
    EXPECT_STREQ(platform::FirstMisuse(), "ScrollRect was given a region that is not alive");
    platform::Reset();
    disposeRgn(region);
    EXPECT_STREQ(platform::FirstMisuse(), "DisposeRgn was given a region that is not alive");
    platform::Reset();
}

} // namespace
