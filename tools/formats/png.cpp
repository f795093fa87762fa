#include "tools/formats/formats.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>
#include <spng.h>
#include <zlib.h>

namespace tools::formats {
namespace {

using Context = std::unique_ptr<spng_ctx, void (*)(spng_ctx *)>;

constexpr double kMostInflated = 1032; ///< bytes that one byte of a deflated stream can become
constexpr std::size_t kMostInChunk = std::size_t{64} << 20;

void Check(int error) { RefuseIf(error != SPNG_OK, "is damaged: {}", spng_strerror(error)); }

/// What libspng leaves to its callers: where a chunk tells of more frames, or how the picture is to be turned.
void LookThroughChunks(File file, Info &info) {
    constexpr std::size_t kSignature = 8;
    for (std::size_t at = kSignature; at + 12 <= file.size();) {
        const std::size_t length = BigEndian(file, at, 4);
        if (length > file.size() - at - 12)
            return;
        const std::string_view kind = AsText(file.subspan(at + 4, 4));
        if (kind == "eXIf")
            ReadExif(file.subspan(at + 8, length), info);
        if (kind == "acTL")
            info.losses.emplace_back("the frames of its animation after the first are left out");
        at += length + 12;
    }
}

Tags TagsOf(spng_ctx *context) {
    Tags tags;
    if (spng_iccp profile; spng_get_iccp(context, &profile) == SPNG_OK)
        tags.profile.assign(profile.profile, profile.profile + profile.profile_len);
    constexpr int kMeters = 1;
    if (spng_phys resolution; spng_get_phys(context, &resolution) == SPNG_OK && resolution.unit_specifier == kMeters) {
        tags.perMeterX = resolution.ppu_x;
        tags.perMeterY = resolution.ppu_y;
    }
    return tags;
}

int Append(spng_ctx *, void *to, void *bytes, std::size_t count) {
    Bytes &file = *static_cast<Bytes *>(to);
    const auto *from = static_cast<const unsigned char *>(bytes);
    file.insert(file.end(), from, from + count);
    return SPNG_OK;
}

} // namespace

void ReadPng(File file, const MakePixels &make) {
    const Context context(spng_ctx_new(0), &spng_ctx_free);
    Check(spng_set_crc_action(context.get(), SPNG_CRC_ERROR, SPNG_CRC_ERROR));
    Check(spng_set_chunk_limits(context.get(), kMostInChunk, kMostInChunk));
    Check(spng_set_png_buffer(context.get(), file.data(), file.size()));
    spng_ihdr header;
    Check(spng_get_ihdr(context.get(), &header));
    const int channels[] = {1, 0, 3, 1, 2, 0, 4};
    Info info = CheckedSize(header.width, header.height, file.size(),
                            kMostInflated * 8 / (channels[header.color_type] * header.bit_depth));
    spng_trns transparent;
    const int lacksTransparent = spng_get_trns(context.get(), &transparent);
    if (lacksTransparent != SPNG_ECHUNKAVAIL)
        Check(lacksTransparent);
    info.hasAlpha = (header.color_type & 4) != 0 || lacksTransparent == SPNG_OK;
    info.tags = TagsOf(context.get());
    if (header.bit_depth == 16)
        info.losses.emplace_back("16 bits a channel are reduced to 8");
    LookThroughChunks(file, info);

    const Pixels pixels = make(info);
    const bool interlaced = header.interlace_method != 0;
    Check(spng_decode_image(context.get(), nullptr, 0, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE));
    int error = SPNG_OK;
    for (spng_row_info row; error == SPNG_OK;) {
        Check(spng_get_row_info(context.get(), &row));
        unsigned char *place = pixels.Row(static_cast<int>(row.row_num));
        error = spng_decode_row(context.get(), place, std::size_t{4} * header.width);
        if (!interlaced)
            ToForm(place, pixels.width, pixels.form);
    }
    if (error != SPNG_EOI)
        Check(error);
    Check(spng_decode_chunks(context.get())); // to the end, whose check sums count, too
    for (int y = 0; interlaced && y < pixels.height; ++y)
        ToForm(pixels.Row(y), pixels.width, pixels.form);
}

Bytes WritePng(const Pixels &pixels, const Tags &tags, int) {
    const Context context(spng_ctx_new(SPNG_CTX_ENCODER), &spng_ctx_free);
    const auto width = static_cast<std::size_t>(pixels.width);
    const std::size_t bytes = width * (pixels.form.hasAlpha ? 4 : 3);
    Bytes file;
    Reserve(file, bytes * static_cast<std::size_t>(pixels.height)); // what stays untouched costs nothing
    Check(spng_set_png_stream(context.get(), &Append, &file));
    // A third of the time of level 6, and files as small as those that others write.
    Check(spng_set_option(context.get(), SPNG_IMG_COMPRESSION_LEVEL, 4));
    Check(spng_set_option(context.get(), SPNG_IMG_COMPRESSION_STRATEGY, Z_DEFAULT_STRATEGY));
    Check(spng_set_option(context.get(), SPNG_FILTER_CHOICE, SPNG_FILTER_CHOICE_ALL));
    spng_ihdr header = {};
    header.width = static_cast<std::uint32_t>(pixels.width);
    header.height = static_cast<std::uint32_t>(pixels.height);
    header.bit_depth = 8;
    header.color_type = pixels.form.hasAlpha ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR;
    Check(spng_set_ihdr(context.get(), &header));
    Bytes copy = tags.profile; // which libspng takes as one that could change
    spng_iccp profile = {"ICC profile", copy.size(), reinterpret_cast<char *>(copy.data())};
    if (!copy.empty())
        Check(spng_set_iccp(context.get(), &profile));
    spng_phys resolution = {Whole(tags.perMeterX), Whole(tags.perMeterY), 1};
    if (tags.perMeterX > 0)
        Check(spng_set_phys(context.get(), &resolution));
    Check(spng_encode_image(context.get(), nullptr, 0, SPNG_FMT_PNG, SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE));
    for (int y = 0; y < pixels.height; ++y) {
        unsigned char *row = pixels.Row(y);
        FromForm(row, pixels.width, pixels.form);
        if (!pixels.form.hasAlpha)
            DropFourth(row, pixels.width);
        if (const int error = spng_encode_row(context.get(), row, bytes); error != SPNG_EOI)
            Check(error);
    }
    return file;
}

} // namespace tools::formats
