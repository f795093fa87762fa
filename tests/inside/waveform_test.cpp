#include "inside/fake_host.h"

#include "expected/waveform.h"
#include "output/waveform.h"
#include "output/wu_line.h"
#include "pixels/instruction_set.h"
#include "platform/CoreGraphics.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

namespace {

using namespace kvt;
using fake::InFreshProcess;
using fake::Offer;

/// A picture in one of the three layouts, format 1, 2 or 8. Rows lie two words apart from each other, console ones from
/// the bottom up, and whatever nobody wrote holds the mark.
struct Picture : REALpictureStruct {
    static constexpr std::uint32_t kMark = 0x5A5A5A5A;

    Picture(int format_, int width_, int height_) : format(format_), width(width_), height(height_) {
        words.assign(Stride() * static_cast<std::size_t>(height), kMark);
        for (int y = 0; y < height; ++y)
            rows.push_back(words.data() + Stride() * static_cast<std::size_t>(format == 8 ? height - 1 - y : y));
        context = {words.data(),
                   32,
                   static_cast<std::size_t>(width),
                   static_cast<std::size_t>(height),
                   Stride() * 4,
                   static_cast<std::uint32_t>(format)};
        record.width = static_cast<std::uint32_t>(width);
        record.height = static_cast<std::uint32_t>(height);
        record.trueColor = 1;
        record.rows = rows.data();
    }
    std::size_t Stride() const { return static_cast<std::size_t>(width) + 2; }
    std::uint32_t &At(int x, int y) { return static_cast<std::uint32_t *>(rows[static_cast<std::size_t>(y)])[x]; }
    std::uint32_t Word(expected::Rgb pixel) const {
        const auto red = static_cast<std::uint32_t>(pixel.red);
        const auto green = static_cast<std::uint32_t>(pixel.green);
        const auto blue = static_cast<std::uint32_t>(pixel.blue);
        return format == 1   ? 0xFF000000u | blue << 16 | green << 8 | red
               : format == 2 ? blue << 24 | green << 16 | red << 8 | 0xFFu
                             : red << 16 | green << 8 | blue;
    }
    PictureEditor Editor() {
        return {static_cast<std::int32_t>(Stride() * 4), width, height, format, static_cast<unsigned char *>(rows[0]),
                format == 8 ? rows.data() : nullptr,     this,  0,      1};
    }
    void Fill(expected::Rgb color) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                At(x, y) = Word(color);
    }

    int format;
    int width;
    int height;
    std::vector<std::uint32_t> words;
    std::vector<void *> rows;
    CGContext context = {};
    REALconsolePicture record = {};
    int references = 1;
    int locks = 0;
};

/// Compares every pixel word, and what lies between the rows. Tells the first difference.
testing::AssertionResult Shows(Picture &picture, const expected::Picture &wanted) {
    if (picture.width != wanted.width || picture.height != wanted.height)
        return testing::AssertionFailure()
               << picture.width << " x " << picture.height << ", not " << wanted.width << " x " << wanted.height;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x)
            if (picture.At(x, y) != picture.Word(wanted.At(x, y)))
                return testing::AssertionFailure()
                       << "(" << x << ", " << y << ") holds " << std::hex << picture.At(x, y) << ", not "
                       << picture.Word(wanted.At(x, y)) << " in format " << picture.format;
        if (picture.At(picture.width, y) != Picture::kMark || picture.At(picture.width + 1, y) != Picture::kMark)
            return testing::AssertionFailure() << "written behind row " << y;
    }
    return testing::AssertionSuccess();
}

expected::Picture Plain(int width, int height, expected::Rgb color) {
    return {width, height, std::vector(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), color)};
}

void SetOutlineColor(expected::Rgb color) {
    gOutLineColorR = color.red;
    gOutLineColorG = color.green;
    gOutLineColorB = color.blue;
}

constexpr expected::Rgb kInk{250, 3, 120};
constexpr expected::Rgb kPaper{17, 200, 99};

