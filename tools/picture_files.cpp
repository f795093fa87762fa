#include "tools/picture_files.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fmt/format.h>

namespace tools {
namespace {

using formats::File;
using formats::Info;
using formats::PixelForm;
using formats::Pixels;
using standin::Layout;

#ifdef KVT_CODECS
#define KVT_CODEC(function) &formats::function
#else
#define KVT_CODEC(function) nullptr
#endif

/// The kinds of picture files, by the bytes that they begin with ("?" stands for any) and the endings that they have.
struct Format {
    std::string_view name;
    std::string_view start;
    std::vector<std::string_view> endings = {};
    void (*read)(File, const formats::MakePixels &) = nullptr;
    Bytes (*write)(const Pixels &, const formats::Tags &, int quality) = nullptr;
    bool holdsAlpha = true;
    bool holdsProfile = true;
};

const std::vector<Format> &Formats() {
    using namespace std::string_view_literals;
    static const std::vector<Format> formats = {
        {"PNG", "\x89PNG\r\n\x1A\n"sv, {".png"}, KVT_CODEC(ReadPng), KVT_CODEC(WritePng)},
        {"JPEG", "\xFF\xD8\xFF"sv, {".jpg", ".jpeg"}, KVT_CODEC(ReadJpeg), KVT_CODEC(WriteJpeg), false},
        {"WebP", "RIFF????WEBP"sv, {".webp"}, KVT_CODEC(ReadWebp), KVT_CODEC(WriteWebp)},
        {"TIFF", "II*\0"sv, {".tif", ".tiff"}, KVT_CODEC(ReadTiff)},
        {"TIFF", "MM\0*"sv, {}, KVT_CODEC(ReadTiff)},
        {"TIFF", "II+\0"sv, {}, KVT_CODEC(ReadTiff)},
        {"TIFF", "MM\0+"sv, {}, KVT_CODEC(ReadTiff)},
        {"BMP", "BM"sv, {".bmp"}, &formats::ReadBmp, &formats::WriteBmp, true, false},
        {"GIF", "GIF8"sv},
        {"WAV", "RIFF????WAVE"sv},
        {"HEIC", "????ftyphei"sv},
        {"HEIC", "????ftypmif1"sv},
        {"AVIF", "????ftypavi"sv},
        {"JPEG XL", "\0\0\0\x0CJXL "sv},
        {"JPEG XL", "\xFF\x0A"sv},
        {"JPEG 2000", "\0\0\0\x0CjP  "sv},
        {"Photoshop", "8BPS"sv},
        {"PDF", "%PDF"sv},
        {"SVG", "<svg"sv},
        {"icon", "\0\0\1\0"sv},
        {"QOI", "qoif"sv},
        {"OpenEXR", "\x76\x2F\x31\x01"sv},
    };
    return formats;
}

bool StartsWith(std::string_view text, std::string_view start) {
    return std::ranges::equal(text.substr(0, start.size()), start,
                              [](char is, char wanted) { return wanted == '?' || wanted == is; });
}

const Format *FormatOfContent(std::string_view file) {
    for (const Format &format : Formats())
        if (StartsWith(file, format.start))
            return &format;
    return nullptr;
}

constexpr std::size_t kTellingBytes = 1000; ///< at the start of a file

bool IsText(std::string_view file) {
    return std::ranges::all_of(file.substr(0, kTellingBytes), [](char c) {
        return static_cast<unsigned char>(c) >= 0x80 || std::isprint(c) || std::isspace(c);
    });
}

const Format *FormatOfPath(std::string_view path) {
    for (const Format &format : Formats())
        if (std::count(format.endings.begin(), format.endings.end(), EndingOf(path)) > 0)
            return &format;
    return nullptr;
}

constexpr const char *kWritten = ".png, .jpg, .jpeg, .webp or .bmp";
constexpr const char *kKnown = kHasCodecs ? "PNG, JPEG, WebP, TIFF and BMP files are read" : "BMP files are read";

const Format &FormatOf(File file, const std::string &path) {
    const std::string_view text = AsText(file);
    if (const Format *format = FormatOfContent(text)) {
        if (format->read)
            return *format;
        RefuseIf(!format->endings.empty() || format->name == "TIFF",
                 "{}: is a {} file, and this kvt, built without picture codecs, reads and writes BMP alone; a kvt with "
                 "codecs, as 64-bit ones are, turns one into the other:\n  kvt apply {} -o {}",
                 path, format->name, path == kStandardStream ? "FILE" : path,
                 EndingOf(path) == ".bmp" ? "FILE.png" : "FILE.bmp");
        Refuse("{}: is a file of the kind {}, which is not read; {}", path, format->name, kKnown);
    }
    Refuse("{}: {}; {}", path,
           text.empty()   ? "is empty"
           : IsText(text) ? "is a text and no picture"
                          : "is no picture of a kind that is known",
           kKnown);
}

const Format &WritableFormat(const std::string &path) {
    const Format *format = FormatOfPath(path);
    if (format && format->write)
        return *format;
    if (!format)
        Refuse("{}: a picture's name ends in {}", path, kWritten);
    RefuseIf(kHasCodecs, "{}: {} files are read and not written; pictures are written as {}", path, format->name,
             kWritten);
    throw UserError(fmt::format("{}: this kvt, built without picture codecs, writes BMP alone; a kvt with codecs, as "
                                "64-bit ones are, turns that into others:\n  kvt apply FILE.bmp -o {}",
                                path, path));
}

Pixels PixelsOf(Image &image) {
    const PixelForm form = {Layout::AlphaHigh, image.hasAlpha};
    return {image.width, image.height, image.pixels.data(), std::ptrdiff_t{4} * image.width, form};
}

Pixels PixelsOf(const standin::Picture &picture) {
    if (picture.height > 1 && picture.Row(1) != picture.Row(0) + picture.pitch)
        throw std::logic_error("the host scatters the rows of this picture");
    const bool hasAlpha = picture.description.hasAlphaChannel;
    const PixelForm form = {picture.layout, hasAlpha, hasAlpha && picture.layout != Layout::RowTable};
    return {picture.width, picture.height, picture.Row(0), picture.pitch, form};
}

standin::Ref MakeUnset(standin::Host &host, int width, int height, bool hasAlpha) {
    return host.Make({.width = width, .height = height, .hasAlphaChannel = hasAlpha, .unset = true});
}

/// Has `make` called with what the upright picture is, and fills the memory that it yields.
void Read(const std::string &path, const formats::MakePixels &make) {
    const Bytes file = ReadBytes(path);
    const Format &format = FormatOf(file, path);
    try {
        Image unturned; // takes the place that a result will take
        Pixels upright;
        int orientation = 1;
        format.read(file, [&](Info &info) {
            orientation = info.orientation;
            if (orientation != 1)
                unturned = MakeImage(info.width, info.height, true);
            if (orientation >= 5)
                std::swap(info.width, info.height), std::swap(info.tags.perMeterX, info.tags.perMeterY);
            upright = make(info);
            return orientation == 1 ? upright : PixelsOf(unturned);
        });
        if (orientation != 1)
            formats::PlaceTurned(PixelsOf(unturned), orientation, upright);
    } catch (const UserError &error) {
        Refuse("{}: {}", path, error.what());
    }
}

bool IsOpaque(const Pixels &pixels) {
    const unsigned opaque = standin::OpaqueExtra(pixels.form.layout);
    const std::ptrdiff_t at = pixels.form.layout == Layout::AlphaLow ? 0 : 3;
    for (int y = 0; y < pixels.height; ++y)
        for (std::ptrdiff_t x = 0; x < pixels.width; ++x)
            if (pixels.Row(y)[4 * x + at] != opaque)
                return false;
    return true;
}

PictureFile Write(const std::string &path, const Pixels &pixels, const formats::Tags &tags, int quality) {
    const Format &format = WritableFormat(path);
    RefuseIf(pixels.width < 1 || pixels.height < 1, "{}: a picture of {} x {} cannot be saved", path, pixels.width,
             pixels.height);
    PictureFile file;
    const auto note = [&](std::string_view what) {
        file.notes.push_back(fmt::format("{}: {} is lost, which a {} file does not hold", path, what, format.name));
    };
    const bool flattens = pixels.form.hasAlpha && !format.holdsAlpha;
    if (flattens && !IsOpaque(pixels))
        note("the picture's alpha");
    if (!tags.profile.empty() && !format.holdsProfile)
        note("the color profile");
    for (int y = 0; flattens && y < pixels.height; ++y)
        formats::Flatten(pixels.Row(y), pixels.width, pixels.form);
    try {
        file.bytes = format.write(pixels, tags, quality);
    } catch (const UserError &error) {
        Refuse("{}: {}", path, error.what());
    }
    return file;
}

void SetPixels(standin::Picture &picture, Image image) { formats::PlaceTurned(PixelsOf(image), 1, PixelsOf(picture)); }

} // namespace

Image MakeImage(int width, int height, bool hasAlpha) {
    return {width, height, hasAlpha, Bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4)};
}

