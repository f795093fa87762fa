#include "host/handles.h"
#include "standin/host_state.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <unordered_map>

/// The host's entries as the module calls them. Each checks what it is called with before it acts.
namespace standin {
namespace {

constexpr std::uint32_t kUtf16 = 0x0100;
constexpr std::uint32_t kAsStored = 0xFFFF;

template <class Handle> Handle *HandleOf(Object &object) { return static_cast<Handle *>(object.handle); }

bool Is(const char *text, std::string_view name) { return text && text == name; }

/// While the host itself works on a picture its pixels can be touched, locked or not.
class HostAccess {
  public:
    explicit HostAccess(Picture &picture) : picture_(picture), sealed_(picture.memory.sealed()) {
        picture.memory.Open();
    }
    ~HostAccess() {
        if (sealed_)
            picture_.Seal();
    }
    HostAccess(const HostAccess &) = delete;
    HostAccess &operator=(const HostAccess &) = delete;

  private:
    Picture &picture_;
    bool sealed_;
};

void SealUnlocked(Picture &picture) {
    if (gHost->description.sealsPictures && picture.locks == 0)
        picture.Seal();
}

// Start-up and registration.

void RegisterPluginVersion(std::int32_t version) {
    const EntryScope scope("RegisterPluginVersion", version);
    if (!scope.fails())
        gHost->startUpLog.push_back(fmt::format("RegisterPluginVersion {}", version));
}

double GetRBVersion() {
    const EntryScope scope("REALGetRBVersion");
    if (scope.fails())
        return 0.0;
    gHost->startUpLog.push_back("REALGetRBVersion");
    return *(gHost->toldVersion = gHost->description.version);
}

void RegisterClass(REALclassDefinition *definition) {
    const EntryScope scope("PluginRegisterClass", definition->name);
    if (scope.fails())
        return;
    if (definition->dataOffset != 0)
        gHost->Violation(fmt::format("the record of class {} has a data offset already", definition->name));
    definition->dataOffset = gHost->description.dataOffset;
    auto registered = std::make_unique<RegisteredClass>();
    ReadClass(*registered, *definition);
    gHost->startUpLog.push_back("class " + registered->name);
    gHost->classes.push_back(std::move(registered));
}

void RegisterClassExtension(REALclassDefinition *definition) {
    const EntryScope scope("PluginRegisterClassExtension", definition->name);
    if (scope.fails())
        return;
    ReadClass(gHost->pictureExtension, *definition);
    gHost->startUpLog.push_back("extension of " + gHost->pictureExtension.name);
}

void RegisterMethod(REALmethodDefinition *definition) {
    const EntryScope scope("PluginRegisterMethod", definition->declaration);
    if (scope.fails())
        return;
    gHost->globalMethods.push_back(ReadMethod(*definition));
    gHost->startUpLog.push_back("method " + gHost->globalMethods.back().declaration.text);
}

// References.

void LockObject(REALobjectStruct *handle) {
    const EntryScope scope("REALLockObject", handle);
    if (Object *object = scope.fails() ? nullptr : gHost->FindObject(handle, "REALLockObject"))
        gHost->AddReference(*object);
}

void UnlockObject(REALobjectStruct *handle) {
    const EntryScope scope("REALUnlockObject", handle);
    if (Object *object = scope.fails() ? nullptr : gHost->FindObject(handle, "REALUnlockObject"))
        gHost->DropReference(*object, "REALUnlockObject");
}

Text *FindText(REALstringStruct *handle, std::string_view entry) {
    return gHost->Find<Text>(handle, Kind::String, entry);
}

void LockString(REALstringStruct *handle) {
    const EntryScope scope("REALLockString", handle);
    if (Text *text = scope.fails() ? nullptr : FindText(handle, "REALLockString"))
        gHost->AddReference(*text);
}

void UnlockString(REALstringStruct *handle) {
    const EntryScope scope("REALUnlockString", handle);
    if (Text *text = scope.fails() ? nullptr : FindText(handle, "REALUnlockString"))
        gHost->DropReference(*text, "REALUnlockString");
}

// Classes, methods and properties.

REALclassStruct *ObjectType(const char *name) {
    const EntryScope scope("pluginObjectType", name);
    static REALclassStruct aClass;
    const Application application = gHost->description.application;
    const auto &more = gHost->description.moreClasses;
    const bool known = std::find(more.begin(), more.end(), std::string_view(name)) != more.end() ||
                       (application == Application::Desktop && Is(name, "Application")) ||
                       (application == Application::Console && Is(name, "ConsoleApplication")) ||
                       (application == Application::Web && Is(name, "WebApplication"));
    return known && !scope.fails() ? &aClass : nullptr;
}

REALobjectStruct *NewInstance(const char *className) {
    const EntryScope scope("PluginNewInstance", className);
    if (scope.fails())
        return nullptr;
    if (Is(className, "Picture")) { // as yet without its constructor, so without pixels
        PictureDescription blank;
        blank.width = 0;
        blank.height = 0;
        blank.hasAlphaChannel = true;
        blank.lockable = false;
        return HandleOf<REALobjectStruct>(gHost->NewPicture(blank));
    }
    const auto &unknown = gHost->description.unknownExceptions;
    const std::string_view name = className;
    if (!name.ends_with("Exception") || std::find(unknown.begin(), unknown.end(), name) != unknown.end())
        return nullptr;
    return HandleOf<REALobjectStruct>(gHost->NewException(name));
}

void ConstructPicture(REALobjectStruct *handle, std::int32_t width, std::int32_t height) {
    const EntryScope scope("Picture.Constructor", handle, width, height);
    auto *picture = scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "Picture.Constructor");
    if (!picture)
        return;
    PictureDescription wanted = picture->description;
    wanted.width = width;
    wanted.height = height;
    wanted.lockable = true;
    wanted.rowPadding = gHost->description.newPicturePadding;
    picture->Build(wanted, gHost->description.guard, gHost->description.scattersRows, gHost->description.freshWord);
    SealUnlocked(*picture);
}

void DrawPictureMethod(REALgraphicsStruct *surface, REALpictureStruct *source, std::int32_t x, std::int32_t y,
                       std::int32_t width, std::int32_t height, std::int32_t sourceX, std::int32_t sourceY,
                       std::int32_t sourceWidth, std::int32_t sourceHeight) {
    const EntryScope scope("Graphics.DrawPicture", surface, source, x, y, width, height, sourceX, sourceY, sourceWidth,
                           sourceHeight);
    if (scope.fails())
        return;
    const auto *graphics = gHost->Find<Graphics>(surface, Kind::Graphics, "Graphics.DrawPicture");
    auto *picture = gHost->Find<Picture>(source, Kind::Picture, "Graphics.DrawPicture");
    if (!graphics || !picture)
        return;
    const HostAccess toTarget(*graphics->picture);
    const HostAccess toSource(*picture);
    DrawPicture(*graphics->picture, *picture, x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight);
}

std::int32_t LenB(REALstringStruct *handle) {
    const EntryScope scope("LenB", handle);
    const Text *text = scope.fails() ? nullptr : FindText(handle, "LenB");
    return text ? text->record.length : 0;
}

void TellMissing(std::string_view name) {
    if (gHost->description.log)
        gHost->description.log(fmt::format("no {}", name));
}

/// A method that is found through another entry than the resolver; it has faults of its own.
void *FoundMethod(std::string_view name, void *method) {
    EntryState &state = gHost->entries[std::string(name)];
    const Fault *fault = gHost->FaultOf(name);
    ++state.requests;
    const bool hidden = fault && (fault->what == Fault::Missing || (fault->what == Fault::Late && state.requests == 1));
    if (hidden)
        TellMissing(name);
    return hidden ? nullptr : method;
}

template <class Function> void *Address(Function *function) { return reinterpret_cast<void *>(function); }

void *LoadObjectMethod(REALobjectStruct *handle, const char *declaration) {
    const EntryScope scope("REALLoadObjectMethod", handle, declaration);
    const Object *object = scope.fails() ? nullptr : gHost->FindObject(handle, "REALLoadObjectMethod");
    if (!object)
        return nullptr;
    if (object->kind == Kind::Picture && Is(declaration, "Constructor(width as integer, height as integer)"))
        return FoundMethod("Picture.Constructor", Address(ConstructPicture));
    if (object->kind == Kind::Graphics &&
        Is(declaration, "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
                        "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"))
        return FoundMethod("Graphics.DrawPicture", Address(DrawPictureMethod));
    gHost->Violation(fmt::format("REALLoadObjectMethod: {} has no method \"{}\"", object->Describe(), declaration));
    return nullptr;
}

void *LoadGlobalMethod(REALobjectStruct *none, const char *declaration) {
    const EntryScope scope("REALLoadGlobalMethod", declaration);
    if (none)
        gHost->Violation("REALLoadGlobalMethod: the first argument is not null");
    if (scope.fails() || !Is(declaration, "LenB( s as string ) as integer"))
        return nullptr;
    return FoundMethod("LenB", Address(LenB));
}

std::uint32_t GetPropValueInt(REALobjectStruct *handle, const char *property, std::int32_t *value) {
    const EntryScope scope("REALGetPropValueInt", handle, property);
    const auto *picture = scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "REALGetPropValueInt");
    const bool isWidth = Is(property, "Width");
    if (!picture || !(isWidth || Is(property, "Height")))
        return scope.Answer(false);
    *value = isWidth ? picture->width : picture->height;
    return scope.Answer(true);
}

