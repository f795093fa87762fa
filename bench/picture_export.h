#pragma once

#include "bench/size.h"

#include <string>

namespace bench {

/// Writes the pictures that others are timed on into a folder: photo.rgba, second.rgba and needle.rgba, rows of red,
/// green, blue and alpha bytes. Throws when one cannot be written.
void WritePictures(const std::string &folder, Size size);

} // namespace bench
