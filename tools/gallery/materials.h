#pragma once

#include "tools/gallery/folder.h"
#include "tools/picture_files.h"

namespace tools::gallery {

/// The photo that the gallery shows: at most 640 pixels wide and high, opaque. Larger pictures are scaled down by the
/// average of what each pixel covers; transparent ones lie on white.
Image PhotoFrom(const Image &picture);

/// Writes what the gallery's calls name, the "materials" of methods.json: the photo and pictures made from it, a
/// written page, lookup tables, a color table and a sound. Throws UserError.
void WriteMaterials(const Image &photo, Folder &folder);

} // namespace tools::gallery