std::uint32_t GetPropValueBool(REALobjectStruct *handle, const char *property, unsigned char *value) {
    const EntryScope scope("REALGetPropValueBool", handle, property);
    const auto *picture = scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "REALGetPropValueBool");
    if (!picture || !Is(property, "HasAlphaChannel"))
        return scope.Answer(false);
    *value = picture->description.hasAlphaChannel;
    return scope.Answer(true);
}

/// A surface's property may be set on nil, too: that is simply refused.
Graphics *FindSurface(const EntryScope &scope, REALobjectStruct *handle, std::string_view entry) {
    return scope.fails() || !handle ? nullptr : gHost->Find<Graphics>(handle, Kind::Graphics, entry);
}

std::uint32_t SetPropValueInt(REALobjectStruct *handle, const char *property, std::int32_t value) {
    const EntryScope scope("REALSetPropValueInt", handle, property, value);
    Graphics *graphics = FindSurface(scope, handle, "REALSetPropValueInt");
    const bool isWidth = Is(property, "PenWidth");
    if (!graphics || !(isWidth || Is(property, "PenHeight")))
        return scope.Answer(false);
    (isWidth ? graphics->penWidth : graphics->penHeight) = value;
    return scope.Answer(true);
}

std::uint32_t SetPropValueUInt32(REALobjectStruct *handle, const char *property, std::uint32_t value) {
    const EntryScope scope("REALSetPropValueUInt32", handle, property, value);
    Graphics *graphics = FindSurface(scope, handle, "REALSetPropValueUInt32");
    if (!graphics || !Is(property, "ForeColor"))
        return scope.Answer(false);
    graphics->foreColor = value & 0xFFFFFF;
    return scope.Answer(true);
}

