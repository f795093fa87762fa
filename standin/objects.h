#pragma once

#include "host/records.h"
#include "platform/CoreGraphics.h"
#include "platform/QuickDraw.h"
#include "standin/guarded_memory.h"
#include "standin/pixel_layout.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace standin {

enum class Kind { Picture, Graphics, MemoryBlock, String, Instance, Exception };
const char *NameOf(Kind kind);

/// An object of the host. Its handle is the address that the module knows it by; behind it lies nothing of the host's
/// own, but for strings and instances, whose records the module may read.
struct Object {
    Object(Kind kind_) : kind(kind_) {}
    virtual ~Object() = default;
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    std::string Describe() const; ///< "picture #3 (37 x 5, alpha first)"
    /// Of all that a call may not change unasked, which stays sealed; nothing of objects that hold nothing of the kind.
    std::optional<std::uint64_t> Checksum() const;

    Kind kind;
    int number = 0;        ///< counted from 1 as objects are made
    std::string name = {}; ///< in the log of calls; empty: the description
    void *handle = nullptr;
    int references = 0; ///< all that are out, whoever holds them
    int held = 0;       ///< those that the host's side holds: scripts, fields, masks, the pending exception
    bool dead = false;
};

template <Kind kOwn> struct ObjectOf : Object {
    static constexpr Kind kKind = kOwn;
    ObjectOf() : Object(kOwn) {}
};

/// The object as one of that kind; null when it is none.
template <class Wanted> Wanted *As(Object *object) {
    return object && object->kind == Wanted::kKind ? static_cast<Wanted *>(object) : nullptr;
}
template <class Wanted> const Wanted *As(const Object *object) { return As<Wanted>(const_cast<Object *>(object)); }

/// How the host stores a picture's pixels.
enum class Form {
    OfHost,        ///< as this kind of host stores pictures
    Bitmap,        ///< a bitmap context, description type 8
    Console,       ///< rows wherever the row table says, description type 10
    GraphicsWorld, ///< description type 4, to be had by the untyped lock alone
};

/// Everything that can be said of a picture to be made; the defaults make the ordinary one. The lower half describes
/// what only a broken host would offer.
struct PictureDescription {
    int width = 1;
    int height = 1;
    Form form = Form::OfHost;
    bool hasAlphaChannel = false;
    std::uint32_t alphaInfo = 0; ///< of a bitmap; 0: as this host makes them
    int rowPadding = 0;          ///< bytes behind each row, a multiple of 4
    bool lockable = true;
    std::function<ColorValue(int x, int y)> color = {};   ///< opaque pixels
    std::function<std::uint32_t(int x, int y)> word = {}; ///< pixel words; neither given: fresh
    bool unset = false;                                   ///< or left to the caller, who writes every pixel
    ColorValue background = 0xFFFFFF;                     ///< of a graphics world's port

    std::size_t bitsPerPixel = 32;
    std::optional<std::uint32_t> describedType = {}; ///< what the description claims to be
    bool withoutData = false;                        ///< the description's data handle is null
    bool withoutPixels = false;                      ///< the bitmap's data, or the console record's row table, is null
    int nullRow = -1;                                ///< a row whose address in the row table is null
    int untouchableRow = -1;                         ///< the first whose address there leads to inaccessible memory
    bool numbersPadding = false; ///< the bytes behind each row hold its number, and may move with it
    std::uint32_t paletteRows = 0;
    std::uint32_t trueColor = 1;
    std::optional<std::size_t> bytesPerRow = {}; ///< what the bitmap claims
};

/// A line that was drawn, with the pen it was drawn with.
struct DrawnLine {
    int x1, y1, x2, y2;
    int penWidth, penHeight;
    ColorValue color;
    bool operator==(const DrawnLine &) const = default;
};

struct Picture : ObjectOf<Kind::Picture> {
    unsigned char *Row(int y) const; ///< its first pixel; opens the pixels when they are sealed
    std::uint32_t Word(int x, int y) const;
    void SetWord(int x, int y, std::uint32_t word);
    ColorValue ColorAt(int x, int y) const { return ColorOf(layout, Word(x, y)); }
    unsigned ExtraAt(int x, int y) const { return ExtraOf(layout, Word(x, y)); }
    bool Inside(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }

    /// Lays the pixels out as the description says; console rows in any order when they are to be scattered. Without a
    /// color or word, every pixel is `freshWord`.
    void Build(const PictureDescription &wanted, Guard side, bool scatterRows, std::uint32_t freshWord);
    void Lock(REALpictureDescription &out); ///< opens the pixels and describes them
    /// Whether the bytes between and around rows are as they were made.
    bool BordersIntact() const;
    int PaddingOf(int y) const; ///< what all bytes behind a row hold; -1 when they differ
    /// Makes pixels and borders inaccessible until they are opened again, unless they are locked; so many times, then
    /// no more. Each costs the system as much as a short call, and many times that where other processes do the same.
    void Seal();

    PictureDescription description;
    int width = 0;
    int height = 0;
    Layout layout = Layout::AlphaLow;
    GuardedMemory memory;
    std::optional<std::uint64_t> sealedSum; ///< the checksum of what is sealed, which nobody can change
    int sealsLeft = 0;
    bool scattersRows = false;
    std::ptrdiff_t pitch = 0;       ///< bytes from slot to slot
    std::vector<void *> rowTable;   ///< of a console picture: as handed to the module
    std::vector<void *> handedRows; ///< the same, for who changes it
    CGContext context = {};
    REALconsolePicture consoleRecord = {};
    ::GraphicsWorld world = {};
    Picture *mask = nullptr; ///< holds a reference
    int locks = 0;
    int cacheClears = 0;          ///< how often the host was told to forget what it cached
    std::vector<DrawnLine> lines; ///< drawn into it so far
};

struct Graphics : ObjectOf<Kind::Graphics> {
    Picture *picture = nullptr; ///< holds a reference
    ColorValue foreColor = 0;
    int penWidth = 1;
    int penHeight = 1;
};

struct MemoryBlock : ObjectOf<Kind::MemoryBlock> {
    GuardedMemory memory;
    bool withoutAddress = false;
};

/// A string. Its handle is the record that hosts before 2013.0 let the module read.
struct Text : ObjectOf<Kind::String> {
    std::string_view bytes() const;
    std::uint32_t encoding = 0;
    GuardedMemory storage; ///< one byte, then the text
    REALolderString record = {};
    std::vector<GuardedMemory> copies; ///< of the bytes, with a zero behind them: handed out, not yet given back
};

struct RaisedException {
    std::string className;
    std::string message;
    bool operator==(const RaisedException &) const = default;
};

struct Exception : ObjectOf<Kind::Exception> {
    RaisedException content;
};

struct RegisteredClass;

/// An instance of a class that the module registered.
struct Instance : ObjectOf<Kind::Instance> {
    const RegisteredClass *definition = nullptr;
    GuardedMemory memory; ///< what lies before the class's data, then the data
};

/// Draws a line with the surface's pen, whose top left corner follows the line.
void DrawLine(Graphics &graphics, int x1, int y1, int x2, int y2);

/// Draws a part of `source` into a part of `target`, scaled without smoothing, opaque.
void DrawPicture(Picture &target, const Picture &source, int x, int y, int width, int height, int sourceX, int sourceY,
                 int sourceWidth, int sourceHeight);

} // namespace standin
