#include "platform/QuickDraw.h"

#include "tests/platform/bundle.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using namespace kvt;

/// The bundle's functions, found by name.
class QuickDraw : public Platform {
  protected:
    void SetUp() override {
        Platform::SetUp();
        bundle_ = LoadBundle();
        ASSERT_NE(bundle_, nullptr);
        getGWorld = FunctionOf<void(CGrafPtr *, GDHandle *)>(bundle_, "GetGWorld");
        setGWorld = FunctionOf<void(CGrafPtr, GDHandle)>(bundle_, "SetGWorld");
        newRgn = FunctionOf<RgnHandle()>(bundle_, "NewRgn");
        disposeRgn = FunctionOf<void(RgnHandle)>(bundle_, "DisposeRgn");
        scrollRect = FunctionOf<void(const Rect *, std::int16_t, std::int16_t, RgnHandle)>(bundle_, "ScrollRect");
        ASSERT_TRUE(getGWorld && setGWorld && newRgn && disposeRgn && scrollRect);
    }
    void TearDown() override {
        CFRelease(bundle_);
        Platform::TearDown();
    }

    void (*getGWorld)(CGrafPtr *, GDHandle *);
    void (*setGWorld)(CGrafPtr, GDHandle);
    RgnHandle (*newRgn)();
    void (*disposeRgn)(RgnHandle);
    void (*scrollRect)(const Rect *, std::int16_t, std::int16_t, RgnHandle);

  private:
    CFBundleRef bundle_ = nullptr;
};

TEST_F(QuickDraw, KeepsWhatIsDrawnInto) {
    GraphicsWorld world = {};
    GDHandle device = reinterpret_cast<GDHandle>(&world);
    setGWorld(&world, device);
    CGrafPtr port = nullptr;
    GDHandle current = nullptr;
    getGWorld(&port, &current);
    EXPECT_EQ(port, &world);
    EXPECT_EQ(current, device);
    EXPECT_EQ(platform::CurrentDrawingPort().port, &world);
}

TEST_F(QuickDraw, CountsRegions) {
    RgnHandle first = newRgn();
    RgnHandle second = newRgn();
    EXPECT_EQ(platform::CountLivingObjects().regions, 2);
    disposeRgn(first);
    disposeRgn(nullptr);
    EXPECT_EQ(platform::CountLivingObjects().regions, 1);
    disposeRgn(second);
    EXPECT_EQ(platform::FirstMisuse(), nullptr);
    disposeRgn(second);
    EXPECT_STREQ(platform::FirstMisuse(), "DisposeRgn was given a region that is not alive");
    platform::Reset();
}

constexpr int kWidth = 6;
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
    {"up", {0, 0, 5, 6}, {0, 0, 5, 6}, 0, -1, {4, 0, 5, 6}},
    {"right", {0, 0, 5, 6}, {0, 0, 5, 6}, 3, 0, {0, 0, 5, 3}},
    {"left", {0, 0, 5, 6}, {0, 0, 5, 6}, -4, 0, {0, 2, 5, 6}},
    {"down and left at once", {0, 0, 5, 6}, {0, 0, 5, 6}, -1, 1, {0, 0, 5, 6}},
    {"nowhere", {0, 0, 5, 6}, {0, 0, 5, 6}, 0, 0, {}},
    {"down by the whole height", {0, 0, 5, 6}, {0, 0, 5, 6}, 0, 5, {0, 0, 5, 6}},
    {"farther than the width", {0, 0, 5, 6}, {0, 0, 5, 6}, INT16_MIN, 0, {0, 0, 5, 6}},
    {"farther than the height", {0, 0, 5, 6}, {0, 0, 5, 6}, 0, INT16_MAX, {0, 0, 5, 6}},
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

TEST_F(QuickDraw, ScrollsNothingWithoutAWorld) {
    const Rect rect = {0, 0, kHeight, kWidth};
    RgnHandle region = newRgn();
    scrollRect(&rect, 1, 1, region);
    EXPECT_EQ((*region)->bounds.right, 0);
    disposeRgn(region);
    scrollRect(&rect, 1, 1, nullptr);
    EXPECT_EQ(platform::FirstMisuse(), nullptr);
    scrollRect(&rect, 1, 1, region);
    EXPECT_STREQ(platform::FirstMisuse(), "ScrollRect was given a region that is not alive");
    platform::Reset();
}

} // namespace