std::uint32_t SetPropValueString(REALobjectStruct *handle, const char *property, REALstringStruct *value) {
    const EntryScope scope("REALSetPropValueString", handle, property, value);
    auto *exception =
        scope.fails() ? nullptr : gHost->Find<Exception>(handle, Kind::Exception, "REALSetPropValueString");
    if (!exception || !Is(property, "Message"))
        return scope.Answer(false);
    const Text *text = value ? FindText(value, "REALSetPropValueString") : nullptr;
    exception->content.message = text ? text->bytes() : std::string_view();
    return scope.Answer(true);
}

void RaiseException(REALobjectStruct *handle) {
    const EntryScope scope("RuntimeRaiseException", handle);
    auto *exception =
        scope.fails() ? nullptr : gHost->Find<Exception>(handle, Kind::Exception, "RuntimeRaiseException");
    if (!exception)
        return;
    if (gHost->pending)
        gHost->Violation("RuntimeRaiseException: an exception is pending already");
    else
        gHost->Hold(*(gHost->pending = exception));
}

// Pictures.

std::uint32_t LockDescriptionTyped(REALpictureStruct *handle, REALpictureDescription *out, std::int32_t type) {
    const EntryScope scope("REALLockPictureDescription", handle, type);
    auto *picture = gHost->Find<Picture>(handle, Kind::Picture, "REALLockPictureDescription");
    if (!picture)
        return scope.Answer(false);
    const Form form = picture->description.form;
    const bool fits = (type == 8 && form == Form::Bitmap) || (type == 10 && form == Form::Console);
    if (scope.fails() || !fits || !picture->description.lockable) {
        if (gHost->LeavesFailedLocks())
            ++picture->locks;
        return scope.Answer(false);
    }
    ++picture->locks;
    picture->memory.Open();
    picture->DescribePixels(*out);
    return scope.Answer(true);
}

void LockDescription(REALpictureStruct *handle, REALpictureDescription *out) {
    const EntryScope scope("lockPictureDescription", handle);
    auto *picture = scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "lockPictureDescription");
    if (!picture)
        return;
    ++picture->locks;
    picture->memory.Open();
    picture->DescribePixels(*out);
}

