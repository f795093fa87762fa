#include "analysis/methods.h"

#include "analysis/legacy_drawing.h"
#include "host/entries.h"
#include "kernels/rotate.h"
#include "pixels/open.h"
#include "pixels/picture_helpers.h"

#include <algorithm>

namespace kvt {
namespace {

/// True as well when there is no mask.
bool ScrollMask(decltype(ScrollVerticalKVT) scroll, REALpictureStruct *picture, std::int32_t delta, signed char wrap) {
    REALpictureStruct *mask = picture ? REALGetPictureMask(picture, 0) : nullptr;
    if (!mask)
        return true;
    const bool scrolled = scroll(mask, delta, wrap, 0);
    REALUnlockObject(mask);
    return scrolled;
}

bool WrapAround(bool (*wrap)(const PictureEditor &, std::int32_t), REALpictureStruct *picture, std::int32_t delta) {
    const OpenEditor editor{picture};
    return editor && wrap(*editor, delta);
}

/// Drawing coordinates have 16 bits.
std::int16_t Coordinate(std::int32_t value) {
    return static_cast<std::int16_t>(std::clamp<std::int32_t>(value, INT16_MIN, INT16_MAX));
}

/// Scrolls in the current drawing port's place, which comes back afterwards.
void ScrollGraphicsWorld(const REALpictureDescription &description, std::int32_t dh, std::int32_t dv) {
    CGrafPtr port = nullptr;
    GDHandle device = nullptr;
    GetGWorld(&port, &device);
    SetGWorld(static_cast<CGrafPtr>(description.data), nullptr);
    RgnHandle uncovered = NewRgn();
    Rect whole;
    SetRect(&whole, 0, 0, Coordinate(description.width), Coordinate(description.height));
    ScrollRect(&whole, Coordinate(dh), Coordinate(dv), uncovered);
    DisposeRgn(uncovered);
    SetGWorld(port, device);
}

/// False when the picture is none that the platform can scroll.
bool ScrollByPlatform(REALpictureStruct *picture, std::int32_t dh, std::int32_t dv) {
    if (!picture)
        return false;
    REALpictureDescription description = {};
    LockPictureDescriptionUntyped(picture, &description);
    const bool isGraphicsWorld = description.type == kGraphicsWorldDescription;
    if (isGraphicsWorld)
        ScrollGraphicsWorld(description, dh, dv);
    REALUnlockPictureDescription(picture);
    return isGraphicsWorld;
}

} // namespace

unsigned char ScrollVerticalKVT(REALpictureStruct *picture, std::int32_t delta, signed char wrap,
                                signed char scrollmask) {
    if (scrollmask && !ScrollMask(ScrollVerticalKVT, picture, delta, wrap))
        return 0;
    if (delta == 0)
        return 1;
    return wrap ? WrapAround(WrapVertically, picture, delta) : ScrollByPlatform(picture, 0, delta);
}

unsigned char ScrollHorizontalKVT(REALpictureStruct *picture, std::int32_t delta, signed char wrap,
                                  signed char scrollmask) {
    if (scrollmask)
        ScrollMask(ScrollHorizontalKVT, picture, delta, wrap);
    if (delta != 0)
        wrap ? WrapAround(WrapHorizontally, picture, delta) : ScrollByPlatform(picture, delta, 0);
    return 1;
}

unsigned char ScrollKVT(REALpictureStruct *picture, std::int32_t deltaX, std::int32_t deltaY, signed char wrap,
                        signed char scrollmask) {
    ScrollHorizontalKVT(picture, deltaX, wrap, scrollmask);
    return ScrollVerticalKVT(picture, deltaY, wrap, scrollmask);
}

} // namespace kvt
