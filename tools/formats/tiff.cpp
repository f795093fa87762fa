#include "tools/formats/formats.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <tiffio.h>

namespace tools::formats {
namespace {

constexpr tmsize_t kMostMemory = tmsize_t{1} << 30; ///< of one allocation
constexpr double kMostPixelsAByte = 8 * 1500;       ///< of one bit, deflated

/// A file in memory as libtiff reads it, and the first that libtiff complains of.
struct Source {
    File file;
    std::uint64_t at = 0;
    std::string damage = {};
};

Source &SourceOf(void *handle) { return *static_cast<Source *>(handle); }

tmsize_t ReadPart(thandle_t handle, void *to, tmsize_t wanted) {
    Source &source = SourceOf(handle);
    const File rest = source.file.subspan(std::min<std::uint64_t>(source.at, source.file.size()));
    const std::size_t count = std::min(rest.size(), static_cast<std::size_t>(wanted));
    std::copy_n(rest.begin(), count, static_cast<unsigned char *>(to));
    source.at += count;
    return static_cast<tmsize_t>(count);
}

toff_t Seek(thandle_t handle, toff_t offset, int from) {
    Source &source = SourceOf(handle);
    return source.at = offset + (from == SEEK_CUR ? source.at : from == SEEK_END ? source.file.size() : 0);
}

int Complain(TIFF *, void *source, const char *, const char *format, std::va_list arguments) {
    char text[256];
    static_cast<void>(std::vsnprintf(text, sizeof text, format, arguments));
    if (SourceOf(source).damage.empty())
        SourceOf(source).damage = text;
    return 1;
}

/// What warns is strange and no damage, but for streams of JPEG within, whose damage is but warned of.
int Warn(TIFF *tiff, void *source, const char *module, const char *format, std::va_list arguments) {
    return module && std::string_view(module) == "JPEGLib" ? Complain(tiff, source, module, format, arguments) : 1;
}

using Tiff = std::unique_ptr<TIFF, void (*)(TIFF *)>;

Tiff Open(Source &source) {
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions *)> options(TIFFOpenOptionsAlloc(),
                                                                                &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostMemory);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &Complain, &source);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &Warn, &source);
    return {TIFFClientOpenExt(
                "", "rm", &source, &ReadPart, [](thandle_t, void *, tmsize_t) -> tmsize_t { return 0; }, &Seek,
                [](thandle_t) { return 0; }, [](thandle_t handle) -> toff_t { return SourceOf(handle).file.size(); },
                nullptr, nullptr, options.get()),
            &TIFFClose};
}

/// What a tag says, or the usual where it is missing.
template <class Value> Value FieldOf(const Tiff &tiff, std::uint32_t tag, Value usual) {
    TIFFGetFieldDefaulted(tiff.get(), tag, &usual);
    return usual;
}

Tags TagsOf(const Tiff &tiff) {
    Tags tags;
    std::uint32_t size = 0;
    void *profile = nullptr;
    if (TIFFGetField(tiff.get(), TIFFTAG_ICCPROFILE, &size, &profile)) {
        const auto *bytes = static_cast<const unsigned char *>(profile);
        tags.profile.assign(bytes, bytes + size);
    }
    TakeResolution(FieldOf(tiff, TIFFTAG_XRESOLUTION, 0.0F), FieldOf(tiff, TIFFTAG_YRESOLUTION, 0.0F),
                   FieldOf<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE), tags);
    return tags;
}

} // namespace

void ReadTiff(File file, const MakePixels &make) {
    Source source{file};
    const Tiff tiff = Open(source);
    const auto fail = [&](const std::string &reason) {
        Refuse("is damaged or of a kind of TIFF that is not read: {}", reason);
    };
    if (!tiff)
        fail(source.damage);
    const auto width = FieldOf<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0);
    const auto height = FieldOf<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0);
    const auto bits = FieldOf<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    const auto samples = FieldOf<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    const auto photometric = FieldOf<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, 0);
    const auto compression = FieldOf<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    std::uint16_t extras = 0;
    const std::uint16_t *kinds = nullptr;
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_EXTRASAMPLES, &extras, &kinds);
    const bool isFax = compression >= COMPRESSION_CCITTRLE && compression <= COMPRESSION_CCITTFAX4;
    Info info = CheckedSize(width, height, file.size(), isFax ? kAnyPixels : kMostPixelsAByte);
    // Straight alpha and CMYK come through as they are when libtiff takes them for alpha that is premultiplied already.
    const bool isStraight = extras > 0 && kinds[0] == EXTRASAMPLE_UNASSALPHA;
    const bool isCmyk = photometric == PHOTOMETRIC_SEPARATED && samples == 4 && bits == 8;
    if (const std::uint16_t premultiplied = EXTRASAMPLE_ASSOCALPHA; isStraight || isCmyk)
        TIFFSetField(tiff.get(), TIFFTAG_EXTRASAMPLES, 1, &premultiplied);
    if (isCmyk)
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    const auto orientation = FieldOf<std::uint16_t>(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    info.orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
    info.tags = TagsOf(tiff);

    TIFFRGBAImage image;
    char reason[1024] = "";
    if (!TIFFRGBAImageOK(tiff.get(), reason) || !TIFFRGBAImageBegin(&image, tiff.get(), 1, reason))
        fail(reason);
    const std::unique_ptr<TIFFRGBAImage, void (*)(TIFFRGBAImage *)> begun(&image, &TIFFRGBAImageEnd);
    image.req_orientation = image.orientation; // rows as they stand
    for (int level = 0; image.Bitdepth16To8 && level < 65536; ++level)
        image.Bitdepth16To8[level] = static_cast<std::uint8_t>(level >> 8); // as PNG files are read
    info.hasAlpha = image.alpha != 0 && !isCmyk;
    if (bits == 16)
        info.losses.emplace_back("16 bits a channel are reduced to 8");
    if (photometric == PHOTOMETRIC_SEPARATED) {
        info.losses.emplace_back(kCmykLoss);
        info.tags.profile.clear();
    }
    if (TIFFNumberOfDirectories(tiff.get()) > 1)
        info.losses.emplace_back("its pages after the first are left out");
    TIFFSetDirectory(tiff.get(), 0);

    const Pixels pixels = make(info);
    const auto strip = FieldOf<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, height);
    const auto band = std::clamp<std::uint32_t>(FieldOf(tiff, TIFFTAG_TILELENGTH, strip), 1, height);
    std::vector<std::uint32_t> rows(std::size_t{band} * width);
    for (std::uint32_t top = 0; top < height; top += band) {
        const std::uint32_t count = std::min(band, height - top);
        image.row_offset = static_cast<int>(top);
        if (!TIFFRGBAImageGet(&image, rows.data(), width, count) || !source.damage.empty())
            fail(source.damage);
        for (std::uint32_t y = 0; y < count; ++y) {
            const auto *from = reinterpret_cast<const unsigned char *>(rows.data() + std::size_t{y} * width);
            unsigned char *row = pixels.Row(static_cast<int>(top + y));
            std::copy_n(from, std::size_t{4} * width, row);
            if (info.hasAlpha && !isStraight)
                FromForm(row, pixels.width, {standin::Layout::AlphaHigh, true, true});
            if (isCmyk)
                FromCmyk(row, pixels.width, false);
            ToForm(row, pixels.width, pixels.form);
        }
    }
}

} // namespace tools::formats
