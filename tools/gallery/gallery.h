#pragma once

#include "tools/bound_call.h"
#include "tools/host_options.h"
#include "tools/methods.h"
#include "tools/picture_files.h"

#include <chrono>
#include <map>

/// The parts of `kvt gallery`.
namespace tools::gallery {

/// The folder that a gallery is written to, which becomes the current one. It remembers in a file of its own what was
/// written, so that no other file is ever replaced.
class Folder {
  public:
    explicit Folder(const std::string &path); ///< made when missing; throws UserError

    /// Throws UserError for a file that somebody else wrote, or changed since.
    void CheckReplaceable(const std::string &name, std::span<const unsigned char> bytes = {}) const;
    void Write(const std::string &name, std::span<const unsigned char> bytes); ///< throws UserError
    std::string PathOf(const std::string &name) const;

  private:
    std::string path_;
    std::map<std::string, std::uint64_t> written_; ///< hashes of what the files held
};

/// The photo that the gallery shows: at most 640 pixels wide and high, opaque. Larger pictures are scaled down by the
/// average of what each pixel covers; transparent ones lie on white.
Image PhotoFrom(const Image &picture);

/// Writes what the gallery's calls name, the "materials" of methods.json: the photo and pictures made from it, a
/// written page, lookup tables, a color table and a sound. Throws UserError.
void WriteMaterials(const Image &photo, Folder &folder);

/// Makes a call of methods.json a few times, on a fresh picture each, in the folder of the materials, and tells what
/// the page shows of it in the call's own data:
///   "script", "command"   the lines that make it; the command is empty when there is none
///   "failure"             why nothing came of it, with "violated" when the module broke the host's rules
///   "before", "after"     numbers of pictures, "others" those that the call was given, with their names
///   "facts"               what came back and is no picture: names and values
///   "frames"              where another picture was found, beside those that the call has
///   "curve"               what becomes of the levels 0..255 in red, green and blue
///   "histograms"          a caption, and how often each level occurs in red, green and blue
///   "bytes"               the first of a string that came or went
///   "ms", "ratio"         the best time, without that inside host entries, and its ratio to a memcpy of the picture
/// A string that comes back is saved as the command would. `pictures` is the array of those that are shown, to which
/// new ones are added: "width", "height", "alpha" and a data "address", which holds a picture's whole file.
void Render(standin::Host &host, const HostOptions &options, const Json &method, Json &shot, Json &pictures,
            Folder &folder);

/// The best of a few runs into memory that was written before, in milliseconds.
double TimeOfMemcpy(std::size_t bytes);

} // namespace tools::gallery
