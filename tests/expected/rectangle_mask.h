#pragma once

#include "expected/picture.h"

namespace expected {

/// Black where the boxes around colored areas of a rectangle lie, else white. A negative width or height stands for the
/// whole picture's. Boxes grow side by side and are looked for from the top after each, as slowly as it sounds.
Picture ColorRectangleMask(const Picture &picture, int left, int top, int width, int height);

} // namespace expected
