#pragma once

#include "standin/host.h"
#include "tools/gallery/folder.h"
#include "tools/host_options.h"
#include "tools/methods.h"
#include "tools/picture_files.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace tools::gallery {

using Milliseconds = std::chrono::duration<double, std::milli>;

/// The pictures of the page, each held once however often it is shown.
class Pictures {
  public:
    std::size_t Add(const Image &image); ///< its number
    Json List() const;                   ///< by number: "width", "height", "alpha" and a data "address"

  private:
    std::vector<Json> list_;
    std::map<std::string, std::size_t> numbers_; ///< by address, which holds a picture's whole file
};

/// Makes a call of methods.json a few times, on a fresh picture each, in the folder of the materials, and tells what
/// the page shows of it beside the call's own data:
///   "script", "command"   the lines that make it; the command is empty when there is none
///   "failure"             why nothing came of it, with "violated" when the module broke the host's rules
///   "before", "after"     numbers of pictures, "others" those that the call was given, with their names
///   "facts"               what came back and is no picture: names and values
///   "frames"              left, top, width, height of places in both pictures
///   "curve"               what becomes of the levels 0..255 in red, green and blue
///   "histograms"          a caption, and how often each level occurs in red, green and blue
///   "sound"               the file that was given, and how many of its samples count
///   "bytes"               the first of a string that came or went
///   "ms", "ratio"         the best time, without that inside host entries, and its ratio to a memcpy of the picture
/// A string that comes back is saved as the command would.
Json Render(standin::Host &host, const HostOptions &options, const Json &method, const Json &shot, Pictures &pictures,
            Folder &folder);

/// The best of a few runs into memory that was written before.
Milliseconds TimeOfMemcpy(std::size_t bytes);

} // namespace tools::gallery
