#include "tools/picture_files.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <limits>
#include <memory>
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

namespace tools {
namespace {

using standin::Layout;

constexpr int kJpegQuality = 92;
constexpr unsigned kClearTransparency = 127; ///< of a console picture's pixel

enum class FileKind { Other, Png, Jpeg, Bmp };

FileKind KindOf(std::string_view path) {
    const std::string ending = EndingOf(path);
    if (ending == ".png")
        return FileKind::Png;
    if (ending == ".jpg" || ending == ".jpeg")
        return FileKind::Jpeg;
    return ending == ".bmp" ? FileKind::Bmp : FileKind::Other;
}

void Append(void *context, void *data, int size) {
    auto *bytes = static_cast<const unsigned char *>(data);
    auto &file = *static_cast<Bytes *>(context);
    file.insert(file.end(), bytes, bytes + size);
}

/// Red, green and blue alone, where transparent on white.
Bytes WithoutAlpha(const Image &image) {
    Bytes opaque;
    opaque.reserve(image.pixels.size() / 4 * 3);
    for (std::size_t at = 0; at < image.pixels.size(); at += 4) {
        const int alpha = image.pixels[at + 3];
        for (std::size_t channel = 0; channel < 3; ++channel)
            opaque.push_back(
                static_cast<unsigned char>((image.pixels[at + channel] * alpha + 255 * (255 - alpha) + 127) / 255));
    }
    return opaque;
}

unsigned Premultiplied(unsigned color, unsigned alpha) { return (color * alpha + 127) / 255; }

/// The color whose premultiplied form that is; a form that no color has yields the brightest.
unsigned Restored(unsigned premultiplied, unsigned alpha) {
    return alpha == 0 ? 0 : std::min(255U, (premultiplied * 255 + alpha / 2) / alpha);
}

/// A console picture's transparency for an alpha, and back; 0 and 255 are exact.
unsigned TransparencyOf(unsigned alpha) { return ((255 - alpha) * kClearTransparency + 127) / 255; }
unsigned AlphaOf(unsigned transparency) {
    return 255 - ((transparency & kClearTransparency) * 255 + kClearTransparency / 2) / kClearTransparency;
}

std::uint32_t WordOf(Layout layout, const unsigned char *pixel, unsigned extra, unsigned alpha) {
    const auto color = [&](int channel) {
        return layout == Layout::RowTable ? pixel[channel] : Premultiplied(pixel[channel], alpha);
    };
    return standin::WordOf(layout, standin::MakeColor(color(0), color(1), color(2)), extra);
}

} // namespace

Image MakeImage(int width, int height, bool hasAlpha) {
    Image image{width, height, hasAlpha, {}};
    image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    return image;
}

bool IsPicturePath(std::string_view path) { return KindOf(path) != FileKind::Other; }

Image ReadImage(const std::string &path) {
    const Bytes file = ReadBytes(path);
    if (file.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw UserError(fmt::format("{}: is too large for a picture", path));
    int width = 0;
    int height = 0;
    int channels = 0;
    const std::unique_ptr<stbi_uc, void (*)(void *)> pixels(
        stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &width, &height, &channels, 4),
        &stbi_image_free);
    if (!pixels)
        throw UserError(fmt::format("{}: is no PNG, JPEG or BMP picture ({})", path, stbi_failure_reason()));
    Image image = MakeImage(width, height, channels == 2 || channels == 4);
    std::memcpy(image.pixels.data(), pixels.get(), image.pixels.size());
    return image;
}

Bytes FileOf(const std::string &path, const Image &image) {
    if (image.pixels.empty())
        throw UserError(fmt::format("{}: a picture of {} x {} cannot be saved", path, image.width, image.height));
    Bytes file;
    int written = 0;
    const FileKind kind = KindOf(path);
    const bool keepsAlpha = image.hasAlpha && kind != FileKind::Jpeg;
    const Bytes opaque = keepsAlpha ? Bytes() : WithoutAlpha(image);
    const unsigned char *pixels = keepsAlpha ? image.pixels.data() : opaque.data();
    const int channels = keepsAlpha ? 4 : 3;
    switch (kind) {
    case FileKind::Png:
        written =
            stbi_write_png_to_func(Append, &file, image.width, image.height, channels, pixels, image.width * channels);
        break;
    case FileKind::Jpeg:
        written = stbi_write_jpg_to_func(Append, &file, image.width, image.height, channels, pixels, kJpegQuality);
        break;
    case FileKind::Bmp:
        written = stbi_write_bmp_to_func(Append, &file, image.width, image.height, channels, pixels);
        break;
    case FileKind::Other:
        throw UserError(fmt::format("{}: a picture's name ends in .png, .jpg, .jpeg or .bmp", path));
    }
    if (!written)
        throw UserError(fmt::format("{}: a picture of {} x {} cannot be saved so", path, image.width, image.height));
    return file;
}

void WriteImage(const std::string &path, const Image &image) { WriteBytes(path, FileOf(path, image)); }

standin::Ref MakePicture(standin::Host &host, const Image &image) {
    const bool console = host.description().application == standin::Application::Console;
    const std::uint32_t alphaInfo =
        image.hasAlpha ? host.description().newAlphaPictureAlphaInfo : host.description().newPictureAlphaInfo;
    const Layout layout = console ? Layout::RowTable : alphaInfo % 2 == 1 ? Layout::AlphaHigh : Layout::AlphaLow;
    standin::PictureDescription description;
    description.width = image.width;
    description.height = image.height;
    description.hasAlphaChannel = image.hasAlpha;
    description.alphaInfo = console ? 0 : alphaInfo;
    description.word = [&](int x, int y) {
        const unsigned char *pixel = image.At(x, y);
        const unsigned alpha = image.hasAlpha ? pixel[3] : 255;
        return WordOf(layout, pixel, console ? TransparencyOf(alpha) : alpha, alpha);
    };
    return host.Make(description);
}

Image ImageOf(const standin::Picture &picture) {
    Image image = MakeImage(picture.width, picture.height, picture.description.hasAlphaChannel);
    const bool console = picture.layout == Layout::RowTable;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const std::uint32_t word = picture.Word(x, y);
            const standin::ColorValue color = standin::ColorOf(picture.layout, word);
            const unsigned extra = standin::ExtraOf(picture.layout, word);
            const unsigned alpha = !image.hasAlpha ? 255 : console ? AlphaOf(extra) : extra;
            const unsigned channels[] = {standin::Red(color), standin::Green(color), standin::Blue(color)};
            unsigned char *pixel = image.At(x, y);
            for (int channel = 0; channel < 3; ++channel)
                pixel[channel] =
                    static_cast<unsigned char>(console ? channels[channel] : Restored(channels[channel], alpha));
            pixel[3] = static_cast<unsigned char>(alpha);
        }
    return image;
}

void SetColors(standin::Picture &picture, const Image &colors) {
    const bool console = picture.layout == Layout::RowTable;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const unsigned extra = picture.ExtraAt(x, y);
            const bool opaque = console || !picture.description.hasAlphaChannel;
            picture.SetWord(x, y, WordOf(picture.layout, colors.At(x, y), extra, opaque ? 255 : extra));
        }
}

} // namespace tools
