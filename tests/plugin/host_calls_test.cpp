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
    Ref WithMask(const Ref &picture, PictureDescription wanted = {}) {
        host_.AttachMask(picture, Picture("mask", std::move(wanted)));
        return picture;
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

  private:
    HostDescription Logged(HostDescription description) {
        description.log = [this](const std::string &call) { log_ += call + '\n'; };
        return description;
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

std::string Viewed(const std::string &block) {
    return "REALLockObject " + block + "\nmemoryBlockGetPtr " + block + "\nmemoryBlockGetSize " + block + '\n';
}
const std::string kTablesViewed = Viewed("red") + Viewed("green") + Viewed("blue");
const std::string kTablesDropped = "REALUnlockObject blue\nREALUnlockObject green\nREALUnlockObject red\n";
const std::string kTargetMeasured = "REALGetPropValueInt dest Width\nREALGetPropValueInt dest Height\n";

const std::string kKindLearned = "pluginObjectType Application\npluginObjectType WebApplication\n"
                                 "pluginObjectType ConsoleApplication\n";

/// From the first lock on, which fails, to the drawn copy.
std::string CopyMade(const std::string &picture, const std::string &drawn) {
    return "REALGetPropValueInt " + picture + " Width\nREALGetPropValueInt " + picture +
           " Height\nnewPicture 5 3 32\npluginPictureGraphicsGetter new picture\n"
           "REALLoadObjectMethod new drawing surface DrawPicture(Image as Picture, x as Integer, y as Integer, "
           "w as Integer, h as Integer, sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, "
           "sh as Integer = -10000)\n" +
           drawn + "REALUnlockObject new drawing surface\n";
}
const std::string kDrawn = "Graphics.DrawPicture new drawing surface p 0 0 5 3 0 0 5 3\n";

std::string Raised(const char *length, const char *instances) {
    return std::string("REALBuildString ") + length + "\nREALSetStringEncoding new string 0x600\n" + instances +
           "REALSetPropValueString new exception Message new string\nRuntimeRaiseException new exception\n"
           "REALUnlockObject new exception\nREALUnlockString new string\n";
}
const char *const kNilObject = "PluginNewInstance NilObjectException\n";

const std::string kLengthFound = "REALLoadGlobalMethod LenB( s as string ) as integer\n";
const std::string kCopied = "LenB text\nStringGetCString text\n";

const std::string kSamplesFound = "memoryBlockGetSize samples\nmemoryBlockGetPtr samples\n";

std::string BytesOfPicture() {
    std::string bytes = "PPIC";
    for (const std::size_t number : {std::size_t{85}, std::size_t{5}, std::size_t{3}, std::size_t{32}, std::size_t{40},
                                     std::size_t{0}, std::size_t{0}, std::size_t{0}, std::size_t{0}})
        bytes += std::string(3, '\0') + static_cast<char>(number);
    return bytes + std::string(45, 'x');
}

std::string Unpack(Scene &scene) {
    return scene.CallGlobal("BinaryStringtoPictureKVT", scene.Named(scene.host().MakeString(BytesOfPicture()), "text"));
}

std::string Transform(Scene &scene, const Value &receiver, const Value &target) {
    const Ref red = scene.Block("red", 256);
    const Ref green = scene.Block("green", 256);
    const Ref blue = scene.Block("blue", 256);
    return scene.Call(receiver, "TransformColorsKVT", red, blue, green, target);
}

std::string Run(Scene &scene, const char *className, const char *method, const Value &source, bool hasResult = true) {
    const Ref instance = scene.Kept(scene.host().New(className));
    scene.host().Set(instance, "SourcePicture", source);
    if (hasResult)
        scene.host().Set(instance, "DestinationPicture", scene.Picture("old"));
    return scene.Call(instance, method);
}

std::string Count(Scene &scene, bool given) {
    const auto block = [&](const char *name) { return given ? Value(scene.Block(name, 1024)) : Value(); };
    return scene.Call(scene.Picture("p"), "CountColorsKVT", block("red"), block("blue"), block("green"), 0);
}

std::string RenderSound(Scene &scene, int outlineWidth) {
    const std::vector<unsigned char> samples(5, 128);
    const Ref block = scene.Named(scene.host().MakeBlock(5, samples), "samples");
    return scene.CallGlobal("RenderSamplesKVT", block, 0, 1, 5, 3, outlineWidth, 0xAA88B5C4u, 0xAA274C5Au, 0xAA203F4Eu);
}

constexpr double kCurrent = 2019.03;
const std::vector<Application> kOnBoth = {Application::Desktop, Application::Console};
const std::vector<Application> kOnDesktop = {Application::Desktop};
const std::vector<Application> kOnConsole = {Application::Console};

struct Row {
    const char *what;
    std::vector<Application> applications;
    std::optional<double> version;
    std::vector<Fault> faults;
    std::string (*call)(Scene &);
    const char *result;
    std::string calls;
};

const Row kOperations[] = {
    {"nil", kOnBoth, kCurrent, {}, [](Scene &scene) { return scene.Call(nullptr, "InvertKVT"); }, "nil", ""},
    {"scrolling nil",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(nullptr, "ScrollKVT", 1, 1, false, true); },
     "false",
     ""},
    {"one picture to another",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "InvertKVT"); },
     "new picture",
     Opened("p") + kMadeAndRendered + Closed("p")},
    {"with an alpha channel",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p", {.hasAlphaChannel = true}), "ChangeContrastKVT", 1.0); },
     "new picture",
     Opened("p") + kMadeWithAlpha + Closed("p")},
    {"with an alpha channel that the host cannot make",
     kOnBoth,
     2011.0,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p", {.hasAlphaChannel = true}), "InvertKVT"); },
     "nil",
     Opened("p") + Closed("p")},
    {"into a plain picture",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p", {.hasAlphaChannel = true}), "ExtractColorKVT", 1, 2, 3); },
     "new picture",
     Opened("p") + kMadeAndRendered + Closed("p")},
    {"no new pictures",
     kOnBoth,
     kCurrent,
     {{"newPicture"}},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "InvertKVT"); },
     "nil",
     Opened("p") + "no newPicture\n" + Closed("p")},
    {"a new picture that cannot be locked",
     kOnBoth,
     kCurrent,
     {{"REALLockPictureDescription", Fault::Fails, 3}},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "InvertKVT"); },
     "nil",
     Opened("p") + "newPicture 5 3 32\n" + Asked(kNew) + "REALUnlockObject new picture\n" + Closed("p")},
    {"a picture that is refused once it is locked",
     kOnDesktop,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p", {.bitsPerPixel = 24}), "InvertKVT"); },
     "nil",
     Asked("p") + "unlockPictureDescription p\n"},

    {"tables, a new picture",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Transform(scene, scene.Picture("p"), nullptr); },
     "new picture",
     kTablesViewed + Opened("p") + kMadeAndRendered + Closed("p") + kTablesDropped},
    {"tables, into a target",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Transform(scene, scene.Picture("p"), scene.Picture("dest")); },
     "dest",
     kTablesViewed + Opened("p") + kTargetMeasured + Opened("dest") + Rendered("dest") + Closed("p") + kTablesDropped},
    {"tables, in place",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) {
         const Ref picture = scene.Picture("dest");
         return Transform(scene, picture, picture);
     },
     "dest",
     kTablesViewed + Opened("dest") + kTargetMeasured + Opened("dest") + Rendered("dest") + Closed("dest") +
         kTablesDropped},
    {"tables, a target that cannot be locked",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Transform(scene, scene.Picture("p"), scene.Picture("dest", {.lockable = false})); },
     "new picture",
     kTablesViewed + Opened("p") + kTargetMeasured + Asked("dest") + kMadeAndRendered + Closed("p") + kTablesDropped},
    {"tables of unknown size",
     kOnBoth,
     kCurrent,
     {{"memoryBlockGetSize"}},
     [](Scene &scene) { return Transform(scene, scene.Picture("p"), nullptr); },
     "nil",
     "REALLockObject red\nmemoryBlockGetPtr red\nno memoryBlockGetSize\nREALLockObject green\nmemoryBlockGetPtr green\n"
     "no memoryBlockGetSize\nREALLockObject blue\nmemoryBlockGetPtr blue\nno memoryBlockGetSize\n" +
         kTablesDropped},
    {"a nil table",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "TransformColorsKVT", nullptr, nullptr, nullptr); },
     "nil",
     Raised("22", kNilObject)},

    {"two pictures",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.CallGlobal("MergePictureKVT", scene.Picture("a"), scene.Picture("b")); },
     "new picture",
     Opened("a") + Opened("b") + kMadeAndRendered + Closed("b") + Closed("a")},
    {"two pictures of different sizes",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) {
         return scene.CallGlobal("MergePictureKVT", scene.Picture("a"), scene.Picture("b", {.width = 4, .height = 3}));
     },
     "nil",
     Opened("a") + Opened("b") + Closed("b") + Closed("a")},
    {"a channel",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "ReplaceRedChannelKVT", scene.Picture("channel")); },
     "new picture",
     Opened("p") + Opened("channel") + kMadeAndRendered + Closed("channel") + Closed("p")},
    {"a nil channel",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "ReplaceBlueChannelKVT", nullptr); },
     "nil",
     Raised("27", kNilObject)},
    {"three pictures",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) {
         return scene.CallGlobal("CombinePicturesKVT", scene.Picture("red"), scene.Picture("blue"),
                                 scene.Picture("green"));
     },
     "new picture",
     Opened("red") + Opened("green") + Opened("blue") + kMadeAndRendered + Closed("blue") + Closed("green") +
         Closed("red")},
    {"three pictures, one refused",
     kOnConsole,
     kCurrent,
     {},
     [](Scene &scene) {
         return scene.CallGlobal("CombinePicturesKVT", scene.Picture("red"), scene.Picture("blue"),
                                 scene.Picture("green", {.paletteRows = 1}));
     },
     "nil",
     Opened("red") + Asked("green") + "unlockPictureDescription green\n" + Closed("red")},

    {"sepia, for the first time",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Run(scene, "PictureSepiaKVT", "Run", scene.Picture("p"), false); },
     "true",
     Opened("p") + kMadeAndRendered + Closed("p")},
    {"sepia, again",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Run(scene, "PictureSepiaKVT", "Run", scene.Picture("p")); },
     "true",
     Opened("p") + kMadeAndRendered + "REALUnlockObject old\n" + Closed("p")},
    {"sepia of nil",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Run(scene, "PictureSepiaKVT", "Run", nullptr); },
     "false",
     ""},
    {"a color table, again",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Run(scene, "PictureLut3DKVT", "Run", scene.Picture("p")); },
     "true",
     "REALUnlockObject old\n" + Opened("p") + kMadeAndRendered + Closed("p")},
    {"a color table on nil",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Run(scene, "PictureLut3DKVT", "Run", nullptr); },
     "false",
     "REALUnlockObject old\n"},
    {"closing an instance",
     kOnDesktop,
     kCurrent,
     {},
     [](Scene &scene) { return Run(scene, "PictureLut3DKVT", "Close", scene.Picture("p")); },
     "nil",
     "REALUnlockObject p\nREALUnlockObject old\n"},

    {"scrolling down around the edge",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "ScrollVerticalKVT", 1, true, false); },
     "true",
     Changed("p")},
    {"scrolling both ways",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "ScrollKVT", 1, 1, true, false); },
     "true",
     Changed("p") + Changed("p")},
    {"scrolling both ways, the second lock failing",
     kOnBoth,
     kCurrent,
     {{"REALLockPictureDescription", Fault::Fails, 3}},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "ScrollKVT", 1, 1, true, false); },
     "false",
     Changed("p") + Asked("p")},
    {"scrolling by nothing",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "ScrollKVT", 0, 0, true, false); },
     "true",
     ""},
    {"scrolling both ways with the mask",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.WithMask(scene.Picture("p")), "ScrollKVT", 1, 1, true, true); },
     "true",
     "REALGetPictureMask p 0\n" + Changed("mask") + "REALUnlockObject mask\n" + Changed("p") +
         "REALGetPictureMask p 0\n" + Changed("mask") + "REALUnlockObject mask\n" + Changed("p")},
    {"scrolling by nothing with the mask",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.WithMask(scene.Picture("p")), "ScrollHorizontalKVT", 0, true, true); },
     "true",
     "REALGetPictureMask p 0\nREALUnlockObject mask\n"},
    {"scrolling down with a mask that cannot be locked",
     kOnConsole,
     kCurrent,
     {},
     [](Scene &scene) {
         return scene.Call(scene.WithMask(scene.Picture("p"), {.lockable = false}), "ScrollVerticalKVT", 1, true, true);
     },
     "false",
     "REALGetPictureMask p 0\n" + Asked("mask") + "REALUnlockObject mask\n"},
    {"scrolling both ways by the platform",
     kOnDesktop,
     kCurrent,
     {},
     [](Scene &scene) {
         return scene.Call(scene.Picture("p", {.form = Form::GraphicsWorld}), "ScrollKVT", 1, 1, false, false);
     },
     "true",
     "lockPictureDescription p\nunlockPictureDescription p\nlockPictureDescription p\nunlockPictureDescription p\n"},
    {"scrolling what the platform cannot",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "ScrollVerticalKVT", 1, false, false); },
     "false",
     "lockPictureDescription p\nunlockPictureDescription p\n"},

    {"a test",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "isGrayKVT", 255); },
     "true",
     Opened("p") + Closed("p")},
    {"a search",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "FindPicture", scene.Picture("needle"), 7, 7); },
     "true, x 0, y 0",
     Opened("p") + Opened("needle") + Closed("needle") + Closed("p")},
    {"a search for nil",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p"), "FindPicture", nullptr, 7, 7); },
     "false, x 0, y 0",
     Opened("p") + Closed("p")},
    {"counting into blocks that are made",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Count(scene, false); },
     "nil, count 15",
     "newMemoryBlock 1024\nnewMemoryBlock 1024\nnewMemoryBlock 1024\n" + Opened("p") +
         "memoryBlockGetPtr new memory block\nmemoryBlockGetPtr new memory block 2\n"
         "memoryBlockGetPtr new memory block 3\n" +
         Closed("p")},
    {"counting into given blocks",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return Count(scene, true); },
     "nil, count 15",
     Opened("p") +
         "memoryBlockGetSize red\nmemoryBlockGetPtr red\nmemoryBlockGetSize blue\nmemoryBlockGetPtr blue\n"
         "memoryBlockGetSize green\nmemoryBlockGetPtr green\n" +
         Closed("p")},
    {"counting into blocks of unknown size",
     kOnBoth,
     kCurrent,
     {{"memoryBlockGetSize"}},
     [](Scene &scene) { return Count(scene, true); },
     "nil, count -1",
     Opened("p") + "no memoryBlockGetSize\nno memoryBlockGetSize\nno memoryBlockGetSize\n" + Closed("p")},

    {"to bytes",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.CallGlobal("PicturetoBinaryStringKVT", scene.Picture("p")); },
     "new string",
     Opened("p") + "REALBuildString 85\nREALSetStringEncoding new string 0xFFFF\n" + Closed("p")},
    {"from bytes",
     kOnBoth,
     kCurrent,
     {},
     Unpack,
     "new picture",
     "PluginGetStringData text 0xFFFF\n" + kMadeAndRendered + "PluginDisposeStringData\n"},
    {"from bytes, which the host cannot take back",
     kOnBoth,
     kCurrent,
     {{"PluginDisposeStringData"}},
     Unpack,
     "new picture",
     "PluginGetStringData text 0xFFFF\n" + kMadeAndRendered + "no PluginDisposeStringData\n"},
    {"from bytes in place",
     kOnBoth,
     2012.9,
     {},
     Unpack,
     "new picture",
     "REALLockString text\n" + kMadeAndRendered + "REALUnlockString text\n"},
    {"from bytes that the module copies",
     kOnBoth,
     kCurrent,
     {{"PluginGetStringData"}},
     Unpack,
     "new picture",
     "no PluginGetStringData\n" + kLengthFound + kCopied + kMadeAndRendered + "PluginDisposeStringData\n"},
    {"from bytes that the module copies and frees",
     kOnBoth,
     kCurrent,
     {{"PluginGetStringData"}, {"PluginDisposeStringData"}},
     Unpack,
     "new picture",
     "no PluginGetStringData\n" + kLengthFound + kCopied + kMadeAndRendered + "no PluginDisposeStringData\n"},
    {"from bytes without their address",
     kOnBoth,
     kCurrent,
     {{"PluginGetStringData"}, {"StringGetCString"}},
     Unpack,
     "nil",
     "no PluginGetStringData\nno StringGetCString\n" + kLengthFound},
    {"from bytes without their length",
     kOnBoth,
     kCurrent,
     {{"PluginGetStringData"}, {"LenB"}},
     Unpack,
     "nil",
     "no PluginGetStringData\n" + kLengthFound + "no LenB\n"},
    {"from bytes without anything",
     kOnBoth,
     kCurrent,
     {{"PluginGetStringData"}, {"StringGetCString"}, {"REALLoadGlobalMethod"}},
     Unpack,
     "nil",
     "no PluginGetStringData\nno StringGetCString\nno REALLoadGlobalMethod\n"},

    {"reading the embedded mask",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p", {.hasAlphaChannel = true}), "EmbeddedMaskKVT", false); },
     "new picture",
     Opened("p") + kMadeAndRendered + Closed("p")},
    {"assigning the embedded mask",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) {
         scene.host().Assign(scene.Picture("p"), "EmbeddedMaskKVT", {false}, scene.Picture("mask"));
         return std::string("done");
     },
     "done",
     Opened("p") + Opened("mask") + Closed("mask") + ClosedWritten("p")},
    {"asking for a mask",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.WithMask(scene.Picture("p")), "HasMaskKVT"); },
     "true",
     "REALGetPictureMask p 0\nREALUnlockObject mask\n"},

    {"a waveform",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return RenderSound(scene, 0); },
     "new picture",
     kSamplesFound + kMadeAndRendered},
    {"a waveform with a thin outline",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return RenderSound(scene, 1); },
     "new picture",
     kSamplesFound + kMadeAndRendered},
    {"a waveform with a thick outline",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return RenderSound(scene, 2); },
     "new picture",
     kSamplesFound + kMadeAndRendered +
         "pluginPictureGraphicsGetter new picture\n"
         "REALSetPropValueUInt32 new drawing surface ForeColor 0x203F4E\n"
         "REALSetPropValueInt new drawing surface PenHeight 2\nREALSetPropValueInt new drawing surface PenWidth 2\n" +
         [] {
             std::string lines;
             for (const char *segment : {"-1 0 -1 0", "-1 0 0 0", "0 0 1 0", "1 0 2 0", "2 0 3 0"})
                 for (int twice = 0; twice < 2; ++twice)
                     lines += std::string("RuntimeGraphicsDrawLine new drawing surface ") + segment + '\n';
             return lines;
         }() +
         "REALUnlockObject new drawing surface\n"},
    {"a waveform without a surface for its outline",
     kOnBoth,
     kCurrent,
     {{"pluginPictureGraphicsGetter"}},
     [](Scene &scene) { return RenderSound(scene, 2); },
     "new picture",
     kSamplesFound + kMadeAndRendered + "no pluginPictureGraphicsGetter\n"},
    {"a waveform of nil",
     kOnBoth,
     kCurrent,
     {},
     [](Scene &scene) { return scene.CallGlobal("RenderSamplesKVT", nullptr, 0, 1, 5, 3, 0); },
     "nil",
     Raised("18", kNilObject)},

    {"a copy, drawn",
     kOnDesktop,
     kCurrent,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p", {.lockable = false}), "isGrayKVT", 255); },
     "true",
     Asked("p") + CopyMade("p", kDrawn) + Opened(kNew) + "REALUnlockObject new picture\n" + Closed(kNew)},
    {"a copy, after a lock that older hosts leave behind",
     kOnDesktop,
     2011.0,
     {},
     [](Scene &scene) { return scene.Call(scene.Picture("p", {.lockable = false}), "isGrayKVT", 255); },
     "true",
     Asked("p") + "unlockPictureDescription p\n" + CopyMade("p", kDrawn) + Opened(kNew) +
         "REALUnlockObject new picture\n" + Closed(kNew)},
    {"a copy that is not to be had for changing",
     kOnDesktop,
     kCurrent,
     {},
     [](Scene &scene) {
         return scene.Call(scene.Picture("p", {.lockable = false}), "ScrollVerticalKVT", 1, true, false);
     },
     "false",
     Asked("p")},
};

