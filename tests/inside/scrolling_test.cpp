#include "inside/fake_host.h"

#include "analysis/legacy_drawing.h"
#include "analysis/scrolling.h"
#include "pixels/rotate.h"
#include "platform/controls.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using namespace kvt;
using fake::InFreshProcess;
using fake::Offer;

/// A picture of numbered pixels: bitmap rows with a padding of two words, or rows that a table finds in reverse order.
struct Picture {
    Picture(std::int32_t width, std::int32_t height, bool hasTable) {
        editor.rowBytes = (width + (hasTable ? 0 : 2)) * 4;
        editor.width = width;
        editor.height = height;
        words.resize(static_cast<std::size_t>(editor.rowBytes / 4 * height));
        for (std::size_t i = 0; i < words.size(); ++i)
            words[i] = static_cast<std::uint32_t>(i);
        editor.firstRow = reinterpret_cast<unsigned char *>(words.data());
        for (std::int32_t row = height - 1; hasTable && row >= 0; --row)
            table.push_back(editor.firstRow + row * editor.rowBytes);
        editor.rowTable = hasTable ? table.data() : nullptr;
    }
    /// A word of a row; from the width on, padding.
    std::uint32_t &At(std::int64_t x, std::int64_t y) {
        const auto row = static_cast<std::size_t>(editor.rowTable ? editor.height - 1 - y : y);
        return words[row * static_cast<std::size_t>(editor.rowBytes / 4) + static_cast<std::size_t>(x)];
    }

    PictureEditor editor = {};
    std::vector<std::uint32_t> words;
    std::vector<void *> table;
};

constexpr struct {
    std::int32_t width, height;
} kSizes[] = {{1, 1}, {5, 1}, {1, 2}, {5, 3}, {7, 10}, {12, 12}, {30, 24}};

constexpr std::int32_t kDeltas[] = {1, -1, 2, -2, 3, 4, 5, 6, 7, -7, 9, 10, 12, -25, 1000000007, INT32_MAX, INT32_MIN};

/// Where column or row `index` ends.
std::int64_t Shifted(std::int64_t index, std::int64_t delta, std::int64_t extent) {
    return ((index + delta) % extent + extent) % extent;
}

template <class Check> void ForEachPicture(Check check) {
    for (const bool hasTable : {false, true})
        for (const auto size : kSizes)
            for (const std::int32_t delta : kDeltas) {
                SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << " by " << delta
                                                << (hasTable ? ", row table" : ", padded rows"));
                Picture picture(size.width, size.height, hasTable);
                const std::vector<void *> table = picture.table;
                check(picture, delta);
                EXPECT_EQ(picture.table, table) << "the table is the host's";
            }
}

TEST(Rotate, MovesWholeRowsWithTheirPadding) {
    ForEachPicture([](Picture &picture, std::int32_t delta) {
        Picture expected = picture;
        for (std::int32_t y = 0; y < picture.editor.height; ++y)
            for (std::int32_t x = 0; x < picture.editor.rowBytes / 4; ++x)
                expected.At(x, Shifted(y, delta, picture.editor.height)) = picture.At(x, y);
        EXPECT_TRUE(RotateRows(picture.editor, delta));
        EXPECT_EQ(picture.words, expected.words);
    });
}

TEST(Rotate, MovesColumnsAndLeavesPadding) {
    ForEachPicture([](Picture &picture, std::int32_t delta) {
        Picture expected = picture;
        for (std::int32_t y = 0; y < picture.editor.height; ++y)
            for (std::int32_t x = 0; x < picture.editor.width; ++x)
                expected.At(Shifted(x, delta, picture.editor.width), y) = picture.At(x, y);
        EXPECT_TRUE(RotateColumns(picture.editor, delta));
        EXPECT_EQ(picture.words, expected.words);
    });
}

TEST(Rotate, DoesNothingToAPictureWithoutPixels) {
    for (const std::int32_t width : {0, 5}) {
        Picture picture(width, width == 0 ? 3 : 0, false);
        EXPECT_TRUE(RotateRows(picture.editor, 1));
        EXPECT_TRUE(RotateColumns(picture.editor, 1));
        EXPECT_EQ(picture.words, Picture(width, width == 0 ? 3 : 0, false).words);
    }
}

