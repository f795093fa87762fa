#pragma once

#include "standin/host.h"

#include <string>
#include <string_view>
#include <vector>

namespace tools::gallery {

/// What stands beside an entry's pictures.
enum class Illustration {
    None,
    Curve,              ///< what becomes of a ramp of grays
    Histograms,         ///< before and after, or as the call counted them
    CurveAndHistograms, ///< both
};

/// How the picture comes to the call.
enum class Setting {
    AsFile,
    WithAlpha,       ///< with an alpha channel that its file lacks
    WithMask,        ///< with an attached mask, which no file holds
    InGraphicsWorld, ///< as the host keeps pictures for its older drawing
};

/// One call on one picture.
struct Shot {
    std::string_view call;                ///< as kvt apply takes it
    std::string_view note;                ///< what to look at
    std::string_view input = "photo.png"; ///< one of the materials; empty: the call makes its picture from nothing
    Setting setting = Setting::AsFile;
};

/// A method or class.
struct Entry {
    std::string_view method;  ///< as registered
    std::string_view heading; ///< what it is, in a few words; also in `kvt list` and in README's table
    std::string_view promise; ///< what it does, in a sentence or a few
    std::vector<Shot> shots;
    Illustration illustration = Illustration::None;
};

struct Chapter {
    std::string_view heading;
    std::vector<Entry> entries;
};

/// All that the gallery shows, in its order.
const std::vector<Chapter> &Chapters();

/// The entry of a method or class; null when there is none.
const Entry *FindEntry(std::string_view name);

/// The registered methods, forms of methods and classes that no call shows, and the entries that nothing is registered
/// for; a sentence each.
std::vector<std::string> Mismatches(const standin::Host &host);

} // namespace tools::gallery
