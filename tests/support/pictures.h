#pragma once

#include "expected/noise.h"
#include "support/levels.h"
#include "support/test_host.h"

#include <fmt/format.h>
#include <functional>
#include <set>
#include <string>
#include <vector>

/// What the tests of operations share: hosts of every pixel layout at every instruction-set level, pictures that go to
/// and come from a host, and operations called with arguments of chance.

inline expected::Layout LayoutOf(const standin::Picture &picture) {
    const bool console = picture.description.form == standin::Form::Console;
    return expected::LayoutOf(console ? 8 : static_cast<int>(picture.description.alphaInfo));
}

/// How a test's picture is stored.
struct Storage {
    bool alphaChannel = false;
    std::uint32_t alphaInfo = 0; ///< 0: as the host makes them
    int padding = 0;
    bool opaque = false; ///< else the bytes beside the colors are anything
    bool lockable = true;
    standin::Form form = standin::Form::OfHost;
};

/// The picture in this host, held by the test.
inline standin::Ref MakePicture(standin::Host &host, const expected::Picture &picture, const Storage &storage = {}) {
    const standin::Ref made = host.Make({.width = picture.width,
                                         .height = picture.height,
                                         .form = storage.form,
                                         .hasAlphaChannel = storage.alphaChannel,
                                         .alphaInfo = storage.alphaInfo,
                                         .rowPadding = storage.padding,
                                         .lockable = storage.lockable});
    const expected::Layout layout = LayoutOf(made.picture());
    const std::uint32_t colorBits =
        expected::OpaqueWord({255, 255, 255}, layout) ^ expected::OpaqueWord({0, 0, 0}, layout);
    expected::Random extras(static_cast<std::uint32_t>(picture.width * 31 + picture.height));
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const std::uint32_t word = expected::OpaqueWord(picture.At(x, y), layout);
            const std::uint32_t extra = storage.opaque ? word : extras.Next();
            made.picture().SetWord(x, y, (word & colorBits) | (extra & ~colorBits));
        }
    return made;
}

/// The words of a host's picture.
inline expected::StoredPicture WordsOf(const standin::Picture &picture) {
    expected::StoredPicture stored{picture.width, picture.height, LayoutOf(picture), {}};
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            stored.words.push_back(picture.Word(x, y));
    return stored;
}

