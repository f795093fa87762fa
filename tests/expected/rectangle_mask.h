#pragma once

#include "expected/area.h"
#include "expected/picture.h"

namespace expected {

/// Black where the boxes around colored areas of a rectangle lie, else white. Boxes grow side by side.
Picture ColorRectangleMask(const Picture &picture, Rectangle rectangle);

} // namespace expected
