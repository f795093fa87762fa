#include "output/methods.h"

#include "kernels/area.h"
#include "kernels/packed_rgb.h"
#include "pixels/open.h"
#include "support/memory.h"
#include "support/rb_data.h"
#include "support/strings.h"

#include <cstdint>

namespace kvt {
namespace {

constexpr std::int64_t kHeaderBytes = 40;
constexpr std::int64_t kLargestString = 0x7FFFFFFF;
constexpr std::uint32_t kPpic = 0x50504943; // "PPIC"

/// The header's words, big-endian; behind them it is zero.
enum HeaderWord { kMagic, kLength, kWidth, kHeight, kDepth, kPixelOffset, kHeaderWords };

std::uint32_t HeaderWordOf(const unsigned char *header, HeaderWord word) {
    std::uint32_t value = 0;
    for (int byte = 0; byte < 4; ++byte)
        value = value << 8 | header[word * 4 + byte];
    return value;
}

std::int64_t PixelBytes(std::int64_t width, std::int64_t height) { return width * height * kPackedBytes; }

} // namespace

REALstringStruct *PicturetoBinaryString(REALpictureStruct *picture) {
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    const Area area = AreaOf(*source, kWholePicture);
    const std::int64_t length = kHeaderBytes + PixelBytes(area.right, area.bottom);
    ClearBuffer<unsigned char> bytes(length > kLargestString ? 0 : length);
    if (!bytes)
        return nullptr;
    const std::int64_t words[kHeaderWords] = {kPpic, length, area.right, area.bottom, 32, kHeaderBytes};
    for (int byte = 0; byte < kHeaderWords * 4; ++byte)
        bytes[byte] = static_cast<unsigned char>(words[byte / 4] >> (24 - 8 * (byte % 4)));
    PackRgb(*source, bytes.data() + kHeaderBytes);
    return REALBuildUnicodeString(bytes.data(), static_cast<std::int32_t>(length), kEncodingNone);
}

REALpictureStruct *BinaryStringtoPicture(REALstringStruct *data) {
    const rbData view(data);
    if (view.length < kHeaderWords * 4 || HeaderWordOf(view.data, kMagic) != kPpic ||
        HeaderWordOf(view.data, kLength) != view.length)
        return nullptr;
    const auto width = static_cast<std::int32_t>(HeaderWordOf(view.data, kWidth));
    const auto height = static_cast<std::int32_t>(HeaderWordOf(view.data, kHeight));
    const std::uint32_t offset = HeaderWordOf(view.data, kPixelOffset);
    if (!FitsNewPicture(width, height) || offset + PixelBytes(width, height) > std::int64_t{view.length})
        return nullptr;
    OpenWriter result{width, height};
    if (!result)
        return nullptr;
    UnpackRgb(view.data + offset, width, height, *result);
    return result.Render();
}

} // namespace kvt
