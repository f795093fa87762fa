#include "tools/formats/formats.h"

#include <algorithm>
#include <fmt/format.h>
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

Bytes WithProfile(const WebPData &image, const Bytes &profile) {
    const std::unique_ptr<WebPMux, void (*)(WebPMux *)> mux(WebPMuxNew(), &WebPMuxDelete);
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
    RefuseIf(!demuxer || !WebPDemuxGetFrame(demuxer.get(), 1, &frame),
             "is damaged: it ends early or its chunks are broken");
    const std::unique_ptr<WebPIterator, void (*)(WebPIterator *)> released(&frame, &WebPDemuxReleaseIterator);
    const std::uint32_t width = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_WIDTH);
    const std::uint32_t height = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_HEIGHT);
    Info info = CheckedSize(width, height, file.size(), kAnyPixels); // one color is a few bytes
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
    const std::ptrdiff_t size = (frame.height - 1) * pixels.pitch + std::ptrdiff_t{4} * frame.width;
    RefuseIf(!WebPDecodeRGBAInto(frame.fragment.bytes, frame.fragment.size,
                                 pixels.Row(frame.y_offset) + std::ptrdiff_t{4} * frame.x_offset,
                                 static_cast<std::size_t>(size), static_cast<int>(pixels.pitch)),
             "is damaged, or takes more memory than there is");
    for (int y = 0; y < pixels.height; ++y)
        ToForm(pixels.Row(y), pixels.width, pixels.form);
}

Bytes WriteWebp(const Pixels &pixels, const Tags &tags, int quality) {
    RefuseIf(std::max(pixels.width, pixels.height) > WEBP_MAX_DIMENSION,
             "a WebP picture has {} pixels on a side at the most", WEBP_MAX_DIMENSION);
    for (int y = 0; y < pixels.height; ++y)
        FromForm(pixels.Row(y), pixels.width, pixels.form);
    std::uint8_t *bytes = nullptr;
    const std::size_t size = WebPEncodeRGBA(pixels.first, pixels.width, pixels.height, static_cast<int>(pixels.pitch),
                                            static_cast<float>(quality), &bytes);
    const std::unique_ptr<std::uint8_t, void (*)(void *)> written(bytes, &WebPFree);
    RefuseIf(size == 0, "libwebp cannot write this picture");
    return tags.profile.empty() ? Bytes(bytes, bytes + size) : WithProfile({bytes, size}, tags.profile);
}

} // namespace tools::formats
