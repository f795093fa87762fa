#include "output/binary_string.h"

#include "kernels/area.h"
#include "kernels/packed_rgb.h"
#include "pixels/open.h"
#include "support/memory.h"
#include "support/rb_data.h"
#include "support/strings.h"

#include <cstring>

namespace kvt {
namespace {

constexpr char kMagic[4] = {'P', 'P', 'I', 'C'};
constexpr std::int64_t kHeaderBytes = 40;
constexpr std::int64_t kLargestString = 0x7FFFFFFF;

// Where the header's words lie.
constexpr std::ptrdiff_t kLength = 4;
constexpr std::ptrdiff_t kWidth = 8;
constexpr std::ptrdiff_t kHeight = 12;
constexpr std::ptrdiff_t kDepth = 16;
constexpr std::ptrdiff_t kPixelOffset = 20;
constexpr std::uint32_t kReadHeaderBytes = 24;

void StoreBigEndian(unsigned char *bytes, std::int64_t value) {
    for (int byte = 0; byte < 4; ++byte)
        bytes[byte] = static_cast<unsigned char>(value >> (24 - 8 * byte));
}

std::uint32_t LoadBigEndian(const unsigned char *bytes) {
    std::uint32_t value = 0;
    for (int byte = 0; byte < 4; ++byte)
        value = value << 8 | bytes[byte];
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
    std::memcpy(bytes.data(), kMagic, sizeof kMagic);
    StoreBigEndian(bytes.data() + kLength, length);
    StoreBigEndian(bytes.data() + kWidth, area.right);
    StoreBigEndian(bytes.data() + kHeight, area.bottom);
    StoreBigEndian(bytes.data() + kDepth, 32);
    StoreBigEndian(bytes.data() + kPixelOffset, kHeaderBytes);
    PackRgb(*source, bytes.data() + kHeaderBytes);
    return REALBuildUnicodeString(bytes.data(), static_cast<std::int32_t>(length), kEncodingNone);
}

REALpictureStruct *BinaryStringtoPicture(REALstringStruct *data) {
    const rbData view(data);
    if (view.length < kReadHeaderBytes || std::memcmp(view.data, kMagic, sizeof kMagic) != 0 ||
        LoadBigEndian(view.data + kLength) != view.length)
        return nullptr;
    const auto width = static_cast<std::int32_t>(LoadBigEndian(view.data + kWidth));
    const auto height = static_cast<std::int32_t>(LoadBigEndian(view.data + kHeight));
    const std::uint32_t offset = LoadBigEndian(view.data + kPixelOffset);
    if (!FitsNewPicture(width, height) || offset + PixelBytes(width, height) > std::int64_t{view.length})
        return nullptr;
    OpenWriter result{width, height};
    if (!result)
        return nullptr;
    UnpackRgb(view.data + offset, width, height, *result);
    return result.Render();
}

} // namespace kvt