/// Whether the host's picture holds exactly these words. Tells the first that differs and how many do.
inline testing::AssertionResult Shows(const standin::Picture &picture, const expected::StoredPicture &wanted) {
    if (picture.width != wanted.width || picture.height != wanted.height)
        return testing::AssertionFailure() << picture.Describe() << ", not " << wanted.width << " x " << wanted.height;
    const expected::StoredPicture found = WordsOf(picture);
    int differing = 0;
    std::string first;
    for (std::size_t i = 0; i < found.words.size(); ++i) {
        if (found.words[i] == wanted.words[i] || differing++ > 0)
            continue;
        const auto text = [&](std::uint32_t word) {
            return fmt::format("{} (word 0x{:08X})", testing::PrintToString(expected::ColorOf(word, found.layout)),
                               word);
        };
        const auto width = static_cast<std::size_t>(picture.width);
        first =
            fmt::format("({}, {}) holds {}, not {}", i % width, i / width, text(found.words[i]), text(wanted.words[i]));
    }
    if (differing == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << picture.Describe() << ": " << first << "; " << differing << " of "
                                       << found.words.size() << " pixels differ";
}

/// What the host puts into every pixel of a new picture.
inline constexpr std::uint32_t kFreshWord = 0x5EEDC0DE;

/// Whether the picture holds these colors, every pixel opaque. A pixel of the color of fresh ones may also be fresh.
inline testing::AssertionResult Shows(const standin::Picture &picture, const expected::Picture &wanted) {
    expected::StoredPicture words = expected::Store(wanted, LayoutOf(picture));
    const std::uint32_t freshAndOpaque =
        expected::OpaqueWord(expected::ColorOf(kFreshWord, words.layout), words.layout);
    for (std::size_t i = 0; i < words.words.size(); ++i) {
        const int x = static_cast<int>(i) % wanted.width;
        const int y = static_cast<int>(i) / wanted.width;
        if (words.words[i] == freshAndOpaque && picture.Inside(x, y) && picture.Word(x, y) == kFreshWord)
            words.words[i] = kFreshWord;
    }
    return Shows(picture, words);
}

inline testing::AssertionResult Shows(const standin::Value &value, const expected::Picture &wanted) {
    return value.IsNil() ? testing::AssertionFailure() << "nil, not a picture" : Shows(value.AsPicture(), wanted);
}

inline testing::AssertionResult Shows(const standin::Result &result, const expected::Picture &wanted) {
    return result.raised ? testing::AssertionFailure() << "raised \"" << result.raised->message << '"'
                         : Shows(result.value, wanted);
}

#define EXPECT_PICTURE(actual, wanted) EXPECT_TRUE(Shows(actual, wanted))
#define ASSERT_PICTURE(actual, wanted) ASSERT_TRUE(Shows(actual, wanted))

/// Sets what a class's instance processes.
inline void SetBounds(standin::Host &host, const standin::Ref &instance, expected::Bounds bounds) {
    host.Set(instance, "MinX", bounds.minX);
    host.Set(instance, "MinY", bounds.minY);
    host.Set(instance, "MaxX", bounds.maxX);
    host.Set(instance, "MaxY", bounds.maxY);
}

struct Size {
    int width;
    int height;
};

/// Thin ones, and widths around every number of pixels that a loop may take at once.
inline std::vector<Size> OddSizes() {
    std::vector<Size> sizes = {{1, 1}, {2, 1}, {1, 50}, {600, 2}};
    for (const int width : {4, 8, 16, 32, 48, 64, 96, 128, 192})
        for (const int odd : {width - 1, width, width + 1})
            sizes.push_back({odd, 1 + odd % 3});
    return sizes;
}

/// One kind of host and one level to run the module at.
struct Way {
    const char *name;
    standin::Application application;
    std::uint32_t alphaInfo;    ///< of the test's pictures without alpha channel
    std::uint32_t newAlphaInfo; ///< of those that the host makes
    int newPicturePadding;
    standin::Guard guard;
    int level = 0;
};

inline void PrintTo(const Way &way, std::ostream *out) { *out << way.name << ' ' << kLevelNames[way.level]; }

/// Every pair of layouts that a host can bring about, at every level. All alpha infos take part.
inline std::vector<Way> EveryLayoutAndLevel() {
    using enum standin::Application;
    using enum standin::Guard;
    std::vector<Way> ways;
    for (const Way &pair : {Way{"HighToHigh", Desktop, 5, 1, 0, After}, Way{"HighToLow", Desktop, 3, 6, 12, After},
                            Way{"LowToHigh", Desktop, 4, 5, 0, Before}, Way{"LowToLow", Desktop, 6, 2, 4, After},
                            Way{"RowTable", Console, 0, 0, 0, After}})
        for (const int level : EveryLevelOffered()) {
            ways.push_back(pair);
            ways.back().level = level;
        }
    return ways;
}

/// The pair of layouts of that name alone.
inline std::vector<Way> EveryLevelOf(std::string_view name) {
    std::vector<Way> ways = EveryLayoutAndLevel();
    std::erase_if(ways, [&](const Way &way) { return way.name != name; });
    return ways;
}

/// A host of the layouts and level at hand.
class EveryWay : public testing::TestWithParam<Way> {
  protected:
    void SetUp() override { ASSERT_TRUE(host.ForceLevel(GetParam().level)) << "the module does not run at this level"; }
    void TearDown() override { ExpectLevel(); }

    /// What ran since the last time was vector code of this level, or of the highest that its kernel has a form for.
    void ExpectLevel() {
        std::set<int> wanted;
        for (const int highest : highestLevels)
            wanted.insert(std::min(highest, GetParam().level));
        if (kHasLevels) {
            EXPECT_EQ(host.TakeLevelsRun(), wanted);
        }
    }

    standin::Ref Make(const expected::Picture &picture, Storage storage = {}) {
        if (storage.alphaInfo == 0)
            storage.alphaInfo = storage.alphaChannel ? WithAlpha(GetParam().alphaInfo) : GetParam().alphaInfo;
        return MakePicture(host, picture, storage);
    }
    /// Stored any way that this host can.
    standin::Ref MakeAnyhow(const expected::Picture &picture) {
        return Make(picture, {.alphaChannel = random.Below(2) == 0, .padding = random.Below(2) * random.Below(4) * 4});
    }
    /// Hands noise of every size, and a host's picture of it, to `use`.
    template <class Use> void ForEachSize(Use use) {
        for (const auto &[width, height] : OddSizes()) {
            SCOPED_TRACE(fmt::format("{} x {}", width, height));
            const expected::Picture picture = expected::Noise(width, height, random.Next());
            use(picture, MakeAnyhow(picture));
            if (HasFatalFailure())
                return;
        }
    }
    /// A new picture of that size, as expected values show it.
    expected::Picture FreshLike(const expected::Picture &picture) const {
        const int format = GetParam().newAlphaInfo == 0 ? 8 : static_cast<int>(GetParam().newAlphaInfo);
        return expected::Filled(picture.width, picture.height,
                                expected::ColorOf(kFreshWord, expected::LayoutOf(format)));
    }

    std::set<int> highestLevels = {1}; ///< of the kernels that run in this test
    expected::Random random{1};
    TestHost host{{.application = GetParam().application,
                   .newPictureAlphaInfo = GetParam().newAlphaInfo,
                   .newAlphaPictureAlphaInfo = WithAlpha(GetParam().newAlphaInfo),
                   .newPicturePadding = GetParam().newPicturePadding,
                   .freshWord = kFreshWord,
                   .guard = GetParam().guard,
                   .sealsPictures = true}};

  private:
    /// The alpha info with the same place of the alpha byte that a picture with alpha channel can have.
    static std::uint32_t WithAlpha(std::uint32_t alphaInfo) { return alphaInfo % 2 == 1 ? 1 : 2; }
};

#define IN_EVERY_WAY(Suite)                                                                                            \
    INSTANTIATE_TEST_SUITE_P(, Suite, testing::ValuesIn(EveryLayoutAndLevel()), [](const auto &way) {                  \
        return std::string(way.param.name) + kLevelNames[way.param.level];                                             \
    })

/// A call of an operation that makes a new picture from one.
struct Trial {
    std::vector<standin::Value> arguments;
    std::function<expected::Picture(const expected::Picture &source, const expected::Picture &fresh)> wanted;
};

struct Operation {
    const char *method;
    Trial (*any)(expected::Random &random, const expected::Picture &source); ///< with arguments of chance
    int highestLevel = 1;                                                    ///< of its kernel
    bool keepsAlphaChannel = true;                                           ///< the result has one when the source has
    bool global = false;                                                     ///< the source is the first argument
};

inline std::string TextOf(const std::vector<standin::Value> &arguments) {
    std::string text;
    for (const standin::Value &value : arguments)
        text += value.Is<double>()         ? fmt::format(" {:.17g}", value.AsDouble())
                : value.Is<std::int64_t>() ? fmt::format(" {}", value.AsInteger())
                                           : " -";
    return text;
}

/// Operations that make a new picture from one, with every size and arguments of chance.
class EveryOperation : public EveryWay {
  protected:
    void Expect(const Operation &operation) {
        ForEachSize([&](const expected::Picture &picture, const standin::Ref &source) {
            Trial trial = operation.any(random, picture);
            SCOPED_TRACE(operation.method + TextOf(trial.arguments));
            if (operation.global)
                trial.arguments.insert(trial.arguments.begin(), source);
            const standin::Result result = operation.global ? host.CallGlobalWith(operation.method, trial.arguments)
                                                            : host.CallWith(source, operation.method, trial.arguments);
            ASSERT_TRUE(Shows(result, trial.wanted(picture, FreshLike(picture))));
            EXPECT_EQ(result.picture().description.hasAlphaChannel,
                      source.picture().description.hasAlphaChannel && operation.keepsAlphaChannel);
        });
        SCOPED_TRACE(operation.method);
        highestLevels = {operation.highestLevel};
        ExpectLevel();
        highestLevels = {};
    }
};
