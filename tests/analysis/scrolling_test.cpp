#include "expected/analysis.h"
#include "support/pictures.h"

#include <limits>

namespace {

using namespace expected;
using standin::Ref;
using standin::Value;

bool Scroll(TestHost &host, const Value &picture, const char *method, std::vector<Value> arguments) {
    if (picture.Is<Ref>()) {
        host.MayChange(picture.AsRef());
        if (standin::Picture *mask = picture.AsPicture().mask)
            host.MayChange(Ref(mask));
    }
    return host.CallWith(picture, method, std::move(arguments)).value.AsBoolean();
}

class EveryScrolling : public EveryWay {
  protected:
    EveryScrolling() { highestLevels = {}; } // the C library moves the bytes
};

TEST_P(EveryScrolling, MovesWholeWords) {
    ForEachSize([&](const Picture &colors, const Ref &) {
        const auto &[width, height, pixels] = colors;
        for (int round = 0; round < 3; ++round) {
            const Ref picture = MakeAnyhow(Noise(width, height + 4, random.Next()));
            const Ref mask = MakeAnyhow(Noise(width + random.Below(2), height, random.Next()));
            if (round > 0)
                host.AttachMask(picture, mask);
            const bool scrollsMask = round == 1;
            const StoredPicture before = WordsOf(picture.picture());
            const StoredPicture maskBefore = WordsOf(mask.picture());
            const int across = AnyInteger(random, 2 * width);
            const int down = AnyInteger(random, 2 * height);
            SCOPED_TRACE(fmt::format("by {} and {}, mask {}", across, down, round));
            const auto wrapped = [&](const StoredPicture &words) {
                return WrapVertically(WrapHorizontally(words, across), down);
            };
            EXPECT_TRUE(Scroll(host, picture, "ScrollVerticalKVT", {down, true, scrollsMask}));
            EXPECT_PICTURE(picture.picture(), WrapVertically(before, down));
            EXPECT_TRUE(Scroll(host, picture, "ScrollHorizontalKVT", {across, true, scrollsMask}));
            EXPECT_PICTURE(picture.picture(), wrapped(before));
            EXPECT_TRUE(Scroll(host, picture, "ScrollKVT", {across, down, true, scrollsMask}));
            EXPECT_PICTURE(picture.picture(), wrapped(wrapped(before)));
            EXPECT_PICTURE(mask.picture(), scrollsMask ? wrapped(wrapped(maskBefore)) : maskBefore);
        }
    });
}

IN_EVERY_WAY(EveryScrolling);

/// Rows take along what lies behind them; columns leave it where it is, and do not even look at it.
TEST(Scrolling, MovesPaddingWithRowsAlone) {
    constexpr int kRows = 5;
    TestHost host;
    const Ref picture = host.Make({.width = 3, .height = kRows, .rowPadding = 8, .numbersPadding = true});
    int moved = 0;
    for (const int down : {1, -2, 4, 7}) {
        EXPECT_TRUE(Scroll(host, picture, "ScrollVerticalKVT", {down, true, false}));
        EXPECT_TRUE(Scroll(host, picture, "ScrollHorizontalKVT", {1, true, false}));
        moved += down;
        for (int y = 0; y < kRows; ++y)
            EXPECT_EQ(picture.picture().PaddingOf(y), ((y - moved) % kRows + kRows) % kRows) << "down by " << moved;
    }

    // A row that is said to be as long as can be, but whose pixels alone can be touched.
    const Ref endless = host.Make({.width = 5, .height = 1, .bytesPerRow = 0x7FFFFFFC});
    for (int x = 0; x < 5; ++x)
        endless.picture().SetWord(x, 0, static_cast<std::uint32_t>(x));
    const StoredPicture before = WordsOf(endless.picture());
    const std::size_t asked = host.HeapBytes();
    EXPECT_TRUE(Scroll(host, endless, "ScrollHorizontalKVT", {2, true, false}));
    EXPECT_PICTURE(endless.picture(), WrapHorizontally(before, 2));
    EXPECT_LE(host.HeapBytes() - asked, 5u * 4);
}

TEST(Scrolling, BothWaysIsHalfDoneWhenTheSecondHalfFails) {
    TestHost host({.faults = {{"REALLockPictureDescription", standin::Fault::Fails, 2}}});
    const Ref picture = MakePicture(host, Noise(5, 4, 1));
    const StoredPicture before = WordsOf(picture.picture());
    EXPECT_FALSE(Scroll(host, picture, "ScrollKVT", {2, 1, true, false}));
    EXPECT_PICTURE(picture.picture(), WrapHorizontally(before, 2));
}

TEST(Scrolling, OfAMaskThatCannotBeScrolled) {
    TestHost host;
    const Ref picture = MakePicture(host, Noise(5, 4, 1));
    host.AttachMask(picture, MakePicture(host, Noise(5, 4, 2), {.lockable = false}));
    const StoredPicture before = WordsOf(picture.picture());
    EXPECT_FALSE(host.Call(picture, "ScrollVerticalKVT", 1, true, true).value.AsBoolean());
    EXPECT_PICTURE(picture.picture(), before);
    EXPECT_TRUE(Scroll(host, picture, "ScrollHorizontalKVT", {1, true, true}));
    EXPECT_PICTURE(picture.picture(), WrapHorizontally(before, 1)) << "the mask's result is ignored";
    EXPECT_TRUE(Scroll(host, picture, "ScrollVerticalKVT", {1, true, false}));
    EXPECT_PICTURE(picture.picture(), WrapVertically(WrapHorizontally(before, 1), 1)) << "the mask is not asked";
}

/// The platform fills what it uncovers with the port's background, and what leaves an edge is lost.
TEST(Scrolling, OfGraphicsWorldsWithoutWrap) {
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    for (const auto &[across, down] : {std::pair(0, 1), std::pair(0, -3), std::pair(2, 0), std::pair(-4, 0),
                                       std::pair(3, -2), std::pair(0x10001, 0), std::pair(kMost, kLeast)}) {
        for (const bool scrollsMask : {false, true}) {
            SCOPED_TRACE(fmt::format("by {} and {}, mask {}", across, down, scrollsMask));
            TestHost host;
            const auto world = [&](std::uint32_t seed) {
                return MakePicture(
                    host, Noise(7, 5, seed),
                    {.alphaInfo = scrollsMask ? 1u : 6u, .padding = 8, .form = standin::Form::GraphicsWorld});
            };
            const Ref picture = world(1);
            const Ref mask = world(2);
            host.AttachMask(picture, mask);
            const auto scrolled = [&, across = across, down = down](const StoredPicture &before) {
                StoredPicture after = before;
                for (int y = 0; y < 5; ++y)
                    for (int x = 0; x < 7; ++x) {
                        const std::int64_t fromX = std::int64_t{x} - across;
                        const std::int64_t fromY = std::int64_t{y} - down;
                        const bool inside = fromX >= 0 && fromX < 7 && fromY >= 0 && fromY < 5;
                        after.words[static_cast<std::size_t>(y * 7 + x)] =
                            inside ? before.words[static_cast<std::size_t>(fromY * 7 + fromX)]
                                   : OpaqueWord({255, 255, 255}, before.layout);
                    }
                return after;
            };
            const StoredPicture wanted = scrolled(WordsOf(picture.picture()));
            const StoredPicture wantedMask = scrollsMask ? scrolled(WordsOf(mask.picture())) : WordsOf(mask.picture());
            if (across == 0 || down == 0)
                EXPECT_TRUE(Scroll(host, picture, down == 0 ? "ScrollHorizontalKVT" : "ScrollVerticalKVT",
                                   {across + down, false, scrollsMask}));
            else
                EXPECT_TRUE(Scroll(host, picture, "ScrollKVT", {across, down, false, scrollsMask}));
            EXPECT_PICTURE(picture.picture(), wanted);
            EXPECT_PICTURE(mask.picture(), wantedMask);
            EXPECT_FALSE(host.Call(picture, "ScrollVerticalKVT", 1, true, false).value.AsBoolean())
                << "cannot be opened, so does not wrap";
        }
    }
}

} // namespace
