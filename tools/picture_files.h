#pragma once

#include "standin/host.h"
#include "tools/formats/formats.h"

#include <array>

namespace tools {

#ifdef KVT_CODECS
constexpr bool kHasCodecs = true;
#else
constexpr bool kHasCodecs = false; ///< this program reads and writes BMP alone
#endif

using Color = std::array<int, 4>; ///< red, green, blue, alpha

/// A picture as files hold it.
struct Image {
    int width = 0;
    int height = 0;
    bool hasAlpha = false;
    Bytes pixels; ///< width x height x 4 bytes, rows from the top: red, green, blue, alpha, not premultiplied

    const unsigned char *At(int x, int y) const { return pixels.data() + 4 * (std::ptrdiff_t{y} * width + x); }
    unsigned char *At(int x, int y) { return pixels.data() + 4 * (std::ptrdiff_t{y} * width + x); }
    Color ColorOf(int x, int y) const { return {At(x, y)[0], At(x, y)[1], At(x, y)[2], At(x, y)[3]}; }
    void Put(int x, int y, const Color &color) {
        std::transform(color.begin(), color.end(), At(x, y),
                       [](int level) { return static_cast<unsigned char>(level); });
    }
};

Image MakeImage(int width, int height, bool hasAlpha = false); ///< all bytes 0

/// A picture whose pixels are what `colorAt` says of their places.
template <class ColorAt> Image Draw(int width, int height, bool hasAlpha, ColorAt colorAt) {
    Image image = MakeImage(width, height, hasAlpha);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.Put(x, y, colorAt(x, y));
    return image;
}

/// The name of a picture file that is read or written, by the path's ending.
bool IsPicturePath(std::string_view path);

/// "PNG", "WAV", "text", "empty": what kind of file it is, read or not, by the bytes that it begins with; empty for one
/// that is not known.
std::string_view KindOf(std::span<const unsigned char> file);

/// Throws UserError unless this program writes picture files of that name.
void CheckWritable(const std::string &path);

/// Reads a picture file of any kind that this program reads, by its content, and turns it upright. Throws UserError for
/// what is none, is damaged in any part, or is too large.
Image ReadImage(const std::string &path);

/// The same, straight into a new picture of the host, with an alpha channel when the file has alpha or `addAlpha`. Its
/// bitmap is laid out as the host makes them, and holds premultiplied colors; a console picture holds them as they are,
/// and its alpha in 7 bits.
struct LoadedPicture {
    standin::Ref picture;
    formats::Tags tags;
    std::vector<std::string> notes; ///< what of the file is lost, a sentence each
};
LoadedPicture ReadPicture(standin::Host &host, const std::string &path, bool addAlpha = false);

constexpr int kUsualQuality = 92; ///< of JPEG and WebP files

struct PictureFile {
    Bytes bytes;
    std::vector<std::string> notes; ///< what the file cannot hold, a sentence each
};
/// A picture file of the kind that the path's ending says, straight from a picture, whose rows are in order and whose
/// pixels are used up. Where the file holds no alpha, it lies on white. Throws UserError.
PictureFile FileOf(const std::string &path, standin::Picture &picture, const formats::Tags &tags,
                   int quality = kUsualQuality);

/// The same of an image.
Bytes FileOf(const std::string &path, Image image, int quality = kUsualQuality);

/// A new picture of the host, as when it is read from a file.
standin::Ref MakePicture(standin::Host &host, const Image &image);

/// The way back. A picture without an alpha channel is opaque, whatever its fourth bytes hold.
Image ImageOf(const standin::Picture &picture);

/// Whether no pixel's alpha, kept or not, lets anything through.
bool IsOpaque(standin::Picture &picture);

/// Turns what the fourth bytes of a picture without an alpha channel hold into one.
void AddAlphaChannel(standin::Picture &picture);

/// Gives a picture the colors of an image of its size, for the alpha that it has now.
void SetColors(standin::Picture &picture, const Image &colors);

} // namespace tools