std::string WithType(std::string calls, Application application) {
    const std::string type = application == Application::Desktop ? " 8\n" : " 10\n";
    for (std::size_t at = 0; (at = calls.find(" T\n", at)) != std::string::npos;)
        calls.replace(at, 3, type);
    return calls;
}

TEST(HostCalls, AreTheseInThisOrder) {
    for (const Row &row : kOperations)
        for (const Application application : row.applications) {
            SCOPED_TRACE(std::string(row.what) + (application == Application::Desktop ? ", desktop" : ", console"));
            Scene scene({.application = application, .version = row.version, .faults = row.faults});
            scene.LearnKind();
            const std::string result = row.call(scene);
            EXPECT_EQ(result, row.result);
            EXPECT_EQ(scene.log(), WithType(row.calls, application));
        }
}

const struct {
    const char *what;
    HostDescription host;
    PictureDescription picture;
    std::string calls; ///< behind the look-ups of classes, up to the close
} kFirstPictures[] = {
    {"desktop", {}, {}, Opened("p")},
    {"desktop, though it has other classes as well",
     {.moreClasses = {"WebApplication", "ConsoleApplication"}},
     {},
     Opened("p")},
    {"console", {.application = Application::Console}, {}, Opened("p")},
    {"web", {.application = Application::Web}, {}, Opened("p")},
    {"no known class, a bitmap", {.application = Application::Unknown}, {.form = Form::Bitmap}, Opened("p")},
    {"no known class, a console picture",
     {.application = Application::Unknown},
     {.hasAlphaChannel = true},
     "REALGetPropValueBool p HasAlphaChannel\nREALLockPictureDescription p 8\nREALLockPictureDescription p 10\n"
     "REALLockObject p\n"},
};

TEST(HostCalls, OfTheFirstPictureBeginWithTheKindOfApplication) {
    for (const auto &row : kFirstPictures) {
        SCOPED_TRACE(row.what);
        Scene scene(row.host);
        scene.Call(scene.Picture("p", row.picture), "isGrayKVT", 255);
        const bool isBitmap = row.host.application == Application::Desktop || row.picture.form == Form::Bitmap;
        EXPECT_EQ(scene.log(), WithType(kKindLearned + row.calls + Closed("p"),
                                        isBitmap ? Application::Desktop : Application::Console));
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
