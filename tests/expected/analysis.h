#pragma once

#include "expected/area.h"
#include "expected/picture.h"

namespace expected {

bool IsWhite(const Picture &picture, Rectangle rectangle);
bool IsBlack(const Picture &picture, Rectangle rectangle);
bool IsGray(const Picture &picture, int tolerance, Rectangle rectangle);

/// The colored fraction, 0..1; not a number for a picture without pixels.
double Colorness(const Picture &picture, int threshold);

/// Scrolled by `delta` pixels, what leaves one edge coming in at the other; positive is down or right.
Picture WrapVertically(const Picture &picture, int delta);
Picture WrapHorizontally(const Picture &picture, int delta);

} // namespace expected
