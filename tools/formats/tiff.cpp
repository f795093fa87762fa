#include "tools/formats/formats.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <limits>
#include <memory>
#include <tiffio.h>

namespace tools::formats {
namespace {

constexpr tmsize_t kMostMemory = tmsize_t{1} << 30; ///< of one allocation
constexpr double kMostPixelsAByte = 8 * 1500;       ///< of one bit, deflated
constexpr double kInch = 0.0254;

/// A file in memory as libtiff reads it, and the first that libtiff complains of.
struct Source {
    File file;
    std::uint64_t at = 0;
    std::string damage;
};

Source &SourceOf(void *handle) { return *static_cast<Source *>(handle); }

tmsize_t ReadPart(thandle_t handle, void *to, tmsize_t wanted) {
    Source &source = SourceOf(handle);
    const std::uint64_t left = source.file.size() - std::min<std::uint64_t>(source.at, source.file.size());
    const std::uint64_t count = std::min(left, static_cast<std::uint64_t>(wanted));
    if (count > 0)
        std::memcpy(to, source.file.data() + source.at, count);
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

Tags TagsOf(TIFF *tiff) {
    Tags tags;
    std::uint32_t size = 0;
    void *profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &profile)) {
        const auto *bytes = static_cast<const unsigned char *>(profile);
        tags.profile.assign(bytes, bytes + size);
    }
    float across = 0;
    float down = 0;
    std::uint16_t unit = RESUNIT_NONE;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (unit != RESUNIT_NONE && TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &across) &&
        TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &down) && across > 0 && down > 0) {
        const double unitsPerMeter = unit == RESUNIT_INCH ? 1 / kInch : 100;
        tags.perMeterX = static_cast<double>(across) * unitsPerMeter;
        tags.perMeterY = static_cast<double>(down) * unitsPerMeter;
    }
    return tags;
}

} // namespace

void ReadTiff(File file, const MakePixels &make) {
    Source source;
    source.file = file;
    const Tiff tiff = Open(source);
    const auto fail = [&](const std::string &reason) {
        throw UserError(fmt::format("is damaged or of a kind of TIFF that is not read: {}", reason));
    };
    if (!tiff)
        fail(source.damage);
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t photometric = 0;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t extras = 0;
    const std::uint16_t *kinds = nullptr;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetField(tiff.get(), TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_EXTRASAMPLES, &extras, &kinds);
    const bool isFax = compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4 ||
                       compression == COMPRESSION_CCITTRLE;
    Info info =
        CheckedSize(width, height, file.size(), isFax ? std::numeric_limits<double>::infinity() : kMostPixelsAByte);
    // Straight alpha and CMYK come through as they are when libtiff takes them for alpha that is premultiplied already.
    const bool isStraight = extras > 0 && kinds[0] == EXTRASAMPLE_UNASSALPHA;
    const bool isCmyk = photometric == PHOTOMETRIC_SEPARATED && samples == 4 && bits == 8;
    if (const std::uint16_t premultiplied = EXTRASAMPLE_ASSOCALPHA; isStraight || isCmyk)
        TIFFSetField(tiff.get(), TIFFTAG_EXTRASAMPLES, 1, &premultiplied);
    if (isCmyk)
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_ORIENTATION, &orientation);
    info.orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
    info.tags = TagsOf(tiff.get());

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
    std::uint32_t band = 0;
    if (!TIFFGetField(tiff.get(), TIFFTAG_TILELENGTH, &band))
        TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_ROWSPERSTRIP, &band);
    band = std::clamp<std::uint32_t>(band, 1, height);
    std::vector<std::uint32_t> rows(std::size_t{band} * width);
    const PixelForm premultiplied = {standin::Layout::AlphaHigh, true, true};
    for (std::uint32_t top = 0; top < height; top += band) {
        const std::uint32_t count = std::min(band, height - top);
        image.row_offset = static_cast<int>(top);
        if (!TIFFRGBAImageGet(&image, rows.data(), width, count) || !source.damage.empty())
            fail(source.damage);
        for (std::uint32_t y = 0; y < count; ++y) {
            const auto *from = reinterpret_cast<const unsigned char *>(rows.data() + std::size_t{y} * width);
            unsigned char *row = pixels.Row(static_cast<int>(top + y));
            if (info.hasAlpha && !isStraight)
                FromForm(from, row, pixels.width, premultiplied);
            else
                std::memcpy(row, from, std::size_t{4} * width);
            if (isCmyk)
                FromCmyk(row, pixels.width, false);
            ToForm(row, pixels.width, pixels.form);
        }
    }
}

} // namespace tools::formats
