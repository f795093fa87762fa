#include "pixels/picture_editor.h"

#include "host/entries.h"
#include "host/resolver.h"
#include "pixels/picture_helpers.h"
#include "platform/CoreGraphics.h"

#include <cstddef>
#include <utility>

namespace kvt {
namespace {

void LearnApplicationKind() {
    if (IsDesktop || IsConsole)
        return;
    const bool desktop = REALGetClassRef("Application") != nullptr;
    const bool web = REALGetClassRef("WebApplication") != nullptr;
    const bool console = REALGetClassRef("ConsoleApplication") != nullptr;
    IsDesktop = desktop;
    IsConsole = !desktop && (web || console);
}

bool HasAlphaChannel(REALpictureStruct *picture) {
    unsigned char value = 0;
    return REALGetPropValueUInt8(picture, "HasAlphaChannel", &value) && value;
}

bool HasPixels(const PictureEditor &editor) { return editor.width > 0 && editor.height > 0; }

/// Fills the editor from a locked bitmap context. False when its pixels cannot be worked on.
bool ReadBitmap(PictureEditor &editor, const REALpictureDescription &description) {
    if (description.type != kBitmapDescription || !description.data)
        return false;
    const auto context = static_cast<CGContextRef>(description.data);
    auto *data = static_cast<unsigned char *>(CGBitmapContextGetData(context));
    const std::size_t bitsPerPixel = CGBitmapContextGetBitsPerPixel(context);
    const std::size_t width = CGBitmapContextGetWidth(context);
    const std::size_t height = CGBitmapContextGetHeight(context);
    const std::size_t bytesPerRow = CGBitmapContextGetBytesPerRow(context);
    // The alpha info is the lowest bits alone. Of pictures with an alpha channel only the premultiplied forms are read.
    const auto alphaInfo = static_cast<std::int32_t>(CGBitmapContextGetAlphaInfo(context) & 7);
    const std::int32_t lastFormat = editor.hasAlphaChannel ? 2 : 6;
    if (alphaInfo < 1 || alphaInfo > lastFormat || bitsPerPixel != 32)
        return false;
    constexpr std::size_t kLargest = 0x7FFFFFFF;
    if (width > kLargest || height > kLargest || bytesPerRow > kLargest)
        return false;
    editor.format = alphaInfo;
    editor.rowBytes = static_cast<std::int32_t>(bytesPerRow);
    editor.width = static_cast<std::int32_t>(width);
    editor.height = static_cast<std::int32_t>(height);
    editor.firstRow = data;
    return !HasPixels(editor) || (data && bytesPerRow / 4 >= width);
}

/// Fills the editor from a locked console picture. False when its pixels cannot be worked on.
bool ReadConsolePicture(PictureEditor &editor, const REALpictureDescription &description) {
    if (description.type != kConsoleDescription || !description.data)
        return false;
    const auto *record = static_cast<const REALconsolePicture *>(description.data);
    if ((!editor.hasAlphaChannel && record->paletteRows) || !record->rows || !record->trueColor)
        return false;
    if (description.width > 0x7FFFFFFF / 4) // the bytes of a row are counted in 32 bits
        return false;
    editor.format = kConsoleFormat;
    editor.width = description.width;
    editor.height = description.height;
    editor.rowBytes = HasPixels(editor) ? description.width * 4 : 0;
    editor.rowTable = record->rows;
    if (!HasPixels(editor))
        return true;
    for (std::int32_t row = 0; row < editor.height; ++row)
        if (!record->rows[row])
            return false;
    editor.firstRow = static_cast<unsigned char *>(record->rows[0]);
    return true;
}

/// Completes an open whose lock was taken: holds a reference, or gives the lock back and leaves the editor closed.
bool FinishOpen(PictureEditor &editor, REALpictureStruct *picture, bool readable) {
    if (readable) {
        REALLockObject(picture);
        editor.picture = picture;
    } else {
        REALUnlockPictureDescription(picture);
        editor = {};
    }
    return readable;
}

/// A read may take a drawn copy. That is never copied again, so that a host that can lock neither ends the open.
enum class Access { Read, ReadCopy, Write };

bool Open(PictureEditor &editor, REALpictureStruct *picture, Access access) {
    editor = {};
    if (!picture)
        return false;
    editor.writes = access == Access::Write;
    LearnApplicationKind();
    editor.hasAlphaChannel = HasAlphaChannel(picture);
    REALpictureDescription description = {};
    if (!IsConsole) {
        if (REALLockPictureDescriptionX(picture, &description, kBitmapDescription)) {
            IsDesktop = 1;
            return FinishOpen(editor, picture, ReadBitmap(editor, description));
        }
        if (access == Access::Read && !editor.hasAlphaChannel) {
            if (REALpictureStruct *copy = ClonePicture(picture)) {
                const bool opened = Open(editor, copy, Access::ReadCopy);
                REALUnlockObject(copy);
                return opened;
            }
        }
    }
    if (IsDesktop || !REALLockPictureDescriptionX(picture, &description, kConsoleDescription))
        return false;
    IsConsole = 1;
    return FinishOpen(editor, picture, ReadConsolePicture(editor, description));
}

/// Opens a picture that was just made for this writer, and hands the creation's reference over to it.
bool OpenNewPicture(PictureEditor &writer, REALpictureStruct *made) {
    const bool opened = Open(writer, made, Access::Write);
    if (made)
        REALUnlockObject(made);
    return opened;
}

REALpictureStruct *NewAlphaPicture(std::int32_t width, std::int32_t height) {
    using Constructor = void(REALobjectStruct *, std::int32_t, std::int32_t);
    if (width < 1 || height < 1 || !(rbversion_rbversion >= 2011.04))
        return nullptr;
    REALobjectStruct *made = REALnewInstance("Picture");
    if (!made)
        return nullptr;
    void *constructor = REALLoadObjectMethod(made, "Constructor(width as integer, height as integer)");
    if (!constructor) {
        REALUnlockObject(made);
        return nullptr;
    }
    reinterpret_cast<Constructor *>(constructor)(made, width, height);
    return static_cast<REALpictureStruct *>(made);
}

} // namespace

bool GetPictureReader(PictureEditor &editor, REALpictureStruct *picture) { return Open(editor, picture, Access::Read); }
bool GetPictureEditor(PictureEditor &editor, REALpictureStruct *picture) {
    return Open(editor, picture, Access::Write);
}

bool NewPictureWriter(PictureEditor &writer, std::int32_t width, std::int32_t height) {
    return OpenNewPicture(writer, FitsNewPicture(width, height) ? REALNewPicture(width, height, 32) : nullptr);
}

bool NewPictureWriter(PictureEditor &writer, const PictureEditor &reader) {
    if (!reader.hasAlphaChannel)
        return NewPictureWriter(writer, reader.width, reader.height);
    return OpenNewPicture(writer, NewAlphaPicture(reader.width, reader.height));
}

bool NewPictureWriter(PictureEditor &writer, REALpictureStruct *target, std::int32_t width, std::int32_t height) {
    if (target && GetPictureWidth(target) >= width && GetPictureHeight(target) >= height &&
        GetPictureEditor(writer, target))
        return true;
    return NewPictureWriter(writer, width, height);
}

REALpictureStruct *RenderPictureWriter(PictureEditor &writer) {
    REALpictureStruct *result = writer.picture;
    if (result)
        REALLockObject(result);
    ClosePictureEditor(writer);
    if (result)
        REALPictureClearCache(result);
    return result;
}

void ClosePictureEditor(PictureEditor &editor) {
    const PictureEditor closed = std::exchange(editor, {});
    if (!closed.picture)
        return;
    REALUnlockPictureDescription(closed.picture);
    if (closed.writes)
        REALPictureClearCache(closed.picture);
    REALUnlockObject(closed.picture);
}

} // namespace kvt
