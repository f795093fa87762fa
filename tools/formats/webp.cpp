#include "tools/formats/formats.h"

#include <algorithm>
#include <fmt/format.h>
#include <limits>
#include <memory>
#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

namespace tools::formats {
namespace {

using Demuxer = std::unique_ptr<WebPDemuxer, void (*)(WebPDemuxer *)>;

File ChunkOf(const Demuxer &demuxer, const char *name) {
    WebPChunkIterator chunk;
    if (!WebPDemuxGetChunk(demuxer.get(), name, 1, &chunk))
        return {};
    const File bytes(chunk.chunk.bytes, chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
    return bytes;
}

Bytes WithProfile(const WebPMemoryWriter &written, const Bytes &profile) {
    const std::unique_ptr<WebPMux, void (*)(WebPMux *)> mux(WebPMuxNew(), &WebPMuxDelete);
    const WebPData image = {written.mem, written.size};
    const WebPData chunk = {profile.data(), profile.size()};
    WebPData whole = {};
    if (!mux || WebPMuxSetImage(mux.get(), &image, 0) != WEBP_MUX_OK ||
        WebPMuxSetChunk(mux.get(), "ICCP", &chunk, 0) != WEBP_MUX_OK ||
        WebPMuxAssemble(mux.get(), &whole) != WEBP_MUX_OK)
        throw std::bad_alloc();
    Bytes file(whole.bytes, whole.bytes + whole.size);
    WebPDataClear(&whole);
    return file;
}

} // namespace

void ReadWebp(File file, const MakePixels &make) {
    const WebPData data = {file.data(), file.size()};
    const Demuxer demuxer(WebPDemux(&data), &WebPDemuxDelete);
    WebPIterator frame = {};
    if (!demuxer || !WebPDemuxGetFrame(demuxer.get(), 1, &frame))
        throw UserError("is damaged: it ends early or its chunks are broken");
    const std::unique_ptr<WebPIterator, void (*)(WebPIterator *)> released(&frame, &WebPDemuxReleaseIterator);
    const std::uint32_t width = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_WIDTH);
    const std::uint32_t height = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_HEIGHT);
    Info info =
        CheckedSize(width, height, file.size(), std::numeric_limits<double>::infinity()); // one color is a few bytes
    const bool isWhole =
        frame.x_offset == 0 && frame.y_offset == 0 && frame.width == info.width && frame.height == info.height;
    info.hasAlpha = frame.has_alpha || !isWhole;
    if (frame.num_frames > 1)
        info.losses.emplace_back("the frames of its animation after the first are left out");
    const File profile = ChunkOf(demuxer, "ICCP");
    info.tags.profile.assign(profile.begin(), profile.end());
    ReadExif(ChunkOf(demuxer, "EXIF"), info);

    const Pixels pixels = make(info);
    for (int y = 0; !isWhole && y < pixels.height; ++y)
        std::fill_n(pixels.Row(y), std::ptrdiff_t{4} * pixels.width, static_cast<unsigned char>(0));
    WebPDecoderConfig config;
    WebPInitDecoderConfig(&config);
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = pixels.Row(frame.y_offset) + std::ptrdiff_t{4} * frame.x_offset;
    config.output.u.RGBA.stride = static_cast<int>(pixels.pitch);
    config.output.u.RGBA.size =
        static_cast<std::size_t>((frame.height - 1) * pixels.pitch + std::ptrdiff_t{4} * frame.width);
    const VP8StatusCode status = WebPDecode(frame.fragment.bytes, frame.fragment.size, &config);
    if (status == VP8_STATUS_OUT_OF_MEMORY)
        throw std::bad_alloc();
    if (status != VP8_STATUS_OK)
        throw UserError(status == VP8_STATUS_NOT_ENOUGH_DATA       ? "is damaged: it ends early"
                        : status == VP8_STATUS_UNSUPPORTED_FEATURE ? "is damaged: it uses what libwebp lacks"
                                                                   : "is damaged: its data is broken");
    for (int y = 0; y < pixels.height; ++y)
        ToForm(pixels.Row(y), pixels.width, pixels.form);
}

Bytes WriteWebp(const Pixels &pixels, const Tags &tags, int quality) {
    WebPConfig config;
    WebPPicture picture;
    if (!WebPConfigInit(&config) || !WebPPictureInit(&picture))
        throw UserError("libwebp is of another version than its headers");
    const std::unique_ptr<WebPPicture, void (*)(WebPPicture *)> owned(&picture, &WebPPictureFree);
    config.quality = static_cast<float>(quality);
    picture.use_argb = 1;
    picture.width = pixels.width;
    picture.height = pixels.height;
    if (pixels.width > WEBP_MAX_DIMENSION || pixels.height > WEBP_MAX_DIMENSION)
        throw UserError(fmt::format("a WebP picture has {} pixels on a side at the most", WEBP_MAX_DIMENSION));
    if (!WebPPictureAlloc(&picture))
        throw std::bad_alloc();
    for (int y = 0; y < pixels.height; ++y) {
        auto *row = reinterpret_cast<unsigned char *>(picture.argb + std::ptrdiff_t{y} * picture.argb_stride);
        FromForm(pixels.Row(y), row, pixels.width, pixels.form);
        for (std::ptrdiff_t x = 0; x < pixels.width; ++x)
            std::swap(row[4 * x], row[4 * x + 2]); // blue, green, red, alpha in memory
    }
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    const std::unique_ptr<WebPMemoryWriter, void (*)(WebPMemoryWriter *)> written(&writer, &WebPMemoryWriterClear);
    picture.writer = &WebPMemoryWrite;
    picture.custom_ptr = &writer;
    if (!WebPEncode(&config, &picture))
        throw UserError(
            fmt::format("libwebp cannot write this picture (error {})", static_cast<int>(picture.error_code)));
    return tags.profile.empty() ? Bytes(writer.mem, writer.mem + writer.size) : WithProfile(writer, tags.profile);
}

} // namespace tools::formats