TEST(DrawPixel, WeighsTheOldColorByTheIntensity) {
    constexpr struct {
        int old, outline, intensity, blended;
    } kBlends[] = {
        {0, 255, 0, 255},   {0, 255, 255, 0}, {0, 255, 128, 127},
        {255, 0, 128, 128}, {10, 20, 1, 19},  {200, 200, 77, 200},
    };
    for (const int format : {1, 2, 8}) {
        for (const auto &row : kBlends) {
            Picture picture(format, 2, 2);
            SetOutlineColor({row.outline, 255 - row.outline, 7});
            picture.Fill({row.old, 255 - row.old, 7});
            picture.At(1, 1) ^= format == 2 ? 0xFFu : 0xFF000000u; // transparent until it is drawn
            expected::Picture wanted = Plain(2, 2, {row.old, 255 - row.old, 7});
            wanted.At(1, 1) = {
                row.blended, ((255 - row.old) * row.intensity + (255 - row.outline) * (255 - row.intensity)) / 255, 7};
            DrawPixel(picture.Editor(), 1, 1, row.intensity);
            for (const int outside : {-1, 2, 32767, -32768}) {
                DrawPixel(picture.Editor(), outside, 0, 0);
                DrawPixel(picture.Editor(), 0, outside, 0);
            }
            EXPECT_TRUE(Shows(picture, wanted)) << row.old << " " << row.outline << " " << row.intensity;
        }
    }
}

/// Channels are blended two at once; none may leak into another.
TEST(DrawPixel, BlendsEveryLevelWithEveryIntensity) {
    const auto blended = [](int old, int outline, int intensity) {
        return (old * intensity + outline * (255 - intensity)) / 255;
    };
    for (const expected::Rgb ink : {expected::Rgb{0, 255, 0}, {255, 0, 255}, {128, 127, 1}, {254, 255, 253}}) {
        SetOutlineColor(ink);
        for (const int format : {1, 2, 8}) {
            Picture picture(format, 1, 1);
            for (int old = 0; old < 256; ++old)
                for (int intensity = 0; intensity < 256; ++intensity) {
                    const expected::Rgb before = {old, 255 - old, old ^ 85};
                    picture.Fill(before);
                    DrawPixel(picture.Editor(), 0, 0, intensity);
                    ASSERT_EQ(picture.At(0, 0), picture.Word({blended(before.red, ink.red, intensity),
                                                              blended(before.green, ink.green, intensity),
                                                              blended(before.blue, ink.blue, intensity)}))
                        << "format " << format << ", " << old << " at " << intensity;
                }
        }
    }
}

/// The worked line: each inner column holds a pair whose intensities add up to 255.
TEST(WuLine, PaintsPairsBetweenItsEnds) {
    Picture picture(8, 11, 5);
    SetOutlineColor({255, 255, 255});
    picture.Fill({0, 0, 0});
    DrawWuLine(picture.Editor(), 0, 0, 10, 3);
    // 3 * 65536 / 10 = 19660 a step; white over black shows 255 less the intensity.
    constexpr int kIntensities[] = {76, 153, 230, 51, 127, 204, 25, 102, 179};
    constexpr int kRows[] = {0, 0, 0, 1, 1, 1, 2, 2, 2};
    expected::Picture wanted = Plain(11, 5, {0, 0, 0});
    wanted.At(0, 0) = wanted.At(10, 3) = {255, 255, 255};
    for (int x = 1; x < 10; ++x) {
        const int level = kIntensities[x - 1];
        wanted.At(x, kRows[x - 1]) = {255 - level, 255 - level, 255 - level};
        wanted.At(x, kRows[x - 1] + 1) = {level, level, level};
    }
    EXPECT_TRUE(Shows(picture, wanted));
}

TEST(WuLine, OfAnyEndsIsTheOneDrawnStepByStep) {
    struct Line {
        int x0, y0, x1, y1;
    };
    std::vector<Line> lines = {
        {5, 3, 5, 3},
        {2, 2, 20, 2},
        {20, 2, 2, 2},
        {4, 9, 4, 1},
        {1, 1, 9, 9},
        {9, 1, 1, 9},
        {-9, -4, 40, 30},
        {3, -32768, 4, 32767},
        {4, 32767, 3, -32768},
        {-32768, 0, 32767, 9},
        {32767, 5, -32768, 4},
        {-32768, -32768, 32767, 32767},
        {-32768, 32767, 32767, -32768},
        {-32768, 6, 32767, 6},
        {7, -32768, 7, 32767},
        {-32768, -32767, 32767, 32767},
        {30, -5, 30, 20},
        {-1, 0, -1, 9},
        {40, 5, -20, 8},
        {0, 30, 22, -20},
        {5, -32768, -32768, -3},
    };
    std::mt19937 random(7);
    for (const int reach : {20, 60, 400}) {
        const auto any = [&] { return static_cast<int>(random() % static_cast<unsigned>(2 * reach)) - reach / 2; };
        for (int i = 0; i < 300; ++i)
            lines.push_back({any(), any(), any(), any()});
    }
    SetOutlineColor(kInk);
    for (const int format : {1, 2, 8}) {
        for (const auto &[x0, y0, x1, y1] : lines) {
            Picture picture(format, 23, 14);
            picture.Fill(kPaper);
            expected::Picture wanted = Plain(23, 14, kPaper);
            expected::DrawWuLine(wanted, kInk, x0, y0, x1, y1);
            DrawWuLine(picture.Editor(), static_cast<std::int16_t>(x0), static_cast<std::int16_t>(y0),
                       static_cast<std::int16_t>(x1), static_cast<std::int16_t>(y1));
            ASSERT_TRUE(Shows(picture, wanted)) << "(" << x0 << ", " << y0 << ") to (" << x1 << ", " << y1 << ")";
        }
    }
}

