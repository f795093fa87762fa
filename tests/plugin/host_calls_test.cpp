#include "support/test_host.h"

#include <cmath>
#include <functional>
#include <iomanip>
#include <string>

/// What the module asks of its host, call by call and in order: the host's log of each kind of operation. That all of
/// it balances is what the host's audit shows; here stands what hosts can tell beyond that.
namespace {

using namespace standin;

/// The objects of a row, each called by a name in the log. Pictures are five by three.
class Scene {
  public:
    explicit Scene(HostDescription description) : host_(Logged(std::move(description))) {
        log_.clear(); // of the start
    }

    TestHost &host() { return host_; }
    Ref Named(Ref made, const char *name) {
        made.object()->name = name;
        return made;
    }
    Ref Picture(const char *name, PictureDescription wanted = {}) {
        if (wanted.width == 1 && wanted.height == 1) {
            wanted.width = 5;
            wanted.height = 3;
        }
        const Ref made = Named(host_.Make(wanted), name);
        host_.MayChange(made);
        return made;
    }
    Ref Block(const char *name, std::size_t bytes) {
        const Ref made = Named(host_.MakeBlock(bytes), name);
        host_.MayChange(made);
        return made;
    }
    /// Lives until the log was compared.
    const Ref &Kept(Ref made) { return kept_.emplace_back(std::move(made)); }
    /// Lets the module learn the kind of application, so that a row need not tell of it.
    void LearnKind() {
        host_.Call(Picture("first"), "isWhiteKVT");
        log_.clear();
    }
    const std::string &log() const { return log_; }

    template <class... Arguments> std::string Call(const Value &receiver, const char *method, Arguments... arguments) {
        return Text(host_.Call(receiver, method, arguments...));
    }
    template <class... Arguments> std::string CallGlobal(const char *method, Arguments... arguments) {
        return Text(host_.CallGlobal(method, arguments...));
    }

    static std::string Text(const Result &result) {
        const Value &value = result.value;
        std::string text = value.Is<bool>()           ? (value.AsBoolean() ? "true" : "false")
                           : value.Is<std::int64_t>() ? std::to_string(value.AsInteger())
                           : value.Is<double>()       ? std::to_string(value.AsDouble())
                           : value.Is<Ref>()          ? value.AsRef().object()->name
                                                      : "nil";
        for (const auto &[name, variable] : result.byref)
            if (variable.Is<std::int64_t>())
                text += ", " + name + ' ' + std::to_string(variable.AsInteger());
        return text;
    }

  private:
    HostDescription Logged(HostDescription description) {
        description.log = [this](const std::string &call) { log_ += call + '\n'; };
        return description;
    }

