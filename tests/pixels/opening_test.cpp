#include "support/test_host.h"

/// Which pictures the module opens for reading and for changing, seen by what scripts get. The host's audit shows that
/// nothing stays locked or referenced on any path.
namespace {

using namespace standin;

constexpr auto kWhite = [](int, int) { return ColorValue{0xFFFFFF}; };
constexpr auto kBlack = [](int, int) { return ColorValue{0}; };

/// A white picture counts as white exactly when it can be read.
bool Reads(Host &host, const Ref &picture) { return host.Call(picture, "isWhiteKVT").value.AsBoolean(); }

/// Rotating it by a row succeeds exactly when it can be changed in place. The rows are all alike.
bool Changes(Host &host, const Ref &picture) {
    return host.Call(picture, "ScrollVerticalKVT", 1, true, false).value.AsBoolean();
}

enum Expected { Refused, ReadOnly, Opens };

struct Opening {
    const char *what;
    PictureDescription picture;
    Expected expected;
};

PictureDescription Bitmap(std::uint32_t alphaInfo, bool hasAlphaChannel = false) {
    return {.form = Form::Bitmap, .hasAlphaChannel = hasAlphaChannel, .alphaInfo = alphaInfo};
}

const std::vector<Opening> kDesktop = {
    {"an ordinary picture", {}, Opens},
    {"an alpha info without meaning", Bitmap(7), Refused},
    {"none in the low three bits", Bitmap(8), Refused},
    {"what stands above the low three bits does not count", Bitmap(0x200E), Opens},
    {"an alpha channel that is not premultiplied", Bitmap(3, true), Refused},
    {"24 bits", {.bitsPerPixel = 24}, Refused},
    {"64 bits", {.bitsPerPixel = 64}, Refused},
    {"a description of another type", {.describedType = 10}, Refused},
    {"of no type", {.describedType = 0}, Refused},
    {"a description without data", {.withoutData = true}, Refused},
    {"a context without pixels", {.withoutPixels = true}, Refused},
    {"rows shorter than the width", {.bytesPerRow = 19}, Refused},
    {"no bytes in a row", {.bytesPerRow = 0}, Refused},
    {"rows as long as can be counted", {.bytesPerRow = 0x80000000u}, Refused},
    {"one that cannot be locked", {.lockable = false}, ReadOnly},
    {"one with an alpha channel that cannot be locked", {.hasAlphaChannel = true, .lockable = false}, Refused},
    {"a graphics world", {.form = Form::GraphicsWorld}, ReadOnly},
    {"a console picture", {.form = Form::Console}, ReadOnly},
    {"no columns", {.width = 0, .height = 3}, Opens},
    {"no rows", {.width = 5, .height = 0}, Opens},
    {"no rows and no address", {.width = 5, .height = 0, .withoutPixels = true}, Opens},
};

const std::vector<Opening> kConsole = {
    {"an ordinary picture", {}, Opens},
    {"an alpha channel", {.hasAlphaChannel = true}, Opens},
    {"a palette", {.paletteRows = 1}, Refused},
    {"a palette beside an alpha channel", {.hasAlphaChannel = true, .paletteRows = 1}, Opens},
    {"no true colors", {.trueColor = 0}, Refused},
    {"no true colors in an alpha channel", {.hasAlphaChannel = true, .trueColor = 0}, Refused},
    {"no row table", {.withoutPixels = true}, Refused},
    {"a row without address", {.nullRow = 2}, Refused},
    {"the first row without address", {.nullRow = 0}, Refused},
    {"a row without address and without pixels", {.width = 0, .height = 3, .nullRow = 0}, Opens},
    {"no rows", {.width = 5, .height = 0}, Opens},
    {"a description of another type", {.describedType = 8}, Refused},
    {"a description without data", {.withoutData = true}, Refused},
    {"one that cannot be locked", {.lockable = false}, Refused},
    {"a bitmap", Bitmap(6), Refused},
    {"a graphics world", {.form = Form::GraphicsWorld}, Refused},
};

const std::vector<Opening> kUnknown = {
    {"a bitmap", Bitmap(6), Opens},
    {"a console picture is copied first for reading", {.form = Form::Console}, Opens},
    {"an alpha channel has no copy", {.form = Form::Console, .hasAlphaChannel = true}, Opens},
    {"a bitmap that cannot be locked", {.form = Form::Bitmap, .lockable = false}, ReadOnly},
    {"of 24 bits", {.form = Form::Bitmap, .bitsPerPixel = 24}, Refused},
};

const std::pair<Application, const std::vector<Opening> &> kApplications[] = {
    {Application::Desktop, kDesktop},
    {Application::Console, kConsole},
    {Application::Web, kConsole},
    {Application::Unknown, kUnknown},
};

TEST(Opening, TakesThePicturesThatItCanWorkOn) {
    for (const auto &[application, rows] : kApplications)
        for (const Opening &row : rows)
            for (const std::optional<double> version : {std::optional(2019.03), std::optional(2011.0), {}})
                for (const Guard guard : {Guard::Before, Guard::After}) {
                    SCOPED_TRACE(testing::Message() << "application " << int(application) << ": " << row.what);
                    PictureDescription white = row.picture;
                    if (white.width == 1) {
                        white.width = 5;
                        white.height = 3;
                    }
                    white.color = kWhite;
                    for (const bool reads : {true, false}) {
                        TestHost host(
                            {.application = application, .version = version, .guard = guard, .sealsPictures = true});
                        const bool opens = reads ? Reads(host, host.Make(white)) : Changes(host, host.Make(white));
                        EXPECT_EQ(opens, reads ? row.expected != Refused : row.expected == Opens) << reads;
                    }
                }
}

// The copy that stands in for a picture that cannot be locked.

enum Seen { Nothing, Blank, Drawn };

const std::vector<Fault> kNoDrawing = {{"Graphics.DrawPicture"}};
const std::vector<Fault> kNoSourceLock = {{"Graphics.DrawPicture"}, {"REALLockPictureDescription", Fault::Fails, 2}};
const std::vector<Fault> kNoCopyLock = {{"Graphics.DrawPicture"}, {"REALLockPictureDescription", Fault::Fails, 3}};

const struct {
    const char *what;
    PictureDescription picture; ///< a console picture is met by a host that knows no kind of application
    std::vector<Fault> faults;
    Seen seen;
    int cacheClears; ///< asked for by the copying alone, since reading asks for none
} kCopies[] = {
    {"drawn", {.lockable = false}, {}, Drawn, 0},
    {"no drawing surface", {.lockable = false}, {{"pluginPictureGraphicsGetter"}}, Blank, 0},
    {"no methods", {.lockable = false}, {{"REALLoadObjectMethod"}}, Blank, 0},
    {"no method to draw", {.lockable = false}, kNoDrawing, Blank, 0},
    {"no new pictures", {.lockable = false}, {{"newPicture"}}, Nothing, 0},
    {"no sizes", {.lockable = false}, {{"REALGetPropValueInt"}}, Nothing, 0},
    {"the width alone", {.lockable = false}, {{"REALGetPropValueInt", Fault::Fails, 2}}, Nothing, 0},
    {"a copy that cannot be locked", {.lockable = false}, {{"REALLockPictureDescription"}}, Nothing, 0},
    {"console pictures, drawn", {.form = Form::Console}, {}, Drawn, 0},
    {"copied row by row", {.form = Form::Console}, kNoDrawing, Drawn, 1},
    {"a palette is not copied", {.form = Form::Console, .paletteRows = 1}, kNoDrawing, Blank, 1},
    {"the true-color flag does not count", {.form = Form::Console, .trueColor = 0}, kNoDrawing, Drawn, 1},
    {"no row table", {.form = Form::Console, .withoutPixels = true}, kNoDrawing, Blank, 1},
    {"a row without address", {.form = Form::Console, .nullRow = 1}, kNoDrawing, Blank, 1},
    {"no data", {.form = Form::Console, .withoutData = true}, kNoDrawing, Blank, 1},
    {"the source cannot be locked", {.form = Form::Console}, kNoSourceLock, Blank, 0},
    {"the copy cannot be locked", {.form = Form::Console}, kNoCopyLock, Blank, 1},
};

TEST(Copies, ShowWhatCouldBeDrawn) {
    for (const auto &row : kCopies)
        for (const std::optional<double> version : {std::optional(2019.03), std::optional<double>()}) {
            SCOPED_TRACE(row.what);
            const bool isConsole = row.picture.form == Form::Console;
            const auto looks = [&](const char *method) {
                TestHost host({.application = isConsole ? Application::Unknown : Application::Desktop,
                               .version = version,
                               .freshWord = 0xFFFFFFFF,
                               .faults = row.faults,
                               .sealsPictures = true});
                PictureDescription black = row.picture;
                black.width = 5;
                black.height = 3;
                black.color = kBlack;
                const bool answer = host.Call(host.Make(black), method).value.AsBoolean();
                EXPECT_EQ(host.CallsOf("REALPictureClearCache"), row.cacheClears);
                return answer;
            };
            EXPECT_EQ(looks("isBlackKVT"), row.seen == Drawn);
            EXPECT_EQ(looks("isWhiteKVT"), row.seen == Blank);
        }
}

// The application's kind.

TEST(ApplicationKind, IsLearnedOnceAndKept) {
    const PictureDescription bitmap = {.form = Form::Bitmap, .color = kWhite};
    const PictureDescription console = {.form = Form::Console, .color = kWhite};
    for (const Application application : {Application::Desktop, Application::Console, Application::Web}) {
        TestHost host({.application = application});
        const Ref picture = host.Make({.color = kWhite});
        for (int i = 0; i < 3; ++i)
            EXPECT_TRUE(Reads(host, picture));
        EXPECT_EQ(host.CallsOf("pluginObjectType"), 3) << "one look-up a class";
        EXPECT_EQ(host.RequestsFor("REALLockPictureDescription"), 1) << "an entry once found is kept";
    }
    {
        TestHost host({.application = Application::Unknown});
        const Ref unreadable = host.Make({.form = Form::Console, .hasAlphaChannel = true, .lockable = false});
        for (int i = 1; i <= 3; ++i) {
            EXPECT_FALSE(Reads(host, unreadable));
            EXPECT_EQ(host.CallsOf("pluginObjectType"), 3 * i) << "again at every open while no kind is known";
        }
        EXPECT_TRUE(Changes(host, host.Make(bitmap)));
        EXPECT_FALSE(Changes(host, host.Make(console))) << "a bitmap was opened before";
        EXPECT_EQ(host.CallsOf("pluginObjectType"), 3 * 4) << "the kind is known";
    }
    {
        TestHost host({.application = Application::Unknown});
        EXPECT_TRUE(Changes(host, host.Make(console)));
        EXPECT_FALSE(Reads(host, host.Make(bitmap))) << "a console picture was opened before";
    }
    {
        TestHost host({.moreClasses = {"WebApplication", "ConsoleApplication"}});
        EXPECT_TRUE(Changes(host, host.Make(bitmap)));
        EXPECT_FALSE(Changes(host, host.Make(console))) << "desktop, though it has other classes as well";
    }
    TestHost other({.application = Application::Unknown});
    EXPECT_FALSE(Changes(other, other.Make({.form = Form::Bitmap, .bitsPerPixel = 16}))) << "locked, then refused";
    EXPECT_FALSE(Changes(other, other.Make({.form = Form::Console}))) << "a refused bitmap counts";
}

} // namespace