std::string_view KindOf(File file) {
    const Format *format = FormatOfContent(AsText(file));
    return format ? format->name : file.empty() ? "empty" : IsText(AsText(file)) ? "text" : std::string_view();
}

bool IsPicturePath(std::string_view path) { return FormatOfPath(path) != nullptr; }

void CheckWritable(const std::string &path) { WritableFormat(path); }

Image ReadImage(const std::string &path) {
    Image image;
    Read(path, [&](const Info &info) {
        image = MakeImage(info.width, info.height, info.hasAlpha);
        return PixelsOf(image);
    });
    return image;
}

LoadedPicture ReadPicture(standin::Host &host, const std::string &path, bool addAlpha) {
    LoadedPicture loaded;
    Read(path, [&](Info &info) {
        loaded.picture = MakeUnset(host, info.width, info.height, info.hasAlpha || addAlpha);
        loaded.tags = std::move(info.tags);
        for (const std::string &loss : info.losses)
            loaded.notes.push_back(fmt::format("{}: {}", path, loss));
        return PixelsOf(loaded.picture.picture());
    });
    return loaded;
}

PictureFile FileOf(const std::string &path, standin::Picture &picture, const formats::Tags &tags, int quality) {
    return Write(path, PixelsOf(picture), tags, quality);
}

