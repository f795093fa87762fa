#pragma once

#include "expected/picture.h"

#include <optional>
#include <utility>

namespace expected {

bool IsWhite(const Picture &picture, Rectangle rectangle);
bool IsBlack(const Picture &picture, Rectangle rectangle);
bool IsGray(const Picture &picture, int tolerance, Rectangle rectangle);

/// The colored fraction, 0..1; not a number for a picture without pixels.
double Colorness(const Picture &picture, int threshold);

/// Its words scrolled by `delta` pixels, what leaves one edge coming in at the other; positive is down or right.
StoredPicture WrapVertically(const StoredPicture &picture, int delta);
StoredPicture WrapHorizontally(const StoredPicture &picture, int delta);

/// Column and row of the first place, row by row from the top, at which all of the needle stands in the haystack.
std::optional<std::pair<int, int>> FindPicture(const Picture &haystack, const Picture &needle);

} // namespace expected
