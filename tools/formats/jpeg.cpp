#include "tools/formats/formats.h"

#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <jerror.h>
#include <jpeglib.h> // behind <cstdio>, which it needs and does not include
#include <memory>
#include <new>

namespace tools::formats {
namespace {

using standin::Layout;

constexpr double kMostPixelsAByte = 8 * 64; ///< a bit for a block of 8 x 8
constexpr int kMostScans = 500;             ///< each of which goes over the whole picture
constexpr unsigned kMostInMarker = 65535;
constexpr std::size_t kMostProfile = std::size_t{255} * 65519;

/// What libjpeg calls where it cannot go on. The exception passes its functions, which have unwind tables as all code
/// for 64 bits does.
[[noreturn]] void Fail(j_common_ptr codec) {
    if (codec->err->msg_code == JERR_OUT_OF_MEMORY)
        throw std::bad_alloc();
    char text[JMSG_LENGTH_MAX];
    codec->err->format_message(codec, text);
    Refuse("{}{}", codec->is_decompressor ? "is damaged: " : "", text);
}

/// What it calls for damage that it would make something of. Bytes that follow the picture before its end are none:
/// some cameras leave theirs there.
void FailOfWarning(j_common_ptr codec, int level) {
    const bool isHarmless = codec->err->msg_code == JWRN_EXTRANEOUS_DATA && codec->err->msg_parm.i[1] == JPEG_EOI;
    if (level < 0 && !isHarmless)
        Fail(codec);
}

jpeg_error_mgr Errors() {
    jpeg_error_mgr errors;
    jpeg_std_error(&errors);
    errors.error_exit = &Fail;
    errors.emit_message = &FailOfWarning;
    return errors;
}

void LimitScans(j_common_ptr codec) {
    RefuseIf(reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > kMostScans,
             "is damaged: it has more than {} scans", kMostScans);
}

Tags TagsOf(jpeg_decompress_struct &jpeg) {
    Tags tags;
    TakeResolution(jpeg.X_density, jpeg.Y_density, jpeg.density_unit + 1, tags);
    unsigned char *profile = nullptr;
    if (unsigned size = 0; jpeg_read_icc_profile(&jpeg, &profile, &size)) {
        const std::unique_ptr<unsigned char, void (*)(void *)> owned(profile, &std::free);
        tags.profile.assign(profile, profile + size);
    }
    return tags;
}

J_COLOR_SPACE FormatOf(Layout layout) {
    return layout == Layout::AlphaHigh ? JCS_EXT_RGBA : layout == Layout::AlphaLow ? JCS_EXT_ARGB : JCS_EXT_BGRA;
}

} // namespace

void ReadJpeg(File file, const MakePixels &make) {
    jpeg_error_mgr errors = Errors();
    jpeg_progress_mgr progress = {};
    progress.progress_monitor = &LimitScans;
    jpeg_decompress_struct jpeg = {};
    jpeg.err = &errors;
    jpeg_create_decompress(&jpeg);
    const std::unique_ptr<jpeg_decompress_struct, void (*)(j_decompress_ptr)> destroyed(&jpeg,
                                                                                        &jpeg_destroy_decompress);
    jpeg.progress = &progress;
    jpeg_mem_src(&jpeg, file.data(), file.size());
    jpeg_save_markers(&jpeg, JPEG_APP0 + 1, kMostInMarker); // EXIF
    jpeg_save_markers(&jpeg, JPEG_APP0 + 2, kMostInMarker); // the profile
    jpeg_read_header(&jpeg, TRUE);
    Info info = CheckedSize(jpeg.image_width, jpeg.image_height, file.size(), kMostPixelsAByte);
    info.tags = TagsOf(jpeg);
    for (const auto *marker = jpeg.marker_list; marker; marker = marker->next)
        if (const File bytes(marker->data, marker->data_length); AsText(bytes).starts_with("Exif"))
            ReadExif(bytes, info);
    const bool isCmyk = jpeg.num_components == 4;
    if (isCmyk) {
        info.losses.emplace_back(kCmykLoss);
        info.tags.profile.clear();
    }
    const Pixels pixels = make(info);
    // libjpeg-turbo writes the fourth byte of an opaque picture, but for the one that is 0.
    const bool isFormed = !isCmyk && pixels.form.layout != Layout::RowTable;
    jpeg.out_color_space = isCmyk ? JCS_CMYK : FormatOf(isFormed ? pixels.form.layout : Layout::AlphaHigh);
    jpeg_start_decompress(&jpeg);
    for (int y = 0; y < pixels.height; ++y) {
        unsigned char *row = pixels.Row(y);
        jpeg_read_scanlines(&jpeg, &row, 1);
        if (isCmyk)
            FromCmyk(row, pixels.width, jpeg.saw_Adobe_marker); // as one program inverts it, and the others follow
        if (!isFormed)
            ToForm(row, pixels.width, pixels.form);
    }
    jpeg_finish_decompress(&jpeg);
}

Bytes WriteJpeg(const Pixels &pixels, const Tags &tags, int quality) {
    RefuseIf(tags.profile.size() > kMostProfile, "a JPEG file holds no profile of more than 16 MB");
    jpeg_error_mgr errors = Errors();
    jpeg_compress_struct jpeg = {};
    jpeg.err = &errors;
    jpeg_create_compress(&jpeg);
    const std::unique_ptr<jpeg_compress_struct, void (*)(j_compress_ptr)> destroyed(&jpeg, &jpeg_destroy_compress);
    unsigned char *written = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &written, &size);
    jpeg.image_width = static_cast<unsigned>(pixels.width);
    jpeg.image_height = static_cast<unsigned>(pixels.height);
    jpeg.input_components = 4;
    jpeg.in_color_space = FormatOf(pixels.form.layout);
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
    if (const double perInchX = tags.perMeterX * kInch + 0.5, perInchY = tags.perMeterY * kInch + 0.5;
        perInchX >= 1 && perInchY >= 1 && perInchX < 65536 && perInchY < 65536) {
        jpeg.density_unit = 1;
        jpeg.X_density = static_cast<std::uint16_t>(perInchX);
        jpeg.Y_density = static_cast<std::uint16_t>(perInchY);
    }
    jpeg_start_compress(&jpeg, TRUE);
    if (!tags.profile.empty())
        jpeg_write_icc_profile(&jpeg, tags.profile.data(), static_cast<unsigned>(tags.profile.size()));
    for (int y = 0; y < pixels.height; ++y) {
        unsigned char *row = pixels.Row(y);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    const std::unique_ptr<unsigned char, void (*)(void *)> owned(written, &std::free);
    return {written, written + size};
}

} // namespace tools::formats
