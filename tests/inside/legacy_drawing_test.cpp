#include "analysis/legacy_drawing.h"

#include "analysis/methods.h"
#include "inside/fake_host.h"
#include "platform/controls.h"

#include <cstdint>
#include <vector>

namespace {

using namespace kvt;
using fake::InFreshProcess;
using fake::Offer;

void ExpectNothingLeft() {
    EXPECT_EQ(platform::CountLivingObjects().urls, 0);
    EXPECT_EQ(platform::CountLivingObjects().regions, 0);
    EXPECT_EQ(platform::FirstMisuse(), nullptr);
}

/// Calls every function once; true when a region came and went, and the drawing port could be read.
bool UseEveryFunction() {
    GraphicsWorld world = {};
    const auto before = reinterpret_cast<CGrafPtr>(&world + 1);
    CGrafPtr port = before;
    GDHandle device = nullptr;
    SetGWorld(&world, nullptr);
    GetGWorld(&port, &device);
    const Rect rect = {};
    RgnHandle region = NewRgn();
    ScrollRect(&rect, 1, 1, region);
    DisposeRgn(region);
    SetGWorld(nullptr, nullptr);
    EXPECT_TRUE(port == &world || port == before);
    EXPECT_EQ(region != nullptr, port == &world);
    ExpectNothingLeft();
    return region != nullptr;
}

TEST(LegacyDrawing, LoadsItsBundleOnceAndTriesAgainWhileItCannotBeHad) {
    for (const char *function : {"FSFindFolder", "CFURLCreateFromFSRef", "CFURLCreateCopyAppendingPathComponent",
                                 "CFBundleCreate", "CFBundleLoadExecutable"}) {
        SCOPED_TRACE(function);
        InFreshProcess([function] {
            platform::Fail(function);
            EXPECT_FALSE(UseEveryFunction());
            EXPECT_EQ(platform::Calls(function), 6) << "at every one of six calls";
            EXPECT_EQ(platform::CountLivingObjects().bundles, 0);
            platform::Fail(function, 0);
            EXPECT_TRUE(UseEveryFunction());
            EXPECT_TRUE(UseEveryFunction());
            EXPECT_EQ(platform::Calls(function), 7);
            EXPECT_EQ(platform::Calls("CFBundleGetFunctionPointerForName"), 5) << "each function once";
            EXPECT_EQ(platform::CountLivingObjects().bundles, 1) << "kept for good";
        });
    }
}

TEST(Scrolling, LimitsSizesAndRestoresTheDevice) {
    InFreshProcess([] {
        static std::vector<std::uint32_t> pixels = {1, 2, 3, 4, 5, 6};
        static GraphicsWorld world = {reinterpret_cast<unsigned char *>(pixels.data()), 12, {0, 0, 2, 3}, 99};
        Offer("lockPictureDescription", [](REALpictureStruct *, REALpictureDescription *description) {
            *description = {4, &world, 0x10000 + 1, 2, {}};
        });
        const GDHandle device = reinterpret_cast<GDHandle>(&world);
        platform::CurrentDrawingPort() = {&world, device};
        REALpictureStruct picture;
        EXPECT_EQ(ScrollVerticalKVT(&picture, 1, 0, 0), 1);
        EXPECT_EQ(pixels, (std::vector<std::uint32_t>{99, 99, 99, 1, 2, 3}));
        EXPECT_EQ(platform::CurrentDrawingPort().device, device);
    });
}

} // namespace
