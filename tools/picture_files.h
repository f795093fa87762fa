#pragma once

#include "standin/host.h"
#include "tools/files.h"

#include <string>
#include <string_view>

namespace tools {

/// A picture as files hold it.
struct Image {
    int width = 0;
    int height = 0;
    bool hasAlpha = false;
    Bytes pixels; ///< width x height x 4 bytes, rows from the top: red, green, blue, alpha, not premultiplied

    unsigned char *At(int x, int y) { return pixels.data() + Offset(x, y); }
    const unsigned char *At(int x, int y) const { return pixels.data() + Offset(x, y); }

  private:
    std::size_t Offset(int x, int y) const {
        return (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 4;
    }
};

Image MakeImage(int width, int height, bool hasAlpha = false); ///< all bytes 0

/// PNG, JPEG or BMP, by the path's ending.
bool IsPicturePath(std::string_view path);

/// Reads a PNG, JPEG or BMP file, by its content. Throws UserError.
Image ReadImage(const std::string &path);

/// The bytes of a picture file, of the kind that the path's ending says. JPEG files hold no alpha: there the picture
/// lies on white. Throws UserError.
Bytes FileOf(const std::string &path, const Image &image);

/// Writes that file. Throws UserError, and leaves what was there untouched.
void WriteImage(const std::string &path, const Image &image);

/// A new picture of the host, with an alpha channel when the image has alpha. Its bitmap is laid out as the host makes
/// them, and holds premultiplied colors; a console picture holds them as they are, and its alpha in 7 bits.
standin::Ref MakePicture(standin::Host &host, const Image &image);

/// The way back. A picture without an alpha channel is opaque, whatever its fourth bytes hold.
Image ImageOf(const standin::Picture &picture);

/// Gives a picture the colors of an image of its size, for the alpha that it has now.
void SetColors(standin::Picture &picture, const Image &colors);

} // namespace tools
