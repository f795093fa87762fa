#include "tools/formats/formats.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <stb/stb_image.h>

namespace tools::formats {
namespace {

constexpr std::size_t kFileHeader = 14;
constexpr std::size_t kOldHeader = 12; ///< whose sizes have 16 bits
constexpr std::uint32_t kMasks = 3;    ///< how pixels are packed: as masks in the header tell

} // namespace

void ReadBmp(File file, const MakePixels &make) {
    RefuseIf(file.size() < kFileHeader + kOldHeader || file.size() > INT32_MAX,
             "is damaged: no BMP file has that length");
    const std::size_t header = LittleEndian(file, kFileHeader, 4);
    RefuseIf(header != kOldHeader && (header < 40 || file.size() < kFileHeader + header),
             "is damaged: its header is none of a BMP file");
    const bool isOld = header == kOldHeader;
    const std::int64_t width = LittleEndian(file, 18, isOld ? 2 : 4);
    const std::int64_t height = isOld ? LittleEndian(file, 20, 2)
                                      : std::abs(std::int64_t{static_cast<std::int32_t>(LittleEndian(file, 22, 4))});
    const std::int64_t bits = LittleEndian(file, isOld ? 24 : 28, 2);
    const std::uint32_t packing = isOld ? 0 : LittleEndian(file, 30, 4);
    Info info = CheckedSize(width, height, file.size(), 8);
    const auto needed = LittleEndian(file, 10, 4) + static_cast<std::uint64_t>((width * bits + 31) / 32 * 4 * height);
    RefuseIf(file.size() < needed && (packing == 0 || packing == kMasks), "is damaged: it has {} bytes of {}",
             file.size(), needed);
    if (!isOld) {
        info.tags.perMeterX = LittleEndian(file, 38, 4);
        info.tags.perMeterY = LittleEndian(file, 42, 4);
    }
    int channels = 0;
    const std::unique_ptr<stbi_uc, void (*)(void *)> read(
        stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &info.width, &info.height, &channels, 4),
        &stbi_image_free);
    RefuseIf(!read, "is damaged or of a kind of BMP that is not read: {}", stbi_failure_reason());
    info.hasAlpha = channels == 4 && packing != 0; // without masks, a fourth byte says nothing
    const Pixels pixels = make(info);
    const std::size_t bytes = std::size_t{4} * static_cast<std::size_t>(width);
    for (int y = 0; y < pixels.height; ++y) {
        std::memcpy(pixels.Row(y), read.get() + static_cast<std::size_t>(y) * bytes, bytes);
        ToForm(pixels.Row(y), pixels.width, pixels.form);
    }
}

/// With alpha, a header that tells where each channel lies.
Bytes WriteBmp(const Pixels &pixels, const Tags &tags, int) {
    const bool alpha = pixels.form.hasAlpha;
    const std::uint32_t header = alpha ? 108 : 40;
    const auto width = static_cast<std::size_t>(pixels.width);
    const std::size_t bytes = width * (alpha ? 4 : 3);
    const std::size_t pitch = (bytes + 3) / 4 * 4;
    const auto start = static_cast<std::uint32_t>(kFileHeader) + header;
    const std::size_t size = start + pitch * static_cast<std::size_t>(pixels.height);
    RefuseIf(size > UINT32_MAX, "a BMP file has less than 4 GB");
    Bytes file = {'B', 'M'};
    Reserve(file, size);
    PutWords(file, {static_cast<std::uint32_t>(size), 0, start, header, static_cast<std::uint32_t>(pixels.width),
                    static_cast<std::uint32_t>(pixels.height), 1U | (alpha ? 32U : 24U) << 16, alpha ? kMasks : 0U, 0,
                    Whole(tags.perMeterX), Whole(tags.perMeterY), 0, 0});
    if (alpha)
        PutWords(file, {0xFF0000, 0xFF00, 0xFF, 0xFF000000, 0x73524742 /* the profile is sRGB */});
    file.resize(start);
    for (int y = pixels.height; y-- > 0;) {
        unsigned char *row = pixels.Row(y);
        FromForm(row, pixels.width, pixels.form);
        for (std::size_t x = 0; alpha && x < width; ++x)
            std::swap(row[4 * x], row[4 * x + 2]);
        if (!alpha) {
            ToForm(row, pixels.width, {standin::Layout::RowTable});
            DropFourth(row, pixels.width);
        }
        file.insert(file.end(), row, row + bytes);
        file.resize(file.size() + pitch - bytes);
    }
    return file;
}

} // namespace tools::formats