/// A memory block; its bytes begin at an odd address.
struct Block : REALmemoryBlockStruct {
    explicit Block(const std::vector<unsigned char> &content)
        : bytes(new unsigned char[content.size() + 1]), size(static_cast<std::int32_t>(content.size())) {
        std::copy(content.begin(), content.end(), bytes.get() + 1);
    }
    std::unique_ptr<unsigned char[]> bytes; // of exactly this size, for the sanitizer to watch
    std::int32_t size;
};

int gFormat;
std::vector<std::unique_ptr<Picture>> gMade;
REALgraphicsStruct gSurface;
int gSurfaceReferences;
bool gHasSurface;
std::vector<expected::Segment> gDrawn;

void OfferHost() {
    Offer(
        "memoryBlockGetPtr",
        +[](REALmemoryBlockStruct *block) -> void * { return static_cast<Block *>(block)->bytes.get() + 1; });
    Offer(
        "memoryBlockGetSize", +[](REALmemoryBlockStruct *block) { return static_cast<Block *>(block)->size; });
    Offer(
        "newPicture", +[](std::int32_t width, std::int32_t height, std::int32_t) -> REALpictureStruct * {
            gMade.push_back(std::make_unique<Picture>(gFormat, width, height));
            return gMade.back().get();
        });
    Offer(
        "REALLockPictureDescription",
        +[](REALpictureStruct *handle, REALpictureDescription *description, std::int32_t type) {
            auto *picture = static_cast<Picture *>(handle);
            if ((type == 10) != (picture->format == 8))
                return 0u;
            ++picture->locks;
            void *data = picture->format == 8 ? static_cast<void *>(&picture->record) : &picture->context;
            *description = {static_cast<std::uint32_t>(type), data, picture->width, picture->height, {}};
            return 1u;
        });
    Offer(
        "unlockPictureDescription", +[](REALpictureStruct *picture) { --static_cast<Picture *>(picture)->locks; });
    Offer(
        "REALLockObject", +[](REALobjectStruct *object) { ++static_cast<Picture *>(object)->references; });
    Offer(
        "REALUnlockObject", +[](REALobjectStruct *object) {
            --(object == &gSurface ? gSurfaceReferences : static_cast<Picture *>(object)->references);
        });
    Offer(
        "pluginPictureGraphicsGetter", +[](REALpictureStruct *picture) -> REALgraphicsStruct * {
            EXPECT_EQ(static_cast<Picture *>(picture)->locks, 0)
                << "the picture is finished before the host draws on it";
            gSurfaceReferences += gHasSurface;
            return gHasSurface ? &gSurface : nullptr;
        });
    Offer(
        "REALSetPropValueUInt32", +[](REALobjectStruct *, const char *property, std::uint32_t value) {
            fake::log.push_back(std::string(property) + " = " + std::to_string(value));
            return 0u; // refused, which stops nothing
        });
    Offer(
        "REALSetPropValueInt", +[](REALobjectStruct *, const char *property, std::int32_t value) {
            fake::log.push_back(std::string(property) + " = " + std::to_string(value));
            return 1u;
        });
    Offer(
        "RuntimeGraphicsDrawLine",
        +[](REALgraphicsStruct *, std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2) {
            gDrawn.push_back({x1, y1, x2, y2});
        });
    rbversion_rbversion = 2019.0;
    gHasSurface = true;
}

Picture *Render(const std::vector<unsigned char> &content, const expected::WaveformArguments &with) {
    Block block(content);
    return static_cast<Picture *>(RenderSamples(&block, with.sampleCount, with.smooth, with.width, with.height,
                                                with.outlineWidth, with.backColor, with.foreColor, with.outlineColor,
                                                with.bits, with.autoScale));
}

