#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstdint>

namespace kvt {

/// Description types that a picture's pixels can be locked in.
inline constexpr std::int32_t kGraphicsWorldDescription = 4;
inline constexpr std::int32_t kBitmapDescription = 8;
inline constexpr std::int32_t kConsoleDescription = 10;

/// Locks the picture's pixels and describes them in that form, to be given back with REALUnlockPictureDescription.
/// False, with nothing held, when it cannot be done: hosts before 2012.0 leave a lock behind, which is taken back here.
bool REALLockPictureDescriptionX(REALpictureStruct *picture, REALpictureDescription *description, std::int32_t type);

/// Width and height in pixels; 0 for a null picture or when the host does not answer.
std::int32_t GetPictureWidth(REALpictureStruct *picture);
std::int32_t GetPictureHeight(REALpictureStruct *picture);

/// The pen of a drawing surface; `color` is 0x00RRGGBB. True when the host accepted it. A null surface is the host's to
/// refuse.
bool SetGraphicsForeColor(REALgraphicsStruct *graphics, std::uint32_t color);
bool SetGraphicsPenWidth(REALgraphicsStruct *graphics, std::int32_t width);
bool SetGraphicsPenHeight(REALgraphicsStruct *graphics, std::int32_t height);

/// A new picture of the same size with `picture` drawn into it, carrying one reference for the caller; undrawn when the
/// host gives no drawing surface. Null for a null or empty picture, or when no picture can be made.
REALpictureStruct *ClonePicture(REALpictureStruct *picture);

/// Draws the part (sourceX, sourceY, sourceWidth, sourceHeight) of `source` into the part (x, y, width, height) of
/// `graphics`, which belongs to `target`: through the surface's own method or, without one, by OwnCopy. True when the
/// method was called or the copy was made.
bool GraphicsDrawPicture(REALgraphicsStruct *graphics, REALpictureStruct *target, REALpictureStruct *source,
                         std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height, std::int32_t sourceX,
                         std::int32_t sourceY, std::int32_t sourceWidth, std::int32_t sourceHeight);

/// Copies a whole console picture, unscaled, into another of equal size, row by row. False, with nothing copied, for
/// any other request or picture; the rectangles are only compared with each other, the pictures' own sizes count.
bool OwnCopy(REALpictureStruct *target, REALpictureStruct *source, std::int32_t x, std::int32_t y, std::int32_t width,
             std::int32_t height, std::int32_t sourceX, std::int32_t sourceY, std::int32_t sourceWidth,
             std::int32_t sourceHeight);

} // namespace kvt