Bytes FileOf(const std::string &path, Image image, int quality) {
    return Write(path, PixelsOf(image), {}, quality).bytes;
}

standin::Ref MakePicture(standin::Host &host, const Image &image) {
    standin::Ref ref = MakeUnset(host, image.width, image.height, image.hasAlpha);
    SetPixels(ref.picture(), image);
    return ref;
}

Image ImageOf(const standin::Picture &picture) {
    Image image = MakeImage(picture.width, picture.height, picture.description.hasAlphaChannel);
    const Pixels pixels = PixelsOf(picture);
    for (int y = 0; y < image.height; ++y) {
        std::copy_n(pixels.Row(y), std::size_t{4} * static_cast<std::size_t>(image.width), image.At(0, y));
        formats::FromForm(image.At(0, y), image.width, pixels.form);
    }
    return image;
}

bool IsOpaque(standin::Picture &picture) { return IsOpaque(PixelsOf(picture)); }

void AddAlphaChannel(standin::Picture &picture) {
    if (picture.description.hasAlphaChannel)
        return;
    const Image colors = ImageOf(picture);
    picture.description.hasAlphaChannel = true;
    SetColors(picture, colors);
}

void SetColors(standin::Picture &picture, const Image &colors) {
    Image image = ImageOf(picture);
    for (std::size_t at = 0; at < image.pixels.size(); at += 4)
        std::copy_n(&colors.pixels[at], 3, &image.pixels[at]);
    SetPixels(picture, std::move(image));
}

} // namespace tools
