#pragma once

#include "tools/bound_call.h"
#include "tools/methods.h"
#include "tools/picture_files.h"

/// The parts of `kvt gallery`, which all work in the current folder.
namespace tools::gallery {

/// The photo that the gallery shows: at most 640 pixels wide and high, opaque. Larger pictures are scaled down by the
/// average of what each pixel covers; transparent ones lie on white.
Image PhotoFrom(const Image &picture);

/// Writes what the gallery's calls name, the "materials" of methods.json: the photo and pictures made from it, a
/// written page, lookup tables, a color table and a sound. Throws UserError.
void WriteMaterials(const Image &photo);

/// Makes a call of methods.json a few times, on a fresh picture each, and tells what the page shows of it in the call's
/// own data:
///   "form"                of its declaration: whether the call is "onPicture", whether it "hasResult", and the names
///   of
///                         "byref" parameters by their places from 0
///   "output"              the file that takes what comes back, when something does
///   "failure"             why nothing came of it, with "violated" when the module broke the host's rules
///   "before", "after"     numbers of pictures, "others" those that the call was given, with their names
///   "facts"               what came back and is no picture: names and values
///   "frames"              where another picture was found, beside those that the call has
///   "curve"               what becomes of the levels 0..255 in red, green and blue
///   "histograms"          a caption, and how often each level occurs in red, green and blue
///   "bytes"               the first of a string that came or went
///   "ms", "ratio"         the best time, without that inside host entries, and its ratio to a memcpy of the picture
/// A string that comes back is saved there, for calls that need it. `pictures` is the array of those that are shown, to
/// which new ones are added: "width", "height", "alpha" and a data "address", which holds a picture's whole file.
void Render(standin::Host &host, const Json &method, Json &shot, Json &pictures);

/// The best of a few runs into memory that was written before, in milliseconds.
double TimeOfMemcpy(std::size_t bytes);

} // namespace tools::gallery
