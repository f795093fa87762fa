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

constexpr int kHeight = 5;
constexpr int kRowWords = 8; // two words of padding
constexpr std::uint32_t kBackground = 0xBBBBBBBB;

constexpr struct {
    const char *what;
    Rect bounds;
    Rect rect;
    std::int16_t dh, dv;
    Rect uncovered;
} kScrolls[] = {
    {"down", {0, 0, 5, 6}, {0, 0, 5, 6}, 0, 2, {0, 0, 2, 6}},
    {"right", {0, 0, 5, 6}, {0, 0, 5, 6}, 3, 0, {0, 0, 5, 3}},
    {"down and left at once", {0, 0, 5, 6}, {0, 0, 5, 6}, -1, 1, {0, 0, 5, 6}},
    {"nowhere", {0, 0, 5, 6}, {0, 0, 5, 6}, 0, 0, {}},
    {"farther than the width", {0, 0, 5, 6}, {0, 0, 5, 6}, INT16_MIN, 0, {0, 0, 5, 6}},
    {"a part", {0, 0, 5, 6}, {1, 2, 4, 5}, 1, 0, {1, 2, 4, 3}},
    {"a rectangle larger than the world", {0, 0, 5, 6}, {-9, -9, 99, 99}, 0, 1, {0, 0, 1, 6}},
    {"an empty rectangle", {0, 0, 5, 6}, {3, 3, 3, 6}, 1, 1, {}},
    {"a world with its origin elsewhere", {10, 20, 15, 26}, {11, 20, 15, 25}, 0, -2, {13, 20, 15, 25}},
};

bool Contains(const Rect &rect, int x, int y) {
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}

TEST_F(QuickDraw, ScrollsThePixelsOfTheCurrentWorld) {
    for (const auto &row : kScrolls) {
        SCOPED_TRACE(row.what);
        std::vector<std::uint32_t> before(kRowWords * kHeight);
        for (std::size_t i = 0; i < before.size(); ++i)
            before[i] = static_cast<std::uint32_t>(i + 1);
        std::vector<std::uint32_t> pixels = before;
        const auto word = [&row](int x, int y) {
            return static_cast<std::size_t>((y - row.bounds.top) * kRowWords + x - row.bounds.left);
        };
        std::vector<std::uint32_t> expected = before;
        for (int y = row.bounds.top; y < row.bounds.bottom; ++y)
            for (int x = row.bounds.left; x < row.bounds.right; ++x)
                if (Contains(row.rect, x, y)) {
                    const int fromX = x - row.dh;
                    const int fromY = y - row.dv;
                    const bool moved = Contains(row.rect, fromX, fromY) && Contains(row.bounds, fromX, fromY);
                    expected[word(x, y)] = moved ? before[word(fromX, fromY)] : kBackground;
                }

        GraphicsWorld world = {reinterpret_cast<unsigned char *>(pixels.data()), kRowWords * 4, row.bounds,
                               kBackground};
        setGWorld(&world, nullptr);
        RgnHandle region = newRgn();
        scrollRect(&row.rect, row.dh, row.dv, region);
        EXPECT_EQ(pixels, expected);
        const Rect &uncovered = (*region)->bounds;
        EXPECT_EQ(std::memcmp(&uncovered, &row.uncovered, sizeof(Rect)), 0)
            << uncovered.top << ' ' << uncovered.left << ' ' << uncovered.bottom << ' ' << uncovered.right;
        disposeRgn(region);
    }
}

TEST_F(QuickDraw, ReportsDeadRegions) {
    const Rect rect = {0, 0, kHeight, 6};
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
