#include "host/handles.h"
#include "standin/host_state.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <type_traits>

/// The host's entries, each a name and a body that an Entry hands objects to once it was called as it should be.
namespace standin {
namespace {

constexpr std::uint32_t kUtf16 = 0x0100;
constexpr std::uint32_t kAsStored = 0xFFFF;

bool Is(const char *text, std::string_view name) { return text && text == name; }

/// Whether a fault lets the entry fail that was called last.
bool gFails;

/// Around every entry: counts the call, takes its time, and finds out whether a fault lets it fail.
class EntryScope {
  public:
    explicit EntryScope(std::string_view name) {
        if (gHost->depth++ == 0) {
            ++gHost->entered;
            start_ = std::chrono::steady_clock::now();
        }
        EntryState &state = gHost->entries[name];
        ++state.calls;
        const Fault *fault = gHost->FaultOf(name);
        wide_ = fault && fault->what == Fault::WideFalse;
        gFails = wide_ || (fault && fault->what == Fault::Fails && fault->call == state.calls);
        state.missed += gFails;
        gHost->strayLocks += gFails && name == "lockPictureDescription";
    }
    ~EntryScope() {
        if (--gHost->depth == 0)
            gHost->timeInEntries += std::chrono::steady_clock::now() - start_;
    }
    EntryScope(const EntryScope &) = delete;
    EntryScope &operator=(const EntryScope &) = delete;

    /// A body's result as the module receives it: of a boolean the low 8 bits count, the others hold anything.
    template <class Yields> auto Handed(Yields value) const {
        if constexpr (std::is_same_v<Yields, bool>)
            return value ? 0xBAD5EE01u : wide_ ? 0x100u : 0xBAD5EE00u;
        else if constexpr (std::is_convertible_v<Yields, const Object *>)
            return value ? value->handle : nullptr;
        else
            return value;
    }

  private:
    bool wide_;
    std::chrono::steady_clock::time_point start_;
};

/// What the module passes for an object.
struct Opaque;
using Handle = const Opaque *;

// What the log tells of an argument; of pointers to anything but objects and texts, nothing.
std::string Word(const void *) { return ""; }
std::string Word(const char *text) { return std::string(" ") + (text ? text : "nil"); }
std::string Word(std::int32_t number) { return ' ' + std::to_string(number); }
std::string Word(std::uint32_t bits) { return fmt::format(" 0x{:X}", bits); }
std::string Word(const REALclassDefinition *definition) { return Word(definition->name); }
std::string Word(const REALmethodDefinition *definition) { return Word(definition->declaration); }
std::string Word(Handle handle) {
    const Object *object = gHost->ObjectAt(handle);
    if (!object)
        return handle ? " unknown" : " nil";
    return ' ' + (object->name.empty() ? object->Describe() : object->name);
}

/// Thrown, and caught by the entry, for a handle of no living object of the wanted kind, which is a violation.
struct NoSuchObject {};

/// What the module passes for a body's parameter: for an object its handle.
template <class Parameter>
using Passed = std::conditional_t<std::is_base_of_v<Object, std::remove_pointer_t<std::remove_reference_t<Parameter>>>,
                                  Handle, Parameter>;

/// How it becomes the parameter: objects as references, or as pointers where nil will do.
template <class Parameter> Parameter Take(Passed<Parameter> passed, std::string_view entry) {
    using Wanted = std::remove_pointer_t<std::remove_reference_t<Parameter>>;
    if constexpr (!std::is_base_of_v<Object, Wanted>) {
        return passed;
    } else if constexpr (std::is_pointer_v<Parameter>) {
        return passed ? &Take<Wanted &>(passed, entry) : nullptr;
    } else {
        std::optional<Kind> kind;
        if constexpr (!std::is_same_v<Wanted, Object>)
            kind = Wanted::kKind;
        if (Object *object = gHost->Find(passed, kind, entry))
            return static_cast<Wanted &>(*object);
        throw NoSuchObject();
    }
}

enum class Nature {
    Ordinary,
    Method,      ///< found through another entry
    EvenFailing, ///< the body runs when a fault lets the entry fail, too, and looks at `gFails`
};

/// The entry around a body: counts and logs the call, checks the objects, and yields what the module receives: without
/// an object that it needs, what it yields when it is missing.
template <class Body, Nature kNature, class Function = decltype(+Body())> struct Entry;
template <class Body, Nature kNature, class Yields, class... Parameters>
struct Entry<Body, kNature, Yields (*)(Parameters...)> {
    static constexpr bool kYieldsBoolean = std::is_same_v<Yields, bool>;
    inline static std::string_view name;