TEST(Rotate, RefusesRowsThatNoBufferCanHold) {
    Picture picture(5, 3, true);
    picture.editor.width = 0x20000000;
    picture.editor.rowBytes = INT32_MIN; // four times the width, in 32 bits
    EXPECT_FALSE(RotateRows(picture.editor, 1));
    EXPECT_FALSE(RotateColumns(picture.editor, 1));
    EXPECT_TRUE(RotateRows(picture.editor, -3)) << "nothing to move, no buffer needed";
    EXPECT_EQ(picture.words, Picture(5, 3, true).words);
}

TEST(LegacyDrawing, SetsARectangleByItsEdges) {
    Rect rect;
    SetRect(&rect, 1, 2, 640, 480);
    EXPECT_EQ(rect.top, 2);
    EXPECT_EQ(rect.left, 1);
    EXPECT_EQ(rect.bottom, 480);
    EXPECT_EQ(rect.right, 640);
}

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

TEST(LegacyDrawing, LoadsTheBundleOnceAndEachFunctionOnce) {
    InFreshProcess([] {
        EXPECT_TRUE(UseEveryFunction());
        EXPECT_TRUE(UseEveryFunction());
        EXPECT_EQ(platform::Calls("CFBundleLoadExecutable"), 1);
        EXPECT_EQ(platform::Calls("CFBundleGetFunctionPointerForName"), 5);
        EXPECT_EQ(platform::Calls("ScrollRect"), 2);
        EXPECT_EQ(platform::CountLivingObjects().bundles, 1) << "kept for good";
    });
}

TEST(LegacyDrawing, TriesABundleAgainThatCouldNotBeHad) {
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
            EXPECT_EQ(platform::Calls(function), 7);
        });
    }
}

TEST(LegacyDrawing, LooksAFunctionUpAgainThatWasNotFound) {
    InFreshProcess([] {
        platform::Fail("NewRgn", 2);
        EXPECT_EQ(NewRgn(), nullptr);
        EXPECT_EQ(NewRgn(), nullptr);
        RgnHandle region = NewRgn();
        EXPECT_NE(region, nullptr);
        DisposeRgn(region);
        EXPECT_EQ(platform::Calls("CFBundleCreate"), 1) << "the bundle is not loaded again";
        EXPECT_EQ(platform::Calls("CFBundleGetFunctionPointerForName"), 4);
        ExpectNothingLeft();
    });
}

// A host that keeps one picture in a graphics world of 3 x 2 pixels, and perhaps a mask for it in another form.
constexpr std::uint32_t kBackground = 99;
std::vector<std::uint32_t> gPixels;
GraphicsWorld gWorld;
REALpictureDescription gDescription;
REALpictureStruct gPicture;
REALpictureStruct gMask;
REALpictureStruct *gMaskOfPicture;

void OfferGraphicsWorld() {
    gPixels = {1, 2, 3, 4, 5, 6};
    gWorld = {reinterpret_cast<unsigned char *>(gPixels.data()), 12, {0, 0, 2, 3}, kBackground};
    gDescription = {4, &gWorld, 3, 2, {}};
    Offer(
        "lockPictureDescription", +[](REALpictureStruct *picture, REALpictureDescription *description) {
            fake::log.push_back(picture == &gMask ? "lock mask" : "lock");
            *description = gDescription;
            description->type = picture == &gMask ? 7 : gDescription.type;
        });
    Offer(
        "unlockPictureDescription",
        +[](REALpictureStruct *picture) { fake::log.push_back(picture == &gMask ? "unlock mask" : "unlock"); });
    Offer(
        "REALGetPictureMask", +[](REALpictureStruct *, signed char create) {
            EXPECT_EQ(create, 0);
            return gMaskOfPicture;
        });
    Offer(
        "REALUnlockObject", +[](REALobjectStruct *) { fake::log.push_back("release mask"); });
}