void UnlockDescription(REALpictureStruct *handle) {
    const EntryScope scope("unlockPictureDescription", handle);
    auto *picture = scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "unlockPictureDescription");
    if (!picture)
        return;
    if (picture->locks > 0)
        --picture->locks;
    else if (gHost->strayLocks > 0)
        --gHost->strayLocks;
    else
        gHost->Violation(fmt::format("unlockPictureDescription: {} is not locked", picture->Describe()),
                         Concern::Locks);
    if (picture->locks > 0 || picture->memory.sealed())
        return;
    if (!picture->RowTableIntact())
        gHost->Violation(fmt::format("unlockPictureDescription: the row table of {} was changed", picture->Describe()),
                         Concern::Memory);
    if (!picture->BordersIntact())
        gHost->Violation(
            fmt::format("unlockPictureDescription: the rows of {} were written past their end", picture->Describe()),
            Concern::Memory);
    SealUnlocked(*picture);
}

void PictureClearCache(REALpictureStruct *handle) {
    const EntryScope scope("REALPictureClearCache", handle);
    if (auto *picture = scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "REALPictureClearCache"))
        ++picture->cacheClears;
}

REALpictureStruct *NewPicture(std::int32_t width, std::int32_t height, std::int32_t depth) {
    const EntryScope scope("newPicture", width, height, depth);
    if (depth != 32 || width < 1 || height < 1)
        gHost->Violation(fmt::format("newPicture: asked for {} x {} with {} bits", width, height, depth));
    constexpr std::int64_t kLargestPixels = 1 << 28;
    if (scope.fails() || std::int64_t{width} * height > kLargestPixels)
        return nullptr;
    PictureDescription wanted;
    wanted.width = width;
    wanted.height = height;
    wanted.rowPadding = gHost->description.newPicturePadding;
    Picture &made = gHost->NewPicture(wanted);
    SealUnlocked(made);
    return HandleOf<REALpictureStruct>(made);
}

REALgraphicsStruct *PictureGraphics(REALpictureStruct *handle) {
    const EntryScope scope("pluginPictureGraphicsGetter", handle);
    auto *picture =
        scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "pluginPictureGraphicsGetter");
    return picture ? HandleOf<REALgraphicsStruct>(gHost->NewGraphics(*picture)) : nullptr;
}

REALpictureStruct *PictureMask(REALpictureStruct *handle, signed char create) {
    const EntryScope scope("REALGetPictureMask", handle, create);
    auto *picture = scope.fails() ? nullptr : gHost->Find<Picture>(handle, Kind::Picture, "REALGetPictureMask");
    if (create)
        gHost->Violation("REALGetPictureMask: asked to create a mask");
    if (!picture || !picture->mask)
        return nullptr;
    gHost->AddReference(*picture->mask);
    return HandleOf<REALpictureStruct>(*picture->mask);
}

void GraphicsDrawLine(REALgraphicsStruct *handle, std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2) {
    const EntryScope scope("RuntimeGraphicsDrawLine", handle, x1, y1, x2, y2);
    if (auto *graphics =
            scope.fails() ? nullptr : gHost->Find<Graphics>(handle, Kind::Graphics, "RuntimeGraphicsDrawLine")) {
        const HostAccess toTarget(*graphics->picture);
        DrawLine(*graphics, x1, y1, x2, y2);
    }
}

// Memory blocks.

REALmemoryBlockStruct *NewMemoryBlock(std::int32_t size) {
    const EntryScope scope("newMemoryBlock", size);
    if (scope.fails() || size < 0)
        return nullptr;
    return HandleOf<REALmemoryBlockStruct>(gHost->NewBlock(static_cast<std::size_t>(size)));
}

void *MemoryBlockGetPtr(REALmemoryBlockStruct *handle) {
    const EntryScope scope("memoryBlockGetPtr", handle);
    auto *block = scope.fails() ? nullptr : gHost->Find<MemoryBlock>(handle, Kind::MemoryBlock, "memoryBlockGetPtr");
    return block && !block->withoutAddress ? block->memory.data() : nullptr;
}

std::int32_t MemoryBlockGetSize(REALmemoryBlockStruct *handle) {
    const EntryScope scope("memoryBlockGetSize", handle);
    const auto *block =
        scope.fails() ? nullptr : gHost->Find<MemoryBlock>(handle, Kind::MemoryBlock, "memoryBlockGetSize");
    return block ? static_cast<std::int32_t>(block->memory.size()) : 0;
}