/// Runs `body` on a desktop of either channel order and on the console, at every level that the processor offers.
void OnEveryHost(const std::function<void()> &body) {
    for (const int format : {1, 2, 8}) {
        for (const int level : {0, 1, 2}) {
            SCOPED_TRACE("format " + std::to_string(format) + ", level " + std::to_string(level));
            InFreshProcess([&] {
                gForcedLevel = level;
                if (ActiveInstructionSet() != static_cast<InstructionSet>(level))
                    return;
                gFormat = format;
                OfferHost();
                body();
                for (const auto &picture : gMade) {
                    EXPECT_EQ(picture->references, 1);
                    EXPECT_EQ(picture->locks, 0);
                }
                EXPECT_EQ(gSurfaceReferences, 0);
            });
        }
    }
}

/// Loud and quiet stretches, full scale and silence.
std::vector<unsigned char> Sound(std::size_t bytes, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<unsigned char> sound(bytes);
    for (std::size_t i = 0; i < bytes; ++i)
        sound[i] = static_cast<unsigned char>(i / 64 % 3 == 0 ? random() : i / 64 % 3 == 1 ? 128 : 255);
    return sound;
}

const struct {
    const char *what;
    std::size_t bytes;
    expected::WaveformArguments with;
} kWaveforms[] = {
    {"one column a sample", 90, {.height = 40}},
    {"several samples a column", 2000, {.width = 77, .height = 51}},
    {"ranges of uneven length", 1000, {.width = 333, .height = 20}},
    {"more columns than samples", 50, {.width = 171, .height = 33}},
    {"more columns than samples, thrice over", 1, {.width = 3, .height = 9}},
    {"a part of the block", 900, {.sampleCount = 311, .width = 100, .height = 31}},
    {"a part of the block, one column a sample", 900, {.sampleCount = 60, .height = 31}},
    {"more samples than the block holds", 100, {.sampleCount = 2147483647, .height = 31}},
    {"a last half sample is left out", 101, {.height = 31, .bits = 16}},
    {"no samples", 0, {.width = 12, .height = 7}},
    {"no samples, to the loudest", 0, {.width = 12, .height = 7, .autoScale = true}},
    {"smoothed", 2000, {.smooth = 9, .width = 120, .height = 64}},
    {"smoothed by the largest number", 2000, {.smooth = 2147483647, .width = 120, .height = 64}},
    {"overshooting", 2000, {.smooth = 0, .width = 300, .height = 64}},
    {"no smoothing by -1", 2000, {.smooth = -1, .width = 120, .height = 64}},
    {"no smoothing by the smallest number", 2000, {.smooth = -2147483647 - 1, .width = 120, .height = 64}},
    {"a column of more samples than fit one sum of 32 bits", 300000, {.width = 2, .height = 999}},
    {"one row", 400, {.width = 40, .height = 1}},
    {"two rows", 400, {.width = 40, .height = 2}},
    {"one column", 400, {.width = 1, .height = 60}},
    {"rows beyond 16 bits", 90, {.width = 4, .height = 32767}},
    {"the widest picture", 70000, {.width = 32767, .height = 3}},
    {"colors with a top byte",
     200,
     {.width = 20, .height = 20, .backColor = 0xFF010203, .foreColor = 0xAA0A0B0C, .outlineColor = 0x77F0E0D0}},
};

TEST(Waveform, IsTheOneComputedStepByStep) {
    OnEveryHost([] {
        for (const auto &row : kWaveforms) {
            for (const int bits : {7, 8, 15, 16}) {
                for (const int outlineWidth : {0, 1, 2, 7}) {
                    for (const bool autoScale : {false, true}) {
                        SCOPED_TRACE(std::string(row.what) + ", bits " + std::to_string(bits) + ", outline " +
                                     std::to_string(outlineWidth) + (autoScale ? ", auto" : ""));
                        expected::WaveformArguments with = row.with;
                        with.bits = bits;
                        with.outlineWidth = outlineWidth;
                        with.autoScale = autoScale;
                        const auto sound = Sound(row.bytes, static_cast<unsigned>(bits));
                        const expected::Waveform wanted = expected::RenderSamples(sound, with);
                        gDrawn.clear();
                        Picture *picture = Render(sound, with);
                        ASSERT_EQ(picture != nullptr, wanted.made);
                        if (!picture)
                            continue;
                        ASSERT_TRUE(Shows(*picture, wanted.picture));
                        ASSERT_EQ(gDrawn, wanted.segments);
                        ASSERT_EQ(picture->references, 1);
                        gMade.clear();
                    }
                }
            }
        }
    });
}