TEST(Scrolling, WithoutWrapScrollsAGraphicsWorldAndRestoresTheDrawingPort) {
    InFreshProcess([] {
        OfferGraphicsWorld();
        GraphicsWorld other = {};
        GDHandle device = reinterpret_cast<GDHandle>(&other);
        platform::CurrentDrawingPort() = {&other, device};
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 1, 0, 0), 1);
        EXPECT_EQ(gPixels, (std::vector<std::uint32_t>{99, 99, 99, 1, 2, 3}));
        EXPECT_EQ(ScrollKVT(&gPicture, -2, -1, 0, 1), 1) << "has no mask";
        EXPECT_EQ(gPixels, (std::vector<std::uint32_t>{3, 99, 99, 99, 99, 99}));
        EXPECT_EQ(ScrollHorizontalKVT(&gPicture, 0x10001, 0, 0), 1);
        EXPECT_EQ(gPixels, std::vector<std::uint32_t>(6, kBackground)) << "shifts do not wrap at 16 bits";
        EXPECT_EQ(fake::log,
                  (std::vector<std::string>{"lock", "unlock", "lock", "unlock", "lock", "unlock", "lock", "unlock"}));
        EXPECT_EQ(platform::CurrentDrawingPort().port, &other);
        EXPECT_EQ(platform::CurrentDrawingPort().device, device);
        ExpectNothingLeft();
    });
}

TEST(Scrolling, OfSizesBeyondCoordinatesIsLimitedToThem) {
    InFreshProcess([] {
        OfferGraphicsWorld();
        gDescription.width = 0x10000 + 1; // would scroll one column if it wrapped
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 1, 0, 0), 1);
        EXPECT_EQ(gPixels, (std::vector<std::uint32_t>{99, 99, 99, 1, 2, 3}));
    });
}

TEST(Scrolling, WithoutTheFrameworkLeavesThePixels) {
    InFreshProcess([] {
        OfferGraphicsWorld();
        platform::Fail("FSFindFolder");
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 1, 0, 0), 1);
        EXPECT_EQ(gPixels, (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6}));
        EXPECT_EQ(fake::log, (std::vector<std::string>{"lock", "unlock"}));
    });
}

TEST(Scrolling, OfAMaskComesFirstAndDecidesTheVerticalOne) {
    InFreshProcess([] {
        OfferGraphicsWorld();
        gMaskOfPicture = &gMask;
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 1, 0, 1), 0);
        EXPECT_EQ(fake::log, (std::vector<std::string>{"lock mask", "unlock mask", "release mask"}));
        EXPECT_EQ(gPixels, (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6}));
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 0, 0, 1), 1);
        EXPECT_EQ(ScrollHorizontalKVT(&gPicture, 1, 0, 1), 1);
        EXPECT_EQ(gPixels, (std::vector<std::uint32_t>{99, 1, 2, 99, 4, 5}));
    });
}

TEST(Scrolling, OfWhatCannotBeScrolled) {
    InFreshProcess([] {
        OfferGraphicsWorld();
        for (const signed char wrap : std::initializer_list<signed char>{0, 1}) {
            EXPECT_EQ(ScrollVerticalKVT(nullptr, 1, wrap, 1), 0);
            EXPECT_EQ(ScrollVerticalKVT(nullptr, 0, wrap, 1), 1);
            EXPECT_EQ(ScrollHorizontalKVT(nullptr, 1, wrap, 1), 1);
            EXPECT_EQ(ScrollKVT(nullptr, 1, 0, wrap, 1), 1);
        }
        EXPECT_EQ(fake::log, std::vector<std::string>{}) << "the host is not asked about nil";
        gDescription.type = 8;
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 5, 0, 0), 0);
        EXPECT_EQ(ScrollHorizontalKVT(&gPicture, 5, 0, 0), 1);
        EXPECT_EQ(fake::log, (std::vector<std::string>{"lock", "unlock", "lock", "unlock"}));
    });
    InFreshProcess([] {
        OfferGraphicsWorld();
        fake::entries.erase("lockPictureDescription");
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 5, 0, 0), 0);
        EXPECT_EQ(ScrollVerticalKVT(&gPicture, 5, 1, 0), 0) << "cannot be opened";
        EXPECT_EQ(ScrollHorizontalKVT(&gPicture, 5, 1, 0), 1);
    });
}

} // namespace