    std::string log_;
    TestHost host_;
    std::vector<Ref> kept_;
};

// The steps that operations are made of. Where a picture of the host at hand is locked, T stands for the type.

std::string Asked(const std::string &picture) {
    return "REALGetPropValueBool " + picture + " HasAlphaChannel\nREALLockPictureDescription " + picture + " T\n";
}
std::string Opened(const std::string &picture) { return Asked(picture) + "REALLockObject " + picture + '\n'; }
std::string Closed(const std::string &picture) {
    return "unlockPictureDescription " + picture + "\nREALUnlockObject " + picture + '\n';
}
std::string ClosedWritten(const std::string &picture) {
    return "unlockPictureDescription " + picture + "\nREALPictureClearCache " + picture + "\nREALUnlockObject " +
           picture + '\n';
}
std::string Changed(const std::string &picture) { return Opened(picture) + ClosedWritten(picture); }

const std::string kNew = "new picture";

std::string Made(const std::string &picture = kNew) {
    return "newPicture 5 3 32\n" + Opened(picture) + "REALUnlockObject " + picture + '\n';
}
std::string Rendered(const std::string &picture = kNew) {
    return "REALLockObject " + picture + '\n' + ClosedWritten(picture) + "REALPictureClearCache " + picture + '\n';
}
const std::string kMadeAndRendered = Made() + Rendered();

const std::string kMadeWithAlpha = "PluginNewInstance Picture\n"
                                   "REALLoadObjectMethod new picture Constructor(width as integer, height as integer)\n"
                                   "Picture.Constructor new picture 5 3\n" +
                                   Opened(kNew) + "REALUnlockObject new picture\n" + Rendered();

std::string Viewed(const std::string &block, const std::string &size) {
    return "REALLockObject " + block + "\nmemoryBlockGetPtr " + block + '\n' + size + '\n';
}
const std::string kTablesViewed = Viewed("red", "memoryBlockGetSize red") +
                                  Viewed("green", "memoryBlockGetSize green") +
                                  Viewed("blue", "memoryBlockGetSize blue");
const std::string kTablesDropped = "REALUnlockObject blue\nREALUnlockObject green\nREALUnlockObject red\n";
std::string Measured(const std::string &picture) {
    return "REALGetPropValueInt " + picture + " Width\nREALGetPropValueInt " + picture + " Height\n";
}
std::string Counters(const std::string &block) {
    return "memoryBlockGetSize " + block + "\nmemoryBlockGetPtr " + block + '\n';
}

const std::string kCopyDrawn =
    Measured("p") +
    "newPicture 5 3 32\npluginPictureGraphicsGetter new picture\n"
    "REALLoadObjectMethod new drawing surface DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, "
    "h as Integer, sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)\n"
    "Graphics.DrawPicture new drawing surface p 0 0 5 3 0 0 5 3\nREALUnlockObject new drawing surface\n";

std::string Raised(const std::string &length) {
    return "REALBuildString " + length +
           "\nREALSetStringEncoding new string 0x600\nPluginNewInstance NilObjectException\n"
           "REALSetPropValueString new exception Message new string\nRuntimeRaiseException new exception\n"
           "REALUnlockObject new exception\nREALUnlockString new string\n";
}

const std::string kLengthFound = "REALLoadGlobalMethod LenB( s as string ) as integer\n";
const std::string kCopied = "LenB text\nStringGetCString text\n";

const std::string kSamplesFound = "memoryBlockGetSize samples\nmemoryBlockGetPtr samples\n";

// The calls that rows make. What they act on is p.

using Call = std::function<std::string(Scene &)>;

template <class... Arguments> Call On(PictureDescription picture, const char *method, Arguments... arguments) {
    return [=](Scene &scene) { return scene.Call(scene.Picture("p", picture), method, arguments...); };
}

/// With another picture as the argument, and numbers behind it.
template <class... Numbers>
Call With(const char *method, const char *name, PictureDescription picture, Numbers... numbers) {
    return
        [=](Scene &scene) { return scene.Call(scene.Picture("p"), method, scene.Picture(name, picture), numbers...); };
}

/// A global method of pictures by these names, the last one of them as described.
Call Of(const char *method, std::vector<const char *> names, PictureDescription last = {}) {
    return [=](Scene &scene) {
        std::vector<Value> pictures;
        for (const char *name : names)
            pictures.push_back(scene.Picture(name, name == names.back() ? last : PictureDescription{}));
        return Scene::Text(scene.host().CallGlobalWith(method, pictures));
    };
}

template <class... Arguments> Call WithMask(PictureDescription mask, const char *method, Arguments... arguments) {
    return [=](Scene &scene) {
        const Ref picture = scene.Picture("p");
        scene.host().AttachMask(picture, scene.Picture("mask", mask));
        return scene.Call(picture, method, arguments...);
    };
}

enum class Target { None, Other, Itself };

Call Transform(Target target, PictureDescription other = {}) {
    return [=](Scene &scene) {
        const Ref red = scene.Block("red", 256);
        const Ref green = scene.Block("green", 256);
        const Ref blue = scene.Block("blue", 256);
        const Ref picture = scene.Picture("p");
        const Value dest = target == Target::None     ? Value()
                           : target == Target::Itself ? Value(picture)
                                                      : Value(scene.Picture("dest", other));
        return scene.Call(picture, "TransformColorsKVT", red, blue, green, dest);
    };
}

enum class Held { Nothing, Source, Old, Both };

Call Of(const char *className, const char *method, Held held) {
    return [=](Scene &scene) {
        const Ref instance = scene.Kept(scene.host().New(className));
        if (held == Held::Source || held == Held::Both)
            scene.host().Set(instance, "SourcePicture", scene.Picture("p"));
        if (held == Held::Old || held == Held::Both)
            scene.host().Set(instance, "DestinationPicture", scene.Picture("old"));
        return scene.Call(instance, method);
    };
}

Call Count(bool given) {
    return [=](Scene &scene) {
        const auto block = [&](const char *name) { return given ? Value(scene.Block(name, 1024)) : Value(); };
        return scene.Call(scene.Picture("p"), "CountColorsKVT", block("red"), block("blue"), block("green"), 0);
    };
}

std::string Unpack(Scene &scene) {
    std::string bytes = "PPIC";
    for (const int number : {85, 5, 3, 32, 40, 0, 0, 0, 0})
        bytes += std::string(3, '\0') + static_cast<char>(number);
    const Ref text = scene.host().MakeString(bytes + std::string(45, 'x'));
    return scene.CallGlobal("BinaryStringtoPictureKVT", scene.Named(text, "text"));
}

std::string AssignMask(Scene &scene) {
    scene.host().Assign(scene.Picture("p"), "EmbeddedMaskKVT", {false}, scene.Picture("mask"));
    return "nothing";
}

/// Silence in five columns. The top bytes of the colors count for nothing.
Call Render(int outlineWidth) {
    return [=](Scene &scene) {
        const std::vector<unsigned char> silence(5, 128);
        const Ref samples = scene.Named(scene.host().MakeBlock(5, silence), "samples");
        return scene.CallGlobal("RenderSamplesKVT", samples, 0, 1, 5, 3, outlineWidth, 0xAA88B5C4u, 0xAA274C5Au,
                                0xAA203F4Eu);
    };
}

std::string ThickOutline() {
    std::string calls = "pluginPictureGraphicsGetter new picture\n"
                        "REALSetPropValueUInt32 new drawing surface ForeColor 0x203F4E\n"
                        "REALSetPropValueInt new drawing surface PenHeight 2\n"
                        "REALSetPropValueInt new drawing surface PenWidth 2\n";
    for (const char *segment : {"-1 0 -1 0", "-1 0 0 0", "0 0 1 0", "1 0 2 0", "2 0 3 0"})
        for (int twice = 0; twice < 2; ++twice)
            calls += std::string("RuntimeGraphicsDrawLine new drawing surface ") + segment + '\n';
    return calls + "REALUnlockObject new drawing surface\n";
}

/// Where a row is tried.
struct Hosts {
    std::vector<Application> kinds = {Application::Desktop, Application::Console};
    double version = 2019.03;
    std::vector<Fault> faults = {};
};
const Hosts kDesktopAlone = {.kinds = {Application::Desktop}};
const Hosts kConsoleAlone = {.kinds = {Application::Console}};
constexpr Fault::What kFails = Fault::Fails;

const PictureDescription kAlpha = {.hasAlphaChannel = true};
const PictureDescription kUnlockable = {.lockable = false};
const PictureDescription kSmaller = {.width = 4, .height = 3};

const std::string kWithoutCopy = "no PluginGetStringData\n";
const std::string kMask = "REALGetPictureMask p 0\n";
const std::string kMaskDropped = "REALUnlockObject mask\n";
const std::string kScrolledByPlatform = "lockPictureDescription p\nunlockPictureDescription p\n";

// clang-format off

const struct {
    const char *what;
    Hosts hosts;
    Call call;
    const char *result;
    std::string calls;
} kOperations[] = {
    {"one picture to another", {}, On({}, "InvertKVT"), "new picture", Opened("p") + kMadeAndRendered + Closed("p")},
    {"with an alpha channel", {}, On(kAlpha, "ChangeContrastKVT", 1.0), "new picture",
     Opened("p") + kMadeWithAlpha + Closed("p")},
    {"into a plain picture", {}, On(kAlpha, "ExtractColorKVT", 1, 2, 3), "new picture",
     Opened("p") + kMadeAndRendered + Closed("p")},
    {"a new picture that cannot be locked", {.faults = {{"REALLockPictureDescription", kFails, 3}}},
     On({}, "InvertKVT"), "nil",
     Opened("p") + "newPicture 5 3 32\n" + Asked(kNew) + "REALUnlockObject new picture\n" + Closed("p")},
    {"a picture that is refused once it is locked", kDesktopAlone, On({.bitsPerPixel = 24}, "InvertKVT"), "nil",
     Asked("p") + "unlockPictureDescription p\n"},

    {"tables, a new picture", {}, Transform(Target::None), "new picture",
     kTablesViewed + Opened("p") + kMadeAndRendered + Closed("p") + kTablesDropped},
    {"tables, into a target", {}, Transform(Target::Other), "dest",
     kTablesViewed + Opened("p") + Measured("dest") + Opened("dest") + Rendered("dest") + Closed("p") + kTablesDropped},
    {"tables, in place", {}, Transform(Target::Itself), "p",
     kTablesViewed + Opened("p") + Measured("p") + Opened("p") + Rendered("p") + Closed("p") + kTablesDropped},
    {"tables, a target that cannot be locked", {}, Transform(Target::Other, kUnlockable), "new picture",
     kTablesViewed + Opened("p") + Measured("dest") + Asked("dest") + kMadeAndRendered + Closed("p") + kTablesDropped},

    {"two pictures", {}, Of("MergePictureKVT", {"a", "b"}), "new picture",
     Opened("a") + Opened("b") + kMadeAndRendered + Closed("b") + Closed("a")},
    {"a channel", {}, With("ReplaceRedChannelKVT", "channel", {}), "new picture",
     Opened("p") + Opened("channel") + kMadeAndRendered + Closed("channel") + Closed("p")},
    {"a nil channel", {}, On({}, "ReplaceBlueChannelKVT", nullptr), "nil", Raised("27")},
    {"three pictures", {}, Of("CombinePicturesKVT", {"red", "blue", "green"}), "new picture",
     Opened("red") + Opened("green") + Opened("blue") + kMadeAndRendered + Closed("blue") + Closed("green") +
         Closed("red")},
    {"three pictures, one refused", kConsoleAlone,
     Of("CombinePicturesKVT", {"red", "blue", "green"}, {.paletteRows = 1}), "nil",
     Opened("red") + Asked("green") + "unlockPictureDescription green\n" + Closed("red")},

    {"sepia, for the first time", {}, Of("PictureSepiaKVT", "Run", Held::Source), "true",
     Opened("p") + kMadeAndRendered + Closed("p")},
    {"sepia, again", {}, Of("PictureSepiaKVT", "Run", Held::Both), "true",
     Opened("p") + kMadeAndRendered + "REALUnlockObject old\n" + Closed("p")},
    {"a color table, again", {}, Of("PictureLut3DKVT", "Run", Held::Both), "true",
     "REALUnlockObject old\n" + Opened("p") + kMadeAndRendered + Closed("p")},
    {"a color table on nil", {}, Of("PictureLut3DKVT", "Run", Held::Old), "false", "REALUnlockObject old\n"},
    {"closing an instance", kDesktopAlone, Of("PictureSepiaKVT", "Close", Held::Both), "nil",
     "REALUnlockObject p\nREALUnlockObject old\n"},

    {"scrolling down around the edge", {}, On({}, "ScrollVerticalKVT", 1, true, false), "true", Changed("p")},
    {"scrolling both ways", {}, On({}, "ScrollKVT", 1, 1, true, false), "true", Changed("p") + Changed("p")},
    {"scrolling both ways with the mask", {}, WithMask({}, "ScrollKVT", 1, 1, true, true), "true",
     kMask + Changed("mask") + kMaskDropped + Changed("p") + kMask + Changed("mask") + kMaskDropped + Changed("p")},
    {"scrolling by nothing with the mask", {}, WithMask({}, "ScrollHorizontalKVT", 0, true, true), "true",
     kMask + kMaskDropped},
    {"scrolling both ways by the platform", {}, On({.form = Form::GraphicsWorld}, "ScrollKVT", 1, 1, false, false),
     "true", kScrolledByPlatform + kScrolledByPlatform},
    {"scrolling what the platform cannot", {}, On({}, "ScrollVerticalKVT", 1, false, false), "false",
     kScrolledByPlatform},

    {"a test", {}, On({}, "isGrayKVT", 255), "true", Opened("p") + Closed("p")},
    {"a search", {}, With("FindPicture", "needle", {}, 7, 7), "true, x 0, y 0",
     Opened("p") + Opened("needle") + Closed("needle") + Closed("p")},
    {"a search for nil", {}, On({}, "FindPicture", nullptr, 7, 7), "false, x 0, y 0", Opened("p") + Closed("p")},
    {"counting into blocks that are made", {}, Count(false), "nil, count 15",
     "newMemoryBlock 1024\nnewMemoryBlock 1024\nnewMemoryBlock 1024\n" + Opened("p") +
         "memoryBlockGetPtr new memory block\nmemoryBlockGetPtr new memory block 2\n"
         "memoryBlockGetPtr new memory block 3\n" + Closed("p")},
    {"counting into given blocks", {}, Count(true), "nil, count 15",
     Opened("p") + Counters("red") + Counters("blue") + Counters("green") + Closed("p")},

    {"to bytes", {}, Of("PicturetoBinaryStringKVT", {"p"}), "new string",
     Opened("p") + "REALBuildString 85\nREALSetStringEncoding new string 0xFFFF\n" + Closed("p")},
    {"from bytes", {}, Unpack, "new picture",
     "PluginGetStringData text 0xFFFF\n" + kMadeAndRendered + "PluginDisposeStringData\n"},
    {"from bytes in place", {.version = 2012.9}, Unpack, "new picture",
     "REALLockString text\n" + kMadeAndRendered + "REALUnlockString text\n"},
    {"from bytes that the module copies", {.faults = {{"PluginGetStringData"}}}, Unpack, "new picture",
     kWithoutCopy + kLengthFound + kCopied + kMadeAndRendered + "PluginDisposeStringData\n"},
    {"from bytes that the module copies and frees",
     {.faults = {{"PluginGetStringData"}, {"PluginDisposeStringData"}}}, Unpack, "new picture",
     kWithoutCopy + kLengthFound + kCopied + kMadeAndRendered + "no PluginDisposeStringData\n"},

    {"reading the embedded mask", {}, On(kAlpha, "EmbeddedMaskKVT", false), "new picture",
     Opened("p") + kMadeAndRendered + Closed("p")},
    {"assigning the embedded mask", {}, AssignMask, "nothing",
     Opened("p") + Opened("mask") + Closed("mask") + ClosedWritten("p")},
    {"asking for a mask", {}, WithMask({}, "HasMaskKVT"), "true", kMask + kMaskDropped},

    {"a waveform", {}, Render(0), "new picture", kSamplesFound + kMadeAndRendered},
    {"a waveform with a thin outline", {}, Render(1), "new picture", kSamplesFound + kMadeAndRendered},
    {"a waveform with a thick outline", {}, Render(2), "new picture",
     kSamplesFound + kMadeAndRendered + ThickOutline()},
    {"a waveform without a surface for its outline", {.faults = {{"pluginPictureGraphicsGetter"}}}, Render(2),
     "new picture", kSamplesFound + kMadeAndRendered + "no pluginPictureGraphicsGetter\n"},

    {"a copy, drawn", kDesktopAlone, On(kUnlockable, "isGrayKVT", 255), "true",
     Asked("p") + kCopyDrawn + Opened(kNew) + "REALUnlockObject new picture\n" + Closed(kNew)},
    {"a copy, after a lock that older hosts leave behind", {.kinds = {Application::Desktop}, .version = 2011.0},
     On(kUnlockable, "isGrayKVT", 255), "true",
     Asked("p") + "unlockPictureDescription p\n" + kCopyDrawn + Opened(kNew) + "REALUnlockObject new picture\n" +
         Closed(kNew)},
    {"a copy that is not to be had for changing", kDesktopAlone, On(kUnlockable, "ScrollVerticalKVT", 1, true, false),
     "false", Asked("p")},
};

// clang-format on

std::string WithType(std::string calls, Application application) {
    const std::string type = application == Application::Desktop ? " 8\n" : " 10\n";
    for (std::size_t at = 0; (at = calls.find(" T\n", at)) != std::string::npos;)
        calls.replace(at, 3, type);
    return calls;
}

TEST(HostCalls, AreTheseInThisOrder) {
    for (const auto &row : kOperations)
        for (const Application kind : row.hosts.kinds) {
            SCOPED_TRACE(std::string(row.what) + (kind == Application::Desktop ? ", desktop" : ", console"));
            Scene scene({.application = kind, .version = row.hosts.version, .faults = row.hosts.faults});
            scene.LearnKind();
            EXPECT_EQ(row.call(scene), row.result);
            EXPECT_EQ(scene.log(), WithType(row.calls, kind));
        }
}

/// Each class drops a picture first and forgets it then, so the host still finds it in the field meanwhile.
TEST(HostCalls, DropAPictureThatIsStillInItsField) {
    for (const char *className : {"PictureSepiaKVT", "PictureLut3DKVT"})
        for (const char *method : {"Run", "Close"}) {
            SCOPED_TRACE(std::string(className) + '.' + method);
            Host *host = nullptr;
            Ref instance;
            bool found = false;
            const auto look = [&](const std::string &call) {
                if (instance && call == "REALUnlockObject old")
                    found = !host->Get(instance, "DestinationPicture").IsNil();
            };
            TestHost made({.log = look});
            host = &made;
            instance = made.New(className);
            const Ref old = made.Make({});
            old.object()->name = "old";
            made.Set(instance, "SourcePicture", old);
            made.Set(instance, "DestinationPicture", old);
            made.Call(instance, method);
            EXPECT_TRUE(found);
            instance = {};
        }
}

// What a host's version makes different. Each tells whether the host counts as one of that version.

bool KnowsFlags(Scene &scene) { return scene.host().PictureMethods()[17].record.flags == 4; }

bool MakesAlphaChannels(Scene &scene) {
    return scene.Call(scene.Picture("p", {.hasAlphaChannel = true}), "InvertKVT") == kNew;
}

bool LeavesNoFailedLocks(Scene &scene) {
    scene.Call(scene.Picture("p", {.hasAlphaChannel = true, .lockable = false}), "InvertKVT");
    return scene.log().find("unlockPictureDescription p") == std::string::npos;
}

bool CopiesStrings(Scene &scene) {
    Unpack(scene);
    return scene.log().starts_with("PluginGetStringData");
}

constexpr struct {
    const char *what;
    double threshold;
    bool (*isNewer)(Scene &);
} kThresholds[] = {
    {"flags", 2010.029, KnowsFlags},
    {"alpha channels", 2011.04, MakesAlphaChannels},
    {"failed locks", 2012.0, LeavesNoFailedLocks},
    {"strings", 2013.0, CopiesStrings},
};

TEST(HostVersion, CountsFromTheVeryNumberOn) {
    for (const auto &row : kThresholds)
        for (const auto &[version, newer] :
             {std::pair(std::nextafter(row.threshold, 0.0), false), std::pair(row.threshold, true),
              std::pair(std::nextafter(row.threshold, 9999.0), true), std::pair(9999.0, true), std::pair(0.0, false)}) {
            SCOPED_TRACE(testing::Message() << row.what << ", " << std::setprecision(17) << version);
            Scene scene({.version = version});
            scene.LearnKind();
            EXPECT_EQ(row.isNewer(scene), newer);
        }
}

} // namespace