/// The first and last row of the fore color in a column.
std::pair<int, int> BarOf(Picture &picture, int x) {
    const std::uint32_t fore = picture.Word({0x27, 0x4C, 0x5A});
    std::pair<int, int> bar(-1, -1);
    for (int y = 0; y < picture.height; ++y)
        if (picture.At(x, y) == fore)
            bar = {bar.first < 0 ? y : bar.first, y};
    return bar;
}

TEST(Waveform, OfPlainSignals) {
    OnEveryHost([] {
        Picture *picture = Render(std::vector<unsigned char>(2000, 0), {.bits = 15});
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(picture->width, 1000);
        EXPECT_EQ(picture->height, 500);
        EXPECT_EQ(BarOf(*picture, 999), std::pair(250, 250)) << "silence is the center row";
        picture = Render(std::vector<unsigned char>(30, 128), {.height = 9, .autoScale = true});
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(BarOf(*picture, 29), std::pair(4, 4)) << "silence stays silence to the loudest";
        picture = Render(std::vector<unsigned char>(30, 127), {.height = 100, .bits = 7});
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(BarOf(*picture, 7), std::pair(50, 99)) << "full scale, below the center row alone";
        picture = Render(std::vector<unsigned char>(300000, 0), {.width = 1, .height = 100, .bits = 16});
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(BarOf(*picture, 0), std::pair(0, 50)) << "the lowest level, in sums beyond 32 bits";
        picture = Render({0x4E, 0xEE}, {.height = 217, .bits = 15});
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(BarOf(*picture, 0), std::pair(48, 108)) << "-4530 is 60 rows when its product is formed first";
        picture = Render(std::vector<unsigned char>(4, 25), {.smooth = 23, .height = 127, .bits = 7});
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(BarOf(*picture, 3), std::pair(63, 113)) << "50 rows: the scale is averaged as the levels are";
        picture = Render({0, 2, 254, 0}, {.height = 101, .bits = 7, .autoScale = true});
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(BarOf(*picture, 1), std::pair(50, 100)) << "the loudest column reaches the edge";
        EXPECT_EQ(BarOf(*picture, 2), std::pair(0, 50)); // 50 - 50.5 is cut off to 0
        EXPECT_EQ(BarOf(*picture, 3), std::pair(50, 50));
    });
}

TEST(Waveform, IsRefusedBeforeAPictureIsMade) {
    OnEveryHost([] {
        for (const int bits : {12, 0, 32, 6, -8})
            EXPECT_EQ(Render({1, 2, 3}, {.height = 5, .bits = bits}), nullptr) << bits;
        const std::vector<unsigned char> wide(32768);
        EXPECT_EQ(Render(wide, {.height = 5}), nullptr) << "one column a sample is too wide";
        EXPECT_EQ(Render(wide, {.width = 32768, .height = 5}), nullptr);
        EXPECT_EQ(Render(wide, {.width = 5, .height = 32768}), nullptr);
        EXPECT_EQ(Render({}, {.height = 5}), nullptr) << "no column at all";
        EXPECT_EQ(Render({1}, {.height = 5, .bits = 16}), nullptr);
        EXPECT_EQ(RenderSamples(nullptr, 0, 1, 5, 5, 0, 0, 0, 0, 8, 0), nullptr);
        EXPECT_TRUE(gMade.empty());
        EXPECT_EQ(gOutLineColorB, 0x4E) << "kept from the last call with a block";
    });
}

TEST(Waveform, ThickOutlineIsDrawnWithTheHostsPen) {
    OnEveryHost([] {
        Picture *picture = Render({0, 127}, {.height = 8, .outlineWidth = 5, .outlineColor = 0xFF010203, .bits = 7});
        EXPECT_EQ(fake::log, (std::vector<std::string>{"ForeColor = 4278256131", "PenHeight = 5", "PenWidth = 5"}));
        EXPECT_EQ(gDrawn,
                  (std::vector<expected::Segment>{{-2, 2, -2, 2}, {-2, 2, -2, 2}, {-2, 2, -1, 2}, {-2, 2, -1, 18}}));
        gHasSurface = false;
        gDrawn.clear();
        Picture *bare = Render({0, 127}, {.height = 8, .outlineWidth = 5, .bits = 7});
        ASSERT_NE(bare, nullptr);
        EXPECT_EQ(bare->words, picture->words) << "without a surface there is no outline, but a picture";
        EXPECT_TRUE(gDrawn.empty());
    });
}

} // namespace
