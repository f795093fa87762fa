#pragma once

#include "expected/area.h"
#include "expected/picture.h"

namespace expected {

/// Black where the boxes around colored areas of a rectangle lie, else white. Boxes grow side by side, and after each
/// one the next is looked for from the top, as slowly as it sounds.
Picture ColorRectangleMask(const Picture &picture, Rectangle rectangle);

} // namespace expected
