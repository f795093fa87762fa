#include "support/test_host.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <map>
#include <string>
#include <string_view>

/// What the module asks of its host, call by call and in order: the host's log of each kind of operation. That all of
/// it balances is what the host's audit shows; here stands what hosts can tell beyond that.
namespace {

using namespace standin;

/// A value, or an object of the scene by its name.
struct Argument {
    Argument(const char *name_) : name(name_) {}
    template <class Any> Argument(Any value_) : value(value_) {}
    const char *name = nullptr;
    Value value;
};

struct Call {
    const char *receiver; ///< a picture, a class, or null for a global method
    const char *method;
    std::vector<Argument> arguments = {}; ///< of a class's method instead its source picture and its old result
    const char *odd = "";                 ///< the picture that is as described; the others are five by three
    PictureDescription description = {};
    bool masked = false;  ///< the receiver has a mask
    bool assigns = false; ///< the last argument
};

/// The objects of a row, each called by a name in the log.
class Scene {
  public:
    explicit Scene(HostDescription description) : host_(Logged(std::move(description))) {
        if (host_.description().application != Application::Unknown) // rows need not tell how that is learned
            Do({"first", "isWhiteKVT"});
        log_.clear();
    }

    TestHost &host() { return host_; }
    const std::string &log() const { return log_; }

    /// Yields the result and the numbers in variables.
    std::string Do(const Call &call) {
        std::vector<Value> arguments;
        for (const Argument &argument : call.arguments)
            arguments.push_back(argument.name ? Named(argument.name, call) : argument.value);
        if (!call.receiver)
            return Text(host_.CallGlobalWith(call.method, arguments));
        if (std::string_view(call.receiver).ends_with("KVT")) {
            instance_ = host_.New(call.receiver);
            constexpr const char *kFields[] = {"SourcePicture", "DestinationPicture"};
            for (std::size_t i = 0; i < arguments.size(); ++i)
                host_.Set(instance_, kFields[i], arguments[i]);
            return Text(host_.Call(instance_, call.method));
        }
        const Value receiver = Named(call.receiver, call);
        if (call.masked)
            host_.AttachMask(receiver.AsRef(), Named("mask", call));
        if (!call.assigns)
            return Text(host_.CallWith(receiver, call.method, arguments));
        const Value assigned = arguments.back();
        arguments.pop_back();
        return Text(host_.Assign(receiver, call.method, arguments, assigned));
    }

  private:
    /// A class drops a picture first and forgets it then, so that the host still finds it in the field meanwhile.
    HostDescription Logged(HostDescription description) {
        description.log = [this](const std::string &call) {
            if (call == "REALUnlockObject old" && host_.Get(instance_, "DestinationPicture").IsNil())
                log_ += "forgotten: ";
            log_ += call + '\n';
        };
        return description;
    }

    Ref Named(const std::string &name, const Call &call) {
        Ref &object = objects_[name];
        if (!object)
            object = MakeNamed(name, call);
        object.object()->name = name;
        if (name != "text")
            host_.MayChange(object);
        return object;
    }

    /// Blocks are called as the channels that they are for.
    Ref MakeNamed(const std::string &name, const Call &call) {
        if (name == "red" || name == "green" || name == "blue")
            return host_.MakeBlock(1024);
        if (name == "samples") // silence in five columns
            return host_.MakeBlock(5, std::vector<unsigned char>(5, 128));
        if (name == "text") {
            std::string bytes = "PPIC";
            for (const int number : {85, 5, 3, 32, 40, 0, 0, 0, 0})
                bytes += std::string(3, '\0') + static_cast<char>(number);
            return host_.MakeString(bytes + std::string(45, 'x'));
        }
        PictureDescription wanted = name == call.odd ? call.description : PictureDescription{};
        if (wanted.width == 1) {
            wanted.width = 5;
            wanted.height = 3;
        }
        return host_.Make(wanted);
    }

    static std::string Text(const Result &result) {
        const Value &value = result.value;
        std::string text = value.Is<bool>()  ? (value.AsBoolean() ? "true" : "false")
                           : value.Is<Ref>() ? value.AsRef().object()->name
                                             : "nil";
        for (const auto &[name, variable] : result.byref)
            if (variable.Is<std::int64_t>())
                text += ", " + name + ' ' + std::to_string(variable.AsInteger());
        return text;
    }

