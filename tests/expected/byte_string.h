#pragma once

#include "expected/picture.h"

#include <optional>
#include <string>

namespace expected {

/// The byte string of a picture.
std::string BytesOf(const Picture &picture);

/// The picture of a byte string; none for a string that is refused.
std::optional<Picture> PictureOf(const std::string &bytes);

} // namespace expected
