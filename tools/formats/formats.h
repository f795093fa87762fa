#pragma once

#include "standin/pixel_layout.h"
#include "tools/files.h"

#include <algorithm>
#include <cmath>
#include <functional>

/// The kinds of picture files, each a function that reads and one that writes. They know nothing of hosts and paths.
namespace tools::formats {

constexpr int kMostSide = 32767;
constexpr std::int64_t kMostPixels = std::int64_t{1} << 28; ///< a picture of 1 GB
constexpr double kAnyPixels = kMostPixels;                  ///< of which a byte tells at the most: there is no limit

/// What goes on into an output beside the pixels, where its kind of file holds it.
struct Tags {
    Bytes profile;        ///< ICC; empty: none
    double perMeterX = 0; ///< the resolution in pixels; 0: not told
    double perMeterY = 0;
};

/// A resolution as PNG and BMP hold it. Other files, and damaged ones, can tell any.
inline std::uint32_t Whole(double perMeter) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(perMeter, 0.0, 2147483647.0)));
}

constexpr double kInch = 0.0254; ///< in meters

/// Takes a resolution over unless it is none. The unit is as in EXIF: 2 for inches, 3 for centimeters.
void TakeResolution(double across, double down, int unit, Tags &tags);

/// What a file says of its picture.
struct Info {
    int width = 0;
    int height = 0;
    bool hasAlpha = false;
    int orientation = 1; ///< as EXIF numbers them: how the pixels are to be turned
    Tags tags;
    std::vector<std::string> losses; ///< what of the file is not in the pixels, each the rest of a sentence
};

/// How 4 bytes hold a pixel.
struct PixelForm {
    standin::Layout layout = standin::Layout::AlphaHigh;
    bool hasAlpha = false;      ///< otherwise the fourth byte says nothing and is written opaque
    bool premultiplied = false; ///< only where there is alpha
};

/// Somebody's memory for pixels, rows from the top.
struct Pixels {
    int width = 0;
    int height = 0;
    unsigned char *first = nullptr;
    std::ptrdiff_t pitch = 0; ///< bytes from row to row
    PixelForm form;

    unsigned char *Row(int y) const { return first + y * pitch; }
};

// Rows. Red, green, blue, alpha, not premultiplied, is what files hold; forms are what memory holds.
// All are changed in place.
void ToForm(unsigned char *row, int width, const PixelForm &form);   ///< from what files hold
void FromForm(unsigned char *row, int width, const PixelForm &form); ///< to it
void Flatten(unsigned char *row, int width, const PixelForm &form);  ///< opaque, where clear on white
void DropFourth(unsigned char *row, int width); ///< three bytes a pixel are left, one behind the other
/// From cyan, magenta, yellow, black to what files hold.
void FromCmyk(unsigned char *row, int width, bool isInverted);
/// Turns a whole picture of what files hold.
void PlaceTurned(const Pixels &from, int orientation, const Pixels &to);

using File = std::span<const unsigned char>;

/// Called once the size is known to be sane, and before anything is decoded: memory for that many pixels.
using MakePixels = std::function<Pixels(Info &)>;

// Readers refuse with a UserError what is damaged in any part, however much of it could be shown. Its text tells the
// reason and no path.
void ReadPng(File file, const MakePixels &make);
void ReadJpeg(File file, const MakePixels &make);
void ReadWebp(File file, const MakePixels &make);
void ReadTiff(File file, const MakePixels &make);
void ReadBmp(File file, const MakePixels &make);

// Writers throw a UserError for what a file of that kind cannot hold, and use the pixels up: their rows are turned into
// the file's where they stand. Quality is 1 to 100, where it means something.
Bytes WritePng(const Pixels &pixels, const Tags &tags, int quality);
Bytes WriteJpeg(const Pixels &pixels, const Tags &tags, int quality); ///< of opaque pixels
Bytes WriteWebp(const Pixels &pixels, const Tags &tags, int quality);
Bytes WriteBmp(const Pixels &pixels, const Tags &tags, int quality);

/// Room for a file that is to be written, in large pages where the system has them.
void Reserve(Bytes &file, std::size_t bytes);

/// A picture's size. Throws UserError unless one of that size is read at all and can lie in so many bytes, of which
/// each tells of `mostPixels` at the most.
Info CheckedSize(std::int64_t width, std::int64_t height, std::size_t bytes, double mostPixels);

/// What is told of a file that is.
constexpr const char *kCmykLoss = "its CMYK is converted to RGB without a profile";

/// Takes orientation and resolution from an EXIF block, which is a small TIFF file, with or without its heading.
void ReadExif(File exif, Info &info);

} // namespace tools::formats
