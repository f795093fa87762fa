#include "pixels/picture_helpers.h"

#include "host/entries.h"

#include <cstring>

namespace kvt {
namespace {

std::int32_t GetPictureInteger(REALpictureStruct *picture, const char *property) {
    std::int32_t value = 0;
    return picture && REALGetPropValueInt32(picture, property, &value) ? value : 0;
}

/// Copies all pixels of a console picture to another one of its size, none where there are none. Whether the words are
/// true colors does not matter to a copy. Records that differ in size, or are missing, are refused.
bool CopyRows(const REALconsolePicture *target, const REALconsolePicture *source) {
    if (!target || !source || target->width != source->width || target->height != source->height ||
        target->paletteRows || source->paletteRows || !target->rows || !source->rows)
        return false;
    const std::ptrdiff_t height = source->width > 0 ? source->height : 0;
    for (std::ptrdiff_t row = 0; row < height; ++row)
        if (!target->rows[row] || !source->rows[row])
            return false;
    for (std::ptrdiff_t row = 0; row < height; ++row)
        std::memcpy(target->rows[row], source->rows[row], static_cast<std::size_t>(source->width) * 4);
    return true;
}

} // namespace

bool REALLockPictureDescriptionX(REALpictureStruct *picture, REALpictureDescription *description, std::int32_t type) {
    if (REALLockPictureDescription(picture, description, type))
        return true;
    if (!(rbversion_rbversion >= 2012.0))
        REALUnlockPictureDescription(picture);
    return false;
}

std::int32_t GetPictureWidth(REALpictureStruct *picture) { return GetPictureInteger(picture, "Width"); }
std::int32_t GetPictureHeight(REALpictureStruct *picture) { return GetPictureInteger(picture, "Height"); }

bool SetGraphicsForeColor(REALgraphicsStruct *graphics, std::uint32_t color) {
    return REALSetPropValueUInt32(graphics, "ForeColor", color);
}

bool SetGraphicsPenWidth(REALgraphicsStruct *graphics, std::int32_t width) {
    return REALSetPropValueInt32(graphics, "PenWidth", width);
}

bool SetGraphicsPenHeight(REALgraphicsStruct *graphics, std::int32_t height) {
    return REALSetPropValueInt32(graphics, "PenHeight", height);
}

REALpictureStruct *ClonePicture(REALpictureStruct *picture) {
    const std::int32_t width = GetPictureWidth(picture);
    const std::int32_t height = GetPictureHeight(picture);
    if (width < 1 || height < 1)
        return nullptr;
    REALpictureStruct *copy = REALNewPicture(width, height, 32);
    if (!copy)
        return nullptr;
    if (REALgraphicsStruct *graphics = REALGetPictureGraphics(copy)) {
        GraphicsDrawPicture(graphics, copy, picture, 0, 0, width, height, 0, 0, width, height);
        REALUnlockObject(graphics);
    }
    return copy;
}

bool GraphicsDrawPicture(REALgraphicsStruct *graphics, REALpictureStruct *target, REALpictureStruct *source,
                         std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height, std::int32_t sourceX,
                         std::int32_t sourceY, std::int32_t sourceWidth, std::int32_t sourceHeight) {
    using DrawPicture = void(REALgraphicsStruct *, REALpictureStruct *, std::int32_t, std::int32_t, std::int32_t,
                             std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t);
    if (graphics && source) {
        if (void *method = REALLoadObjectMethod(
                graphics, "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
                          "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)")) {
            reinterpret_cast<DrawPicture *>(method)(graphics, source, x, y, width, height, sourceX, sourceY,
                                                    sourceWidth, sourceHeight);
            return true;
        }
    }
    return OwnCopy(target, source, x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight);
}

bool OwnCopy(REALpictureStruct *target, REALpictureStruct *source, std::int32_t x, std::int32_t y, std::int32_t width,
             std::int32_t height, std::int32_t sourceX, std::int32_t sourceY, std::int32_t sourceWidth,
             std::int32_t sourceHeight) {
    if (!target || !source || sourceWidth != width || sourceHeight != height || x || y || sourceX || sourceY)
        return false;
    REALpictureDescription from = {};
    REALpictureDescription to = {};
    if (!REALLockPictureDescriptionX(source, &from, kConsoleDescription))
        return false;
    bool copied = false;
    if (REALLockPictureDescriptionX(target, &to, kConsoleDescription)) {
        copied = CopyRows(static_cast<const REALconsolePicture *>(to.data),
                          static_cast<const REALconsolePicture *>(from.data));
        REALUnlockPictureDescription(target);
    }
    REALUnlockPictureDescription(source);
    REALPictureClearCache(target);
    return copied;
}

} // namespace kvt