// Strings.

std::uint32_t GetStringEncoding(REALstringStruct *handle) {
    const EntryScope scope("REALGetStringEncoding", handle);
    const Text *text = scope.fails() ? nullptr : FindText(handle, "REALGetStringEncoding");
    return text ? text->encoding : 0;
}

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

REALstringStruct *ConvertString(REALstringStruct *handle, std::uint32_t encoding) {
    const EntryScope scope("REALConvertString", handle, encoding);
    const Text *text = scope.fails() ? nullptr : FindText(handle, "REALConvertString");
    if (!text)
        return nullptr;
    std::string converted(text->bytes());
    if (text->encoding == kUtf16 && encoding != kUtf16) { // the one conversion that the module needs
        converted.clear();
        for (std::size_t at = 0; at + 1 < text->bytes().size(); at += 2) {
            std::uint16_t unit;
            std::memcpy(&unit, text->bytes().data() + at, sizeof unit);
            AppendUtf8(converted, unit);
        }
    }
    return HandleOf<REALstringStruct>(gHost->NewText(converted, encoding));
}

void SetStringEncoding(REALstringStruct *handle, std::uint32_t encoding) {
    const EntryScope scope("REALSetStringEncoding", handle, encoding);
    if (Text *text = scope.fails() ? nullptr : FindText(handle, "REALSetStringEncoding"))
        text->encoding = encoding;
}

REALstringStruct *BuildString(const char *bytes, std::int32_t length) {
    const EntryScope scope("REALBuildString", length);
    if (scope.fails() || length < 0)
        return nullptr;
    return HandleOf<REALstringStruct>(gHost->NewText({bytes, static_cast<std::size_t>(length)}, 0));
}

std::uint32_t GetStringData(REALstringStruct *handle, std::uint32_t encoding, REALstringData *out) {
    const EntryScope scope("PluginGetStringData", handle, encoding);
    Text *text = scope.fails() ? nullptr : FindText(handle, "PluginGetStringData");
    if (!text)
        return scope.Answer(false);
    const std::string_view bytes = text->bytes();
    text->copies.emplace_back(bytes.size() + 1, gHost->description.guard);
    unsigned char *copy = text->copies.back().data();
    std::copy(bytes.begin(), bytes.end(), copy); // the zero behind them is there already
    *out = {reinterpret_cast<const char *>(copy),
            text->record.length,
            encoding == kAsStored ? text->encoding : encoding,
            {text, nullptr}};
    return scope.Answer(true);
}

void DisposeStringData(REALstringData *data) {
    const EntryScope scope("PluginDisposeStringData");
    const bool isModules = gHost->FreeBlock(data->bytes); // a copy that the module made is the heap's
    if (scope.fails())
        gHost->copiesRefused += isModules ? 0 : 1;
    else if (!isModules && !gHost->TakeBackCopy(data->bytes, static_cast<const Object *>(data->unread[0])))
        gHost->Violation("PluginDisposeStringData: no copy of this host's, or given back already");
}

const char *StringGetCString(REALstringStruct *handle) {
    const EntryScope scope("StringGetCString", handle);
    const Text *text = scope.fails() ? nullptr : FindText(handle, "StringGetCString");
    return text ? text->bytes().data() : nullptr;
}

struct Entry {
    std::string_view name;
    void *address; ///< null: found through another entry
    bool yieldsBoolean = false;
};

