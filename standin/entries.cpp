#include "host/handles.h"
#include "standin/host_state.h"

#include <algorithm>
#include <concepts>
#include <cstring>
#include <fmt/format.h>
#include <type_traits>

/// The host's entries, each a body that an Entry hands objects to once it was called as it should be.
namespace standin {
namespace {

constexpr std::uint32_t kUtf16 = 0x0100;
constexpr std::uint32_t kAsStored = 0xFFFF;

bool Is(const char *text, std::string_view name) { return text && text == name; }

/// Around every entry: counts the call, takes its time, and says whether a fault lets it fail.
class EntryScope {
  public:
    explicit EntryScope(std::string_view name) {
        if (gHost->depth++ == 0) {
            ++gHost->entered;
            start_ = std::chrono::steady_clock::now();
        }
        EntryState &state = gHost->entries[name];
        ++state.calls;
        if (const Fault *fault = gHost->FaultOf(name)) {
            wide_ = fault->what == Fault::WideFalse;
            fails_ = wide_ || (fault->what == Fault::Fails && fault->call == state.calls);
            state.missed += fails_;
            gHost->strayLocks += fails_ && name == "lockPictureDescription";
        }
    }
    ~EntryScope() {
        if (--gHost->depth == 0)
            gHost->timeInEntries += std::chrono::steady_clock::now() - start_;
    }
    EntryScope(const EntryScope &) = delete;
    EntryScope &operator=(const EntryScope &) = delete;
    bool fails() const { return fails_; }

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
    bool fails_ = false;
    bool wide_ = false;
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

template <class Wanted> Wanted &Find(Handle handle, std::string_view entry) {
    std::optional<Kind> kind;
    if constexpr (!std::is_same_v<Wanted, Object>)
        kind = Wanted::kKind;
    if (Object *object = gHost->Find(handle, kind, entry))
        return static_cast<Wanted &>(*object);
    throw NoSuchObject();
}

/// How what the module passes becomes a parameter of a body: objects as references, or as pointers where nil will do.
template <class Parameter> struct Passed {
    using Type = Parameter;
    static Parameter Take(Parameter value, std::string_view) { return value; }
};
template <class Wanted> struct Passed<Wanted &> {
    using Type = Handle;
    static Wanted &Take(Handle handle, std::string_view entry) { return Find<Wanted>(handle, entry); }
};
template <std::derived_from<Object> Wanted> struct Passed<Wanted *> {
    using Type = Handle;
    static Wanted *Take(Handle handle, std::string_view entry) {
        return handle ? &Find<Wanted>(handle, entry) : nullptr;
    }
};

/// Which bodies run when a fault lets the entry fail, too; they look at `gFails`.
template <auto kBody> constexpr bool kRunsInAnyCase = false;
bool gFails;

/// The entry around a body: counts and logs the call, checks the objects, and yields what the module receives: without
/// an object that it needs, what it yields when it is missing.
template <auto kBody> struct Entry;
template <class Yields, class... Parameters, Yields (*kBody)(Parameters...)> struct Entry<kBody> {
    static constexpr bool kYieldsBoolean = std::is_same_v<Yields, bool>;
    inline static std::string_view name;

    static auto Call(typename Passed<Parameters>::Type... passed) {
        const EntryScope scope(name);
        if (gHost->description.log)
            gHost->description.log((std::string(name) + ... + Word(passed)));
        gFails = scope.fails();
        try {
            if (kRunsInAnyCase<kBody> || !gFails) {
                if constexpr (std::is_void_v<Yields>)
                    kBody(Passed<Parameters>::Take(passed, name)...);
                else
                    return scope.Handed(kBody(Passed<Parameters>::Take(passed, name)...));
            }
        } catch (const NoSuchObject &) { // the violation tells
        }
        if constexpr (!std::is_void_v<Yields>)
            return scope.Handed(Yields());
    }
};

void SealUnlocked(Picture &picture) {
    if (gHost->description.sealsPictures && picture.locks == 0)
        picture.Seal();
}

/// Around the host's own work on a picture, whose pixels open as they are asked for, locked or not.
struct Resealed {
    Picture &picture;
    bool wasSealed = picture.memory.sealed();
    ~Resealed() {
        if (wasSealed)
            picture.Seal();
    }
};

// Start-up and registration.

void RegisterPluginVersion(std::int32_t version) {
    gHost->startUpLog.push_back(fmt::format("RegisterPluginVersion {}", version));
}

double GetRBVersion() {
    gHost->startUpLog.push_back("REALGetRBVersion");
    return *(gHost->toldVersion = gHost->description.version);
}

void RegisterClass(REALclassDefinition *definition) {
    if (definition->dataOffset != 0)
        gHost->Violation(Concern::Calls, "the record of class {} has a data offset already", definition->name);
    definition->dataOffset = gHost->description.dataOffset;
    auto registered = std::make_unique<RegisteredClass>();
    ReadClass(*registered, *definition);
    gHost->startUpLog.push_back("class " + registered->name);
    gHost->classes.push_back(std::move(registered));
}

void RegisterClassExtension(REALclassDefinition *definition) {
    ReadClass(gHost->pictureExtension, *definition);
    gHost->startUpLog.push_back("extension of " + gHost->pictureExtension.name);
}

void RegisterMethod(REALmethodDefinition *definition) {
    gHost->globalMethods.push_back(ReadMethod(*definition));
    gHost->startUpLog.push_back("method " + gHost->globalMethods.back().declaration.text);
}

// References.

void LockObject(Object &object) { gHost->AddReference(object); }
void UnlockObject(Object &object) { gHost->DropReference(object, "REALUnlockObject"); }
void LockString(Text &text) { gHost->AddReference(text); }
void UnlockString(Text &text) { gHost->DropReference(text, "REALUnlockString"); }

// Classes, methods and properties.

REALclassStruct *ObjectType(const char *name) {
    static REALclassStruct aClass;
    constexpr std::string_view kApplications[] = {"Application", "ConsoleApplication", "WebApplication", ""};
    const auto &more = gHost->description.moreClasses;
    const bool known = Is(name, kApplications[static_cast<int>(gHost->description.application)]) ||
                       std::find(more.begin(), more.end(), std::string_view(name)) != more.end();
    return known ? &aClass : nullptr;
}

Object *NewInstance(const char *className) {
    if (Is(className, "Picture")) { // as yet without its constructor, so without pixels
        PictureDescription blank;
        blank.width = 0;
        blank.height = 0;
        blank.hasAlphaChannel = true;
        blank.lockable = false;
        return &gHost->NewPicture(blank);
    }
    return std::string_view(className).ends_with("Exception") ? &gHost->NewException(className) : nullptr;
}

void ConstructPicture(Picture &picture, std::int32_t width, std::int32_t height) {
    PictureDescription wanted = picture.description;
    wanted.width = width;
    wanted.height = height;
    wanted.lockable = true;
    wanted.rowPadding = gHost->description.newPicturePadding;
    picture.Build(wanted, gHost->description.guard, gHost->description.scattersRows, gHost->description.freshWord);
    SealUnlocked(picture);
}

void DrawPictureMethod(Graphics &graphics, Picture &source, std::int32_t x, std::int32_t y, std::int32_t width,
                       std::int32_t height, std::int32_t sourceX, std::int32_t sourceY, std::int32_t sourceWidth,
                       std::int32_t sourceHeight) {
    const Resealed target{*graphics.picture};
    const Resealed from{source};
    DrawPicture(*graphics.picture, source, x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight);
}

std::int32_t LenB(Text &text) { return text.record.length; }

/// What the module gets that asks for an entry or a method; null, which is logged, when a fault keeps it away.
void *Offer(std::string_view name);

void *LoadObjectMethod(Object &object, const char *declaration) {
    if (object.kind == Kind::Picture && Is(declaration, "Constructor(width as integer, height as integer)"))
        return Offer("Picture.Constructor");
    if (object.kind == Kind::Graphics &&
        Is(declaration, "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
                        "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"))
        return Offer("Graphics.DrawPicture");
    gHost->Violation(Concern::Calls, "REALLoadObjectMethod: {} has no method \"{}\"", object.Describe(), declaration);
    return nullptr;
}

void *LoadGlobalMethod(void *none, const char *declaration) {
    if (none)
        gHost->Violation(Concern::Calls, "REALLoadGlobalMethod: the first argument is not null");
    return Is(declaration, "LenB( s as string ) as integer") ? Offer("LenB") : nullptr;
}

bool GetPropValueInt(Picture &picture, const char *property, std::int32_t *value) {
    const bool isWidth = Is(property, "Width");
    if (!isWidth && !Is(property, "Height"))
        return false;
    *value = isWidth ? picture.width : picture.height;
    return true;
}

bool GetPropValueBool(Picture &picture, const char *property, unsigned char *value) {
    if (!Is(property, "HasAlphaChannel"))
        return false;
    *value = picture.description.hasAlphaChannel;
    return true;
}

// A surface's property may be set on nil, too: that is simply refused.

bool SetPropValueInt(Graphics *graphics, const char *property, std::int32_t value) {
    const bool isWidth = Is(property, "PenWidth");
    if (!graphics || !(isWidth || Is(property, "PenHeight")))
        return false;
    (isWidth ? graphics->penWidth : graphics->penHeight) = value;
    return true;
}

bool SetPropValueUInt32(Graphics *graphics, const char *property, std::uint32_t value) {
    if (!graphics || !Is(property, "ForeColor"))
        return false;
    graphics->foreColor = value & 0xFFFFFF;
    return true;
}

bool SetPropValueString(Exception &exception, const char *property, const Text *value) {
    if (!Is(property, "Message"))
        return false;
    exception.content.message = value ? value->bytes() : std::string_view();
    return true;
}

void RaiseException(Exception &exception) {
    if (gHost->pending)
        gHost->Violation(Concern::Calls, "RuntimeRaiseException: an exception is pending already");
    else
        gHost->Hold(*(gHost->pending = &exception));
}

// Pictures.

bool LockDescriptionTyped(Picture &picture, REALpictureDescription *out, std::int32_t type) {
    const Form form = picture.description.form;
    const bool fits = (type == 8 && form == Form::Bitmap) || (type == 10 && form == Form::Console);
    const bool locks = !gFails && fits && picture.description.lockable;
    picture.locks += locks || gHost->LeavesFailedLocks();
    if (locks) {
        picture.memory.Open();
        picture.DescribePixels(*out);
    }
    return locks;
}
template <> constexpr bool kRunsInAnyCase<LockDescriptionTyped> = true;

void LockDescription(Picture &picture, REALpictureDescription *out) {
    ++picture.locks;
    picture.memory.Open();
    picture.DescribePixels(*out);
}

void UnlockDescription(Picture &picture) {
    if (picture.locks > 0)
        --picture.locks;
    else if (gHost->strayLocks > 0)
        --gHost->strayLocks;
    else
        gHost->Violation(Concern::Locks, "unlockPictureDescription: {} is not locked", picture.Describe());
    if (picture.locks > 0 || picture.memory.sealed())
        return;
    if (!picture.RowTableIntact())
        gHost->Violation(Concern::Memory, "unlockPictureDescription: the row table of {} was changed",
                         picture.Describe());
    if (!picture.BordersIntact())
        gHost->Violation(Concern::Memory, "unlockPictureDescription: the rows of {} were written past their end",
                         picture.Describe());
    SealUnlocked(picture);
}

void PictureClearCache(Picture &picture) { ++picture.cacheClears; }

Object *NewPicture(std::int32_t width, std::int32_t height, std::int32_t depth) {
    if (depth != 32 || width < 1 || height < 1)
        gHost->Violation(Concern::Calls, "newPicture: asked for {} x {} with {} bits", width, height, depth);
    constexpr std::int64_t kLargestPixels = 1 << 28;
    if (std::int64_t{width} * height > kLargestPixels)
        return nullptr;
    PictureDescription wanted;
    wanted.width = width;
    wanted.height = height;
    wanted.rowPadding = gHost->description.newPicturePadding;
    Picture &made = gHost->NewPicture(wanted);
    SealUnlocked(made);
    return &made;
}

Object *PictureGraphics(Picture &picture) { return &gHost->NewGraphics(picture); }

Object *PictureMask(Picture &picture, signed char create) {
    if (create)
        gHost->Violation(Concern::Calls, "REALGetPictureMask: asked to create a mask");
    if (picture.mask)
        gHost->AddReference(*picture.mask);
    return picture.mask;
}

void GraphicsDrawLine(Graphics &graphics, std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2) {
    const Resealed target{*graphics.picture};
    DrawLine(graphics, x1, y1, x2, y2);
}

// Memory blocks.

Object *NewMemoryBlock(std::int32_t size) {
    return size < 0 ? nullptr : &gHost->NewBlock(static_cast<std::size_t>(size));
}
void *MemoryBlockGetPtr(MemoryBlock &block) { return block.withoutAddress ? nullptr : block.memory.data(); }
std::int32_t MemoryBlockGetSize(MemoryBlock &block) { return static_cast<std::int32_t>(block.memory.size()); }

// Strings.

std::uint32_t GetStringEncoding(Text &text) { return text.encoding; }

void AppendUtf8(std::string &out, std::uint32_t character) {
    const auto add = [&](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        add(character);
    } else if (character < 0x800) {
        add(0xC0 | character >> 6);
        add(0x80 | (character & 63));
    } else {
        add(0xE0 | character >> 12);
        add(0x80 | (character >> 6 & 63));
        add(0x80 | (character & 63));
    }
}

Object *ConvertString(Text &text, std::uint32_t encoding) {
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
}

void SetStringEncoding(Text &text, std::uint32_t encoding) { text.encoding = encoding; }

Object *BuildString(const unsigned char *bytes, std::int32_t length) {
    const std::string_view text(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(std::max(length, 0)));
    return length < 0 ? nullptr : &gHost->NewText(text, 0);
}

bool GetStringData(Text &text, std::uint32_t encoding, REALstringData *out) {
    const std::string_view bytes = text.bytes();
    text.copies.emplace_back(bytes.size() + 1, gHost->description.guard);
    unsigned char *copy = text.copies.back().data();
    std::copy(bytes.begin(), bytes.end(), copy); // the zero behind them is there already
    *out = {reinterpret_cast<const char *>(copy),
            text.record.length,
            encoding == kAsStored ? text.encoding : encoding,
            {&text, nullptr}};
    return true;
}

void DisposeStringData(REALstringData *data) {
    const bool isModules = gHost->FreeBlock(data->bytes); // a copy that the module made is the heap's
    if (gFails)
        gHost->copiesRefused += isModules ? 0 : 1;
    else if (!isModules && !gHost->TakeBackCopy(data->bytes, static_cast<const Object *>(data->unread[0])))
        gHost->Violation(Concern::Calls, "PluginDisposeStringData: no copy of this host's, or given back already");
}
template <> constexpr bool kRunsInAnyCase<DisposeStringData> = true;

const char *StringGetCString(Text &text) { return text.bytes().data(); }

struct KnownEntry : EntryName {
    void *address;
    bool isMethod = false; ///< found through another entry
};

template <auto kBody> KnownEntry Named(std::string_view name, bool isMethod = false) {
    Entry<kBody>::name = name;
    return {{name, Entry<kBody>::kYieldsBoolean}, reinterpret_cast<void *>(Entry<kBody>::Call), isMethod};
}

const KnownEntry kEntries[] = {
    Named<RegisterPluginVersion>("RegisterPluginVersion"),
    Named<GetRBVersion>("REALGetRBVersion"),
    Named<RegisterClass>("PluginRegisterClass"),
    Named<RegisterClassExtension>("PluginRegisterClassExtension"),
    Named<RegisterMethod>("PluginRegisterMethod"),
    Named<LockObject>("REALLockObject"),
    Named<UnlockObject>("REALUnlockObject"),
    Named<LockString>("REALLockString"),
    Named<UnlockString>("REALUnlockString"),
    Named<ObjectType>("pluginObjectType"),
    Named<NewInstance>("PluginNewInstance"),
    Named<LoadObjectMethod>("REALLoadObjectMethod"),
    Named<LoadGlobalMethod>("REALLoadGlobalMethod"),
    Named<GetPropValueInt>("REALGetPropValueInt"),
    Named<SetPropValueInt>("REALSetPropValueInt"),
    Named<GetPropValueBool>("REALGetPropValueBool"),
    Named<SetPropValueUInt32>("REALSetPropValueUInt32"),
    Named<SetPropValueString>("REALSetPropValueString"),
    Named<RaiseException>("RuntimeRaiseException"),
    Named<LockDescriptionTyped>("REALLockPictureDescription"),
    Named<LockDescription>("lockPictureDescription"),
    Named<UnlockDescription>("unlockPictureDescription"),
    Named<PictureClearCache>("REALPictureClearCache"),
    Named<NewPicture>("newPicture"),
    Named<PictureGraphics>("pluginPictureGraphicsGetter"),
    Named<PictureMask>("REALGetPictureMask"),
    Named<GraphicsDrawLine>("RuntimeGraphicsDrawLine"),
    Named<NewMemoryBlock>("newMemoryBlock"),
    Named<MemoryBlockGetPtr>("memoryBlockGetPtr"),
    Named<MemoryBlockGetSize>("memoryBlockGetSize"),
    Named<GetStringEncoding>("REALGetStringEncoding"),
    Named<ConvertString>("REALConvertString"),
    Named<SetStringEncoding>("REALSetStringEncoding"),
    Named<BuildString>("REALBuildString"),
    Named<GetStringData>("PluginGetStringData"),
    Named<DisposeStringData>("PluginDisposeStringData"),
    Named<StringGetCString>("StringGetCString"),
    Named<ConstructPicture>("Picture.Constructor", true),
    Named<DrawPictureMethod>("Graphics.DrawPicture", true),
    Named<LenB>("LenB", true),
};

const KnownEntry *Known(std::string_view name) {
    const auto *entry = std::find_if(std::begin(kEntries), std::end(kEntries),
                                     [&](const KnownEntry &candidate) { return candidate.name == name; });
    return entry == std::end(kEntries) ? nullptr : entry;
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
    if (entry && !entry->isMethod)
        return Offer(name);
    gHost->Violation(Concern::Calls, "the resolver was asked for \"{}\", which no host has", name);
    return nullptr;
}

std::vector<EntryName> EntryNames() { return {std::begin(kEntries), std::end(kEntries)}; }

} // namespace standin
