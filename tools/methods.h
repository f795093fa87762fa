#pragma once

#include "standin/host.h"
#include "tools/messages.h"

namespace tools {

/// methods.json: what each method and class is, calls that show it, and what they run on. "chapters" hold a "heading"
/// and "methods"; a method has a "name" as registered, a "meaning" in a few words, a "promise" in a sentence or two,
/// "charts" to be drawn of its calls, and "calls". A "call" is as kvt apply takes it; "on" is one of the materials
/// (photo.png when left out, null for a call that needs no picture), "as" how that picture comes to the call ("with
/// alpha", "masked", "graphics world"), "frames" the areas that it is limited to (left, top, width, height), "sound"
/// what it is given of one (the file, and how many samples count; 0: all), and "shows" what to look at, true of any
/// photo. "materials" are made in their order, as gallery/materials.cpp tells.
const Json &MethodData();

/// The data of a method or class; null for those of other modules.
const Json *FindMethod(std::string_view name);

/// The names of all methods and classes, each once, in the order of the alphabet. Seen while the host lives.
std::vector<std::string_view> InterfaceNames(const standin::Host &host);

} // namespace tools
