#include "tools/formats/formats.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>

namespace tools::formats {
namespace {

constexpr tmsize_t kMostMemory = tmsize_t{1} << 30; ///< of one allocation
constexpr double kMostPixelsAByte = 8 * 1500;       ///< of one bit, deflated

/// Keeps the first that libtiff complains of, in a string.
int Complain(TIFF *, void *damage, const char *, const char *format, std::va_list arguments) {
    char text[256];
    static_cast<void>(std::vsnprintf(text, sizeof text, format, arguments));
    if (auto &first = *static_cast<std::string *>(damage); first.empty())
        first = text;
    return 1;
}

/// What warns is strange and no damage, but for streams of JPEG within, whose damage is but warned of.
int Warn(TIFF *tiff, void *damage, const char *module, const char *format, std::va_list arguments) {
    return module && std::string_view(module) == "JPEGLib" ? Complain(tiff, damage, module, format, arguments) : 1;
}

using Tiff = std::unique_ptr<TIFF, void (*)(TIFF *)>;

/// Null for what is none. `damage` outlives it.
Tiff Open(File file, std::string &damage) {
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions *)> options(TIFFOpenOptionsAlloc(),
                                                                                &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostMemory);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &Complain, &damage);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &Warn, &damage);
    const int memory = memfd_create("tiff", MFD_CLOEXEC);
    if (memory < 0 || pwrite(memory, file.data(), file.size(), 0) != std::ssize(file))
        throw std::bad_alloc();
    Tiff tiff(TIFFFdOpenExt(memory, "", "rm", options.get()), &TIFFClose);
    if (!tiff) // which would close the file
        close(memory);
    return tiff;
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
    std::string damage;
    const Tiff tiff = Open(file, damage);
    const auto fail = [&](const std::string &reason) {
        Refuse("is damaged or of a kind of TIFF that is not read: {}", reason);
    };
    if (!tiff)
        fail(damage);
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
        if (!TIFFRGBAImageGet(&image, rows.data(), width, count) || !damage.empty())
            fail(damage);
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