    std::string log_;
    TestHost host_;
    std::map<std::string, Ref> objects_;
    Ref instance_;
};

/// Words for the steps that operations are made of: * is what stands behind the word, T the type that is locked where a
/// picture is of the host at hand.
constexpr struct {
    std::string_view word;
    const char *steps;
} kWords[] = {
    {"ask", "REALGetPropValueBool * HasAlphaChannel; REALLockPictureDescription * T"},
    {"unlock", "unlockPictureDescription *"},
    {"drop", "REALUnlockObject *"},
    {"clear", "REALPictureClearCache *"},
    {"open", "ask *; REALLockObject *"},
    {"refuse", "ask *; unlock *"},
    {"close", "unlock *; drop *"},
    {"finish", "unlock *; clear *; drop *"},
    {"change", "open *; finish *"},
    {"render", "REALLockObject *; finish *; clear *"},
    {"yield", "newPicture 5 3 32; open new picture; drop new picture; render new picture"},
    {"yieldAlpha", "PluginNewInstance Picture; "
                   "REALLoadObjectMethod new picture Constructor(width as integer, height as integer); "
                   "Picture.Constructor new picture 5 3; open new picture; drop new picture; render new picture"},
    {"measure", "REALGetPropValueInt * Width; REALGetPropValueInt * Height"},
    {"prepareCopy",
     "measure *; newPicture 5 3 32; pluginPictureGraphicsGetter new picture; "
     "REALLoadObjectMethod new drawing surface DrawPicture(Image as Picture, x as Integer, y as Integer, "
     "w as Integer, h as Integer, sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = "
     "-10000)"},
    {"copy", "prepareCopy *; Graphics.DrawPicture new drawing surface * 0 0 5 3 0 0 5 3; drop new drawing surface; "
             "open new picture; drop new picture; close new picture"},
    {"learn", "pluginObjectType Application; pluginObjectType WebApplication; pluginObjectType ConsoleApplication"},
    {"askForBitmap", "REALGetPropValueBool * HasAlphaChannel; REALLockPictureDescription * 8"},
    {"view", "REALLockObject *; memoryBlockGetPtr *; memoryBlockGetSize *"},
    {"viewTables", "view red; view green; view blue"},
    {"dropTables", "drop blue; drop green; drop red"},
    {"measureBlock", "memoryBlockGetSize *; memoryBlockGetPtr *"},
    {"getMask", "REALGetPictureMask p 0"},
    {"scrollMask", "getMask; change mask; drop mask"},
    {"scrollWorld", "lockPictureDescription p; unlockPictureDescription p"},
    {"raise", "REALBuildString *; REALSetStringEncoding new string 0x600; PluginNewInstance NilObjectException; "
              "REALSetPropValueString new exception Message new string; RuntimeRaiseException new exception; "
              "drop new exception; REALUnlockString new string"},
    {"copyText", "no PluginGetStringData; REALLoadGlobalMethod LenB( s as string ) as integer; LenB text; "
                 "StringGetCString text"},
    {"drawTwice", "RuntimeGraphicsDrawLine new drawing surface *; RuntimeGraphicsDrawLine new drawing surface *"},
    {"outline", "pluginPictureGraphicsGetter new picture; "
                "REALSetPropValueUInt32 new drawing surface ForeColor 0x203F4E; "
                "REALSetPropValueInt new drawing surface PenHeight 2; "
                "REALSetPropValueInt new drawing surface PenWidth 2; drawTwice -1 0 -1 0; drawTwice -1 0 0 0; "
                "drawTwice 0 0 1 0; drawTwice 1 0 2 0; drawTwice 2 0 3 0; drop new drawing surface"},
};

void Replace(std::string &text, std::string_view what, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
}

/// The log of steps, which are words or lines of the log and stand between semicolons.
std::string LogOf(std::string steps, const std::string &object = "") {
    Replace(steps, "*", object);
    std::string log;
    for (std::size_t at = 0; at < steps.size();) {
        const std::size_t end = std::min(steps.find("; ", at), steps.size());
        const std::string step = steps.substr(at, end - at);
        const std::size_t space = std::min(step.find(' '), step.size());
        const auto *known = std::find_if(std::begin(kWords), std::end(kWords),
                                         [&](const auto &row) { return row.word == step.substr(0, space); });
        log += known == std::end(kWords) ? step + '\n'
                                         : LogOf(known->steps, step.substr(std::min(space + 1, step.size())));
        at = end + 2;
    }
    return log;
}

/// Where a row is tried.
struct Hosts {
    std::vector<Application> kinds = {Application::Desktop, Application::Console};
    double version = 2019.03;
    std::vector<Fault> faults = {};
};
const Hosts kDesktop = {.kinds = {Application::Desktop}};
const Hosts kConsole = {.kinds = {Application::Console}};

const PictureDescription kAlpha = {.hasAlphaChannel = true};
const PictureDescription kUnlockable = {.lockable = false};

Call Masked(Call call) {
    call.masked = true;
    return call;
}
Call Assigning(Call call) {
    call.assigns = true;
    return call;
}
Call Transform(Argument dest, PictureDescription description = {}) {
    return {"p", "TransformColorsKVT", {"red", "blue", "green", dest}, "dest", description};
}
/// The top bytes of the colors count for nothing.
Call Render(int outlineWidth) {
    const std::vector<Argument> arguments = {"samples",    0,           1,           5,          3,
                                             outlineWidth, 0xAA88B5C4u, 0xAA274C5Au, 0xAA203F4Eu};
    return {nullptr, "RenderSamplesKVT", arguments};
}

// clang-format off

const struct {
    const char *what;
    Hosts hosts;
    Call call;
    const char *result;
    const char *steps;
} kOperations[] = {
    {"one picture to another", {}, {"p", "InvertKVT"}, "new picture", "open p; yield; close p"},
    {"with an alpha channel", {}, {"p", "ChangeContrastKVT", {1.0}, "p", kAlpha}, "new picture",
     "open p; yieldAlpha; close p"},
    {"a new picture that cannot be locked", {.faults = {{"REALLockPictureDescription", Fault::Fails, 3}}},
     {"p", "InvertKVT"}, "nil", "open p; newPicture 5 3 32; ask new picture; drop new picture; close p"},
    {"a picture that is refused once it is locked", kDesktop, {"p", "InvertKVT", {}, "p", {.bitsPerPixel = 24}}, "nil",
     "refuse p"},

    {"tables, a new picture", {}, Transform(nullptr), "new picture",
     "viewTables; open p; yield; close p; dropTables"},
    {"tables, into a target", {}, Transform("dest"), "dest",
     "viewTables; open p; measure dest; open dest; render dest; close p; dropTables"},
    {"tables, a target that cannot be locked", {}, Transform("dest", kUnlockable), "new picture",
     "viewTables; open p; measure dest; ask dest; yield; close p; dropTables"},

    {"two pictures", {}, {nullptr, "MergePictureKVT", {"a", "b"}}, "new picture",
     "open a; open b; yield; close b; close a"},
    {"two pictures, one of them nil", {}, {nullptr, "MergePictureKVT", {"a", nullptr}}, "nil", ""},
    {"a channel", {}, {"p", "ReplaceRedChannelKVT", {"channel"}}, "new picture",
     "open p; open channel; yield; close channel; close p"},
    {"a nil channel", {}, {"p", "ReplaceBlueChannelKVT", {nullptr}}, "nil", "raise 27"},
    {"three pictures", {}, {nullptr, "CombinePicturesKVT", {"r", "b", "g"}}, "new picture",
     "open r; open g; open b; yield; close b; close g; close r"},
    {"three pictures, one refused", kConsole,
     {nullptr, "CombinePicturesKVT", {"r", "b", "g"}, "g", {.paletteRows = 1}}, "nil", "open r; refuse g; close r"},

    {"sepia, for the first time", {}, {"PictureSepiaKVT", "Run", {"p"}}, "true", "open p; yield; close p"},
    {"sepia, again", {}, {"PictureSepiaKVT", "Run", {"p", "old"}}, "true", "open p; yield; drop old; close p"},
    {"a color table, again", {}, {"PictureLut3DKVT", "Run", {"p", "old"}}, "true", "drop old; open p; yield; close p"},
    {"closing an instance", {}, {"PictureSepiaKVT", "Close", {"p", "old"}}, "nil", "drop p; drop old"},

    {"scrolling down around the edge", {}, {"p", "ScrollVerticalKVT", {1, true, false}}, "true", "change p"},
    {"scrolling both ways with the mask", {}, Masked({"p", "ScrollKVT", {1, 1, true, true}}), "true",
     "scrollMask; change p; scrollMask; change p"},
    {"scrolling by nothing with the mask", {}, Masked({"p", "ScrollHorizontalKVT", {0, true, true}}), "true",
     "getMask; drop mask"},
    {"scrolling both ways by the platform", {},
     {"p", "ScrollKVT", {1, 1, false, false}, "p", {.form = Form::GraphicsWorld}}, "true", "scrollWorld; scrollWorld"},
    {"scrolling what the platform cannot", {}, {"p", "ScrollVerticalKVT", {1, false, false}}, "false", "scrollWorld"},

    {"a search", {}, {"p", "FindPicture", {"needle", 7, 7}}, "true, x 0, y 0",
     "open p; open needle; close needle; close p"},
    {"a search for nil", {}, {"p", "FindPicture", {nullptr, 7, 7}}, "false, x 0, y 0", "open p; close p"},
    {"a search in what cannot be read", kDesktop, {"p", "FindPicture", {"needle", 7, 7}, "p", {.bitsPerPixel = 24}},
     "false, x 0, y 0", "refuse p"},
    {"counting into blocks that are made", {}, {"p", "CountColorsKVT", {nullptr, nullptr, nullptr, 0}}, "nil, count 15",
     "newMemoryBlock 1024; newMemoryBlock 1024; newMemoryBlock 1024; open p; memoryBlockGetPtr new memory block; "
     "memoryBlockGetPtr new memory block 2; memoryBlockGetPtr new memory block 3; close p"},
    {"counting into given blocks", {}, {"p", "CountColorsKVT", {"red", "blue", "green", 0}}, "nil, count 15",
     "open p; measureBlock red; measureBlock blue; measureBlock green; close p"},

    {"to bytes", {}, {nullptr, "PicturetoBinaryStringKVT", {"p"}}, "new string",
     "open p; REALBuildString 85; REALSetStringEncoding new string 0xFFFF; close p"},
    {"from bytes", {}, {nullptr, "BinaryStringtoPictureKVT", {"text"}}, "new picture",
     "PluginGetStringData text 0xFFFF; yield; PluginDisposeStringData"},
    {"from bytes in place", {.version = 2012.9}, {nullptr, "BinaryStringtoPictureKVT", {"text"}}, "new picture",
     "REALLockString text; yield; REALUnlockString text"},
    {"from bytes that the module copies and frees",
     {.faults = {{"PluginGetStringData"}, {"PluginDisposeStringData"}}},
     {nullptr, "BinaryStringtoPictureKVT", {"text"}}, "new picture", "copyText; yield; no PluginDisposeStringData"},

    {"assigning the embedded mask", {}, Assigning({"p", "EmbeddedMaskKVT", {false, "mask"}}), "nil",
     "open p; open mask; close mask; finish p"},
    {"asking for a mask", {}, Masked({"p", "HasMaskKVT", {}}), "true", "getMask; drop mask"},

    {"a waveform", {}, Render(0), "new picture", "measureBlock samples; yield"},
    {"a waveform with a thick outline", {}, Render(2), "new picture", "measureBlock samples; yield; outline"},
    {"a waveform without a surface for its outline", {.faults = {{"pluginPictureGraphicsGetter"}}}, Render(2),
     "new picture", "measureBlock samples; yield; no pluginPictureGraphicsGetter"},

    {"a copy, drawn", kDesktop, {"p", "isGrayKVT", {255}, "p", kUnlockable}, "true", "ask p; copy p"},
    {"a copy that the module makes", {.kinds = {Application::Unknown}, .faults = {{"Graphics.DrawPicture"}}},
     {"p", "isGrayKVT", {255}, "p", {.form = Form::Console}}, "true",
     "learn; askForBitmap p; prepareCopy p; no Graphics.DrawPicture; REALLockPictureDescription p T; "
     "REALLockPictureDescription new picture T; unlock new picture; unlock p; clear new picture; "
     "drop new drawing surface; learn; askForBitmap new picture; REALLockPictureDescription new picture T; "
     "REALLockObject new picture; drop new picture; close new picture"},
    {"a copy, after a lock that older hosts leave behind", {.kinds = {Application::Desktop}, .version = 2011.0},
     {"p", "isGrayKVT", {255}, "p", kUnlockable}, "true", "refuse p; copy p"},
    {"a copy that is not to be had for changing", kDesktop,
     {"p", "ScrollVerticalKVT", {1, true, false}, "p", kUnlockable}, "false", "ask p"},
};

// clang-format on

TEST(HostCalls, AreTheseInThisOrder) {
    for (const auto &row : kOperations)
        for (const Application kind : row.hosts.kinds) {
            SCOPED_TRACE(std::string(row.what) + (kind == Application::Desktop ? ", desktop" : ", console"));
            Scene scene({.application = kind, .version = row.hosts.version, .faults = row.hosts.faults});
            EXPECT_EQ(scene.Do(row.call), row.result);
            std::string log = LogOf(row.steps);
            Replace(log, " T\n", kind == Application::Desktop ? " 8\n" : " 10\n");
            EXPECT_EQ(scene.log(), log);
        }
}

// What a host's version makes different. Each tells whether the host counts as one of that version.

bool KnowsFlags(Scene &scene) { return scene.host().PictureMethods()[17].record.flags == 4; }

bool MakesAlphaChannels(Scene &scene) { return scene.Do({"p", "InvertKVT", {}, "p", kAlpha}) == "new picture"; }

bool LeavesNoFailedLocks(Scene &scene) {
    scene.Do({"p", "InvertKVT", {}, "p", {.hasAlphaChannel = true, .lockable = false}});
    return scene.log().find("unlockPictureDescription p") == std::string::npos;
}

bool CopiesStrings(Scene &scene) {
    scene.Do({nullptr, "BinaryStringtoPictureKVT", {"text"}});
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
            EXPECT_EQ(row.isNewer(scene), newer);
        }
}

} // namespace
