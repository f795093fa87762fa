#include "expected/byte_string.h"

#include <cstddef>

namespace expected {

namespace {

std::string BigEndian(std::size_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>((value >> shift) & 0xFF);
    return bytes;
}

int ByteAt(const std::string &bytes, std::size_t offset) { return static_cast<unsigned char>(bytes[offset]); }

/// The unsigned big-endian number at `offset`.
long long NumberAt(const std::string &bytes, std::size_t offset) {
    long long number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number * 256 + ByteAt(bytes, offset + i);
    return number;
}

} // namespace

std::string BytesOf(const Picture &picture) {
    const auto width = static_cast<std::size_t>(picture.width);
    const auto height = static_cast<std::size_t>(picture.height);
    std::string bytes = "PPIC" + BigEndian(40 + width * height * 3) + BigEndian(width) + BigEndian(height) +
                        BigEndian(32) + BigEndian(40) + std::string(16, '\0');
    for (const Rgb &pixel : picture.pixels) {
        bytes += static_cast<char>(pixel.red);
        bytes += static_cast<char>(pixel.green);
        bytes += static_cast<char>(pixel.blue);
    }
    return bytes;
}

std::optional<Picture> PictureOf(const std::string &bytes) {
    const auto length = static_cast<long long>(bytes.size());
    if (length < 24 || bytes.substr(0, 4) != "PPIC" || NumberAt(bytes, 4) != length)
        return std::nullopt;
    const long long width = NumberAt(bytes, 8); // negative ones read as too large
    const long long height = NumberAt(bytes, 12);
    const long long offset = NumberAt(bytes, 20);
    if (width < 1 || width > 32767 || height < 1 || height > 32767 || offset + width * height * 3 > length)
        return std::nullopt;
    Picture picture{static_cast<int>(width), static_cast<int>(height), {}};
    auto at = static_cast<std::size_t>(offset);
    for (long long i = 0; i < width * height; ++i, at += 3)
        picture.pixels.push_back({ByteAt(bytes, at), ByteAt(bytes, at + 1), ByteAt(bytes, at + 2)});
    return picture;
}

} // namespace expected