    static auto Call(Passed<Parameters>... passed) {
        const EntryScope scope(name);
        if (gHost->description.log)
            gHost->description.log((std::string(name) + ... + Word(passed)));
        try {
            if (kNature == Nature::EvenFailing || !gFails) {
                if constexpr (std::is_void_v<Yields>)
                    Body()(Take<Parameters>(passed, name)...);
                else
                    return scope.Handed(Body()(Take<Parameters>(passed, name)...));
            }
        } catch (const NoSuchObject &) { // the violation tells
        }
        if constexpr (!std::is_void_v<Yields>)
            return scope.Handed(Yields());
    }
};

struct KnownEntry : EntryName {
    void *address;
    Nature nature;
};

struct EntryTable : std::vector<KnownEntry> {
    template <Nature kNature = Nature::Ordinary, class Body> void Add(std::string_view name, Body) {
        using Around = Entry<Body, kNature>;
        Around::name = name;
        push_back({{name, Around::kYieldsBoolean}, reinterpret_cast<void *>(Around::Call), kNature});
    }
};

/// What the module gets that asks for an entry or a method; null, which is logged, when a fault keeps it away.
void *Offer(std::string_view name);

void AppendUtf8(std::string &out, std::uint32_t character) {
    const auto add = [&](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    const auto addLower = [&](std::uint32_t bits) { add(0x80 | (bits & 63)); };
    if (character < 0x80)
        return add(character);
    if (character < 0x800) {
        add(0xC0 | character >> 6);
    } else {
        add(0xE0 | character >> 12);
        addLower(character >> 6);
    }
    addLower(character);
}

void AddStartUp(EntryTable &table) {
    table.Add("RegisterPluginVersion", [](std::int32_t version) {
        gHost->startUpLog.push_back(fmt::format("RegisterPluginVersion {}", version));
    });
    table.Add("REALGetRBVersion", [] {
        gHost->startUpLog.push_back("REALGetRBVersion");
        return *(gHost->toldVersion = gHost->description.version);
    });
    table.Add("PluginRegisterClass", [](REALclassDefinition *definition) {
        if (definition->dataOffset != 0)
            gHost->Violation(Concern::Calls, "the record of class {} has a data offset already", definition->name);
        definition->dataOffset = gHost->description.dataOffset;
        auto registered = std::make_unique<RegisteredClass>();
        ReadClass(*registered, *definition);
        gHost->startUpLog.push_back("class " + registered->name);
        gHost->classes.push_back(std::move(registered));
    });
    table.Add("PluginRegisterClassExtension", [](REALclassDefinition *definition) {
        ReadClass(gHost->pictureExtension, *definition);
        gHost->startUpLog.push_back("extension of " + gHost->pictureExtension.name);
    });
    table.Add("PluginRegisterMethod", [](REALmethodDefinition *definition) {
        gHost->globalMethods.push_back(ReadMethod(*definition));
        gHost->startUpLog.push_back("method " + gHost->globalMethods.back().declaration.text);
    });
}

void AddReferences(EntryTable &table) {
    table.Add("REALLockObject", [](Object &object) { gHost->AddReference(object); });
    table.Add("REALUnlockObject", [](Object &object) { gHost->DropReference(object, "REALUnlockObject"); });
    table.Add("REALLockString", [](Text &text) { gHost->AddReference(text); });
    table.Add("REALUnlockString", [](Text &text) { gHost->DropReference(text, "REALUnlockString"); });
}

void AddMembers(EntryTable &table) {
    table.Add("pluginObjectType", [](const char *name) {
        static REALclassStruct aClass;
        constexpr std::string_view kApplications[] = {"Application", "ConsoleApplication", "WebApplication", ""};
        const auto &more = gHost->description.moreClasses;
        const bool known = Is(name, kApplications[static_cast<int>(gHost->description.application)]) ||
                           std::find(more.begin(), more.end(), std::string_view(name)) != more.end();
        return known ? &aClass : nullptr;
    });
    table.Add("PluginNewInstance", [](const char *className) -> Object * {
        if (Is(className, "Picture")) // as yet without its constructor, so without pixels
            return &gHost->NewPicture({.width = 0, .height = 0, .hasAlphaChannel = true, .lockable = false});
        return std::string_view(className).ends_with("Exception") ? &gHost->NewException(className) : nullptr;
    });
    table.Add("REALLoadObjectMethod", [](Object &object, const char *declaration) -> void * {
        if (object.kind == Kind::Picture && Is(declaration, "Constructor(width as integer, height as integer)"))
            return Offer("Picture.Constructor");
        if (object.kind == Kind::Graphics &&
            Is(declaration, "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
                            "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"))
            return Offer("Graphics.DrawPicture");
        gHost->Violation(Concern::Calls, "REALLoadObjectMethod: {} has no method \"{}\"", object.Describe(),
                         declaration);
        return nullptr;
    });
    table.Add("REALLoadGlobalMethod", [](void *none, const char *declaration) {
        if (none)
            gHost->Violation(Concern::Calls, "REALLoadGlobalMethod: the first argument is not null");
        return Is(declaration, "LenB( s as string ) as integer") ? Offer("LenB") : nullptr;
    });
    table.Add("REALGetPropValueInt", [](Picture &picture, const char *property, std::int32_t *value) {
        const bool isWidth = Is(property, "Width");
        if (!isWidth && !Is(property, "Height"))
            return false;
        *value = isWidth ? picture.width : picture.height;
        return true;
    });
    table.Add("REALGetPropValueBool", [](Picture &picture, const char *property, unsigned char *value) {
        if (!Is(property, "HasAlphaChannel"))
            return false;
        *value = picture.description.hasAlphaChannel;
        return true;
    });
    // A surface's property may be set on nil, too: that is simply refused.
    table.Add("REALSetPropValueInt", [](Graphics *graphics, const char *property, std::int32_t value) {
        const bool isWidth = Is(property, "PenWidth");
        if (!graphics || !(isWidth || Is(property, "PenHeight")))
            return false;
        (isWidth ? graphics->penWidth : graphics->penHeight) = value;
        return true;
    });
    table.Add("REALSetPropValueUInt32", [](Graphics *graphics, const char *property, std::uint32_t value) {
        if (!graphics || !Is(property, "ForeColor"))
            return false;
        graphics->foreColor = value & 0xFFFFFF;
        return true;
    });
    table.Add("REALSetPropValueString", [](Exception &exception, const char *property, Text *value) {
        if (!Is(property, "Message"))
            return false;
        exception.content.message = value ? value->bytes() : std::string_view();
        return true;
    });
    table.Add("RuntimeRaiseException", [](Exception &exception) {
        if (gHost->pending)
            gHost->Violation(Concern::Calls, "RuntimeRaiseException: an exception is pending already");
        else
            gHost->Hold(*(gHost->pending = &exception));
    });
}

void AddPictures(EntryTable &table) {
    table.Add<Nature::EvenFailing>(
        "REALLockPictureDescription", [](Picture &picture, REALpictureDescription *out, std::int32_t type) {
            const Form form = picture.description.form;
            const bool fits = (type == 8 && form == Form::Bitmap) || (type == 10 && form == Form::Console);
            const bool locks = !gFails && fits && picture.description.lockable;
            if (locks)
                picture.Lock(*out);
            else if (gHost->LeavesFailedLocks())
                ++picture.locks;
            return locks;
        });
    table.Add("lockPictureDescription", [](Picture &picture, REALpictureDescription *out) { picture.Lock(*out); });
    table.Add("unlockPictureDescription", [](Picture &picture) {
        if (picture.locks > 0)
            --picture.locks;
        else if (gHost->strayLocks > 0)
            --gHost->strayLocks;
        else
            gHost->Violation(Concern::Locks, "unlockPictureDescription: {} is not locked", picture.Describe());
        if (picture.locks > 0 || picture.memory.sealed())
            return;
        if (picture.rowTable != picture.handedRows)
            gHost->Violation(Concern::Memory, "unlockPictureDescription: the row table of {} was changed",
                             picture.Describe());
        if (!picture.BordersIntact())
            gHost->Violation(Concern::Memory, "unlockPictureDescription: the rows of {} were written past their end",
                             picture.Describe());
        picture.Seal();
    });
    table.Add("REALPictureClearCache", [](Picture &picture) { ++picture.cacheClears; });
    table.Add("newPicture", [](std::int32_t width, std::int32_t height, std::int32_t depth) -> Object * {
        if (depth != 32 || width < 1 || height < 1)
            gHost->Violation(Concern::Calls, "newPicture: asked for {} x {} with {} bits", width, height, depth);
        constexpr std::int64_t kLargestPixels = 1 << 28;
        if (std::int64_t{width} * height > kLargestPixels)
            return nullptr;
        const int padding = gHost->description.newPicturePadding;
        Picture *made = &gHost->NewPicture({.width = width, .height = height, .rowPadding = padding});
        made->Seal();
        return made;
    });
    table.Add("pluginPictureGraphicsGetter", [](Picture &picture) { return &gHost->NewGraphics(picture); });
    table.Add("REALGetPictureMask", [](Picture &picture, signed char create) {
        if (create)
            gHost->Violation(Concern::Calls, "REALGetPictureMask: asked to create a mask");
        if (picture.mask)
            gHost->AddReference(*picture.mask);
        return picture.mask;
    });
    table.Add("RuntimeGraphicsDrawLine",
              [](Graphics &graphics, std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2) {
                  DrawLine(graphics, x1, y1, x2, y2);
                  graphics.picture->Seal();
              });
}

void AddMemoryBlocks(EntryTable &table) {
    table.Add("newMemoryBlock",
              [](std::int32_t size) { return size < 0 ? nullptr : &gHost->NewBlock(static_cast<std::size_t>(size)); });
    table.Add("memoryBlockGetPtr",
              [](MemoryBlock &block) -> void * { return block.withoutAddress ? nullptr : block.memory.data(); });
    table.Add("memoryBlockGetSize", [](MemoryBlock &block) { return static_cast<std::int32_t>(block.memory.size()); });
}

void AddStrings(EntryTable &table) {
    table.Add("REALGetStringEncoding", [](Text &text) { return text.encoding; });
    table.Add("REALConvertString", [](Text &text, std::uint32_t encoding) {
        std::string converted(text.bytes());
        if (text.encoding == kUtf16 && encoding != kUtf16) { // the one conversion that the module needs
            converted.clear();
            for (std::size_t at = 0; at + 1 < text.bytes().size(); at += 2) {
                std::uint16_t unit;
                std::memcpy(&unit, text.bytes().data() + at, sizeof unit);
                AppendUtf8(converted, unit);
            }
        }
        return &gHost->NewText(converted, encoding);
    });
    table.Add("REALSetStringEncoding", [](Text &text, std::uint32_t encoding) { text.encoding = encoding; });
    table.Add("REALBuildString", [](const unsigned char *bytes, std::int32_t length) {
        const std::string_view text(reinterpret_cast<const char *>(bytes),
                                    static_cast<std::size_t>(std::max(length, 0)));
        return length < 0 ? nullptr : &gHost->NewText(text, 0);
    });
    table.Add("PluginGetStringData", [](Text &text, std::uint32_t encoding, REALstringData *out) {
        const std::string_view bytes = text.bytes();
        text.copies.emplace_back(bytes.size() + 1, gHost->description.guard);
        unsigned char *copy = text.copies.back().data();
        std::copy(bytes.begin(), bytes.end(), copy); // the zero behind them is there already
        *out = {reinterpret_cast<const char *>(copy),
                text.record.length,
                encoding == kAsStored ? text.encoding : encoding,
                {&text, nullptr}};
        return true;
    });
    table.Add<Nature::EvenFailing>("PluginDisposeStringData", [](REALstringData *data) {
        const bool isModules = gHost->FreeBlock(data->bytes); // a copy that the module made is the heap's
        if (gFails)
            gHost->copiesRefused += isModules ? 0 : 1;
        else if (!isModules && !gHost->TakeBackCopy(data->bytes, static_cast<const Object *>(data->unread[0])))
            gHost->Violation(Concern::Calls, "PluginDisposeStringData: no copy of this host's, or given back already");
    });
    table.Add("StringGetCString", [](Text &text) { return text.bytes().data(); });
}

void AddMethods(EntryTable &table) {
    table.Add<Nature::Method>("Picture.Constructor", [](Picture &picture, std::int32_t width, std::int32_t height) {
        PictureDescription wanted = picture.description;
        wanted.width = width;
        wanted.height = height;
        wanted.lockable = true;
        wanted.rowPadding = gHost->description.newPicturePadding;
        picture.Build(wanted, gHost->description.guard, gHost->description.scattersRows, gHost->description.freshWord);
        picture.Seal();
    });
    table.Add<Nature::Method>("Graphics.DrawPicture", [](Graphics &graphics, Picture &source, std::int32_t x,
                                                         std::int32_t y, std::int32_t width, std::int32_t height,
                                                         std::int32_t sourceX, std::int32_t sourceY,
                                                         std::int32_t sourceWidth, std::int32_t sourceHeight) {
        DrawPicture(*graphics.picture, source, x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight);
        graphics.picture->Seal();
        source.Seal();
    });
    table.Add<Nature::Method>("LenB", [](Text &text) { return text.record.length; });
}

const EntryTable kEntries = [] {
    EntryTable table;
    for (const auto add : {AddStartUp, AddReferences, AddMembers, AddPictures, AddMemoryBlocks, AddStrings, AddMethods})
        add(table);
    return table;
}();

const KnownEntry *Known(std::string_view name) {
    const auto entry = std::find_if(kEntries.begin(), kEntries.end(),
                                    [&](const KnownEntry &candidate) { return candidate.name == name; });
    return entry == kEntries.end() ? nullptr : &*entry;
}

void *Offer(std::string_view name) {
    const KnownEntry &entry = *Known(name);
    EntryState &state = gHost->entries[entry.name];
    ++state.requests;
    if (entry.name == "REALGetRBVersion" && !gHost->description.version)
        return nullptr;
    const Fault *fault = gHost->FaultOf(name);
    if (!fault || !(fault->what == Fault::Missing || (fault->what == Fault::Late && state.requests == 1)))
        return entry.address;
    ++state.missed;
    if (gHost->description.log)
        gHost->description.log(fmt::format("no {}", name));
    const bool typedLock = entry.name == "REALLockPictureDescription";
    if (entry.name == "lockPictureDescription" || (typedLock && gHost->LeavesFailedLocks()))
        ++gHost->strayLocks;
    return nullptr;
}

} // namespace

void *Resolve(const char *name) {
    if (!gHost)
        return nullptr;
    const KnownEntry *entry = Known(name);
    if (entry && entry->nature != Nature::Method)
        return Offer(name);
    gHost->Violation(Concern::Calls, "the resolver was asked for \"{}\", which no host has", name);
    return nullptr;
}

std::vector<EntryName> EntryNames() { return {kEntries.begin(), kEntries.end()}; }

} // namespace standin