const Entry kEntries[] = {
    {"RegisterPluginVersion", Address(RegisterPluginVersion)},
    {"REALGetRBVersion", Address(GetRBVersion)},
    {"PluginRegisterClass", Address(RegisterClass)},
    {"PluginRegisterClassExtension", Address(RegisterClassExtension)},
    {"PluginRegisterMethod", Address(RegisterMethod)},
    {"REALLockObject", Address(LockObject)},
    {"REALUnlockObject", Address(UnlockObject)},
    {"REALLockString", Address(LockString)},
    {"REALUnlockString", Address(UnlockString)},
    {"pluginObjectType", Address(ObjectType)},
    {"PluginNewInstance", Address(NewInstance)},
    {"REALLoadObjectMethod", Address(LoadObjectMethod)},
    {"REALLoadGlobalMethod", Address(LoadGlobalMethod)},
    {"REALGetPropValueInt", Address(GetPropValueInt), true},
    {"REALSetPropValueInt", Address(SetPropValueInt), true},
    {"REALGetPropValueBool", Address(GetPropValueBool), true},
    {"REALSetPropValueUInt32", Address(SetPropValueUInt32), true},
    {"REALSetPropValueString", Address(SetPropValueString), true},
    {"RuntimeRaiseException", Address(RaiseException)},
    {"REALLockPictureDescription", Address(LockDescriptionTyped), true},
    {"lockPictureDescription", Address(LockDescription)},
    {"unlockPictureDescription", Address(UnlockDescription)},
    {"REALPictureClearCache", Address(PictureClearCache)},
    {"newPicture", Address(NewPicture)},
    {"pluginPictureGraphicsGetter", Address(PictureGraphics)},
    {"REALGetPictureMask", Address(PictureMask)},
    {"RuntimeGraphicsDrawLine", Address(GraphicsDrawLine)},
    {"newMemoryBlock", Address(NewMemoryBlock)},
    {"memoryBlockGetPtr", Address(MemoryBlockGetPtr)},
    {"memoryBlockGetSize", Address(MemoryBlockGetSize)},
    {"REALGetStringEncoding", Address(GetStringEncoding)},
    {"REALConvertString", Address(ConvertString)},
    {"REALSetStringEncoding", Address(SetStringEncoding)},
    {"REALBuildString", Address(BuildString)},
    {"PluginGetStringData", Address(GetStringData), true},
    {"PluginDisposeStringData", Address(DisposeStringData)},
    {"StringGetCString", Address(StringGetCString)},
    {"Picture.Constructor", nullptr},
    {"Graphics.DrawPicture", nullptr},
    {"LenB", nullptr},
};

} // namespace

void EntryScope::Enter(std::string_view name) {
    if (gHost->depth++ == 0) {
        ++gHost->entered;
        start_ = std::chrono::steady_clock::now();
    }
    auto found = gHost->entries.find(name);
    if (found == gHost->entries.end())
        found = gHost->entries.emplace(std::string(name), EntryState{}).first;
    EntryState &state = found->second;
    ++state.calls;
    if (const Fault *fault = gHost->FaultOf(name)) {
        wide_ = fault->what == Fault::WideFalse;
        fails_ = wide_ || (fault->what == Fault::Fails && fault->call == state.calls);
        if (fails_)
            ++state.missed;
        if (fails_ && name == "lockPictureDescription")
            ++gHost->strayLocks;
    }
}

void EntryScope::Tell(std::string_view name, std::initializer_list<std::string> arguments) {
    std::string call(name);
    for (const std::string &argument : arguments)
        call += ' ' + argument;
    gHost->description.log(call);
}

std::string EntryScope::LogWord(const void *handle) {
    const auto found = gHost->objects.find(handle);
    if (found == gHost->objects.end())
        return handle ? "unknown" : "nil";
    return found->second->name.empty() ? found->second->Describe() : found->second->name;
}

std::string EntryScope::LogWord(const char *text) { return text ? text : "nil"; }
std::string EntryScope::LogWord(std::int32_t number) { return std::to_string(number); }
std::string EntryScope::LogWord(std::uint32_t bits) { return fmt::format("0x{:X}", bits); }

EntryScope::~EntryScope() {
    if (--gHost->depth == 0)
        gHost->timeInEntries += std::chrono::steady_clock::now() - start_;
}

void *Resolve(const char *name) {
    if (!gHost)
        return nullptr;
    const auto *entry = std::find_if(std::begin(kEntries), std::end(kEntries),
                                     [&](const Entry &candidate) { return candidate.name == name; });
    if (entry == std::end(kEntries) || !entry->address) {
        gHost->Violation(fmt::format("the resolver was asked for \"{}\", which no host has", name));
        return nullptr;
    }
    EntryState &state = gHost->entries[name];
    ++state.requests;
    if (entry->name == "REALGetRBVersion" && !gHost->description.version)
        return nullptr;
    const Fault *fault = gHost->FaultOf(name);
    if (!fault || !(fault->what == Fault::Missing || (fault->what == Fault::Late && state.requests == 1)))
        return entry->address;
    ++state.missed;
    TellMissing(name);
    const bool typedLock = entry->name == "REALLockPictureDescription";
    if (entry->name == "lockPictureDescription" || (typedLock && gHost->LeavesFailedLocks()))
        ++gHost->strayLocks;
    return nullptr;
}

std::vector<EntryName> EntryNames() {
    std::vector<EntryName> names;
    for (const Entry &entry : kEntries)
        names.push_back({entry.name, entry.yieldsBoolean});
    return names;
}

} // namespace standin
