#include "expected/byte_string.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

namespace expected {
namespace {

const std::string
    kOnePixel("PPIC\0\0\0\x2B\0\0\0\1\0\0\0\1\0\0\0\x20\0\0\0\x28\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0A\x14\x1E", 43);

std::string WithByte(std::size_t offset, int value) {
    std::string bytes = kOnePixel;
    bytes[offset] = static_cast<char>(value);
    return bytes;
}

const struct {
    const char *what;
    std::string bytes;
    std::optional<Rgb> pixel;
} kStrings[] = {
    {"as written", kOnePixel, Rgb{10, 20, 30}},
    {"seven bytes", kOnePixel.substr(0, 7), {}},
    {"no header", std::string("PPIC\0\0\0\x17", 8) + std::string(15, '\0'), {}},
    {"another magic", WithByte(3, 'c'), {}},
    {"a length one too large", WithByte(7, 0x2C), {}},
    {"no width", WithByte(11, 0), {}},
    {"no height", WithByte(15, 0), {}},
    {"a width of 32768", WithByte(10, 0x80), {}},
    {"a negative width", WithByte(8, 0x80), {}},
    {"a width beyond the bytes", WithByte(11, 2), {}},
    {"unread fields", WithByte(19, 7), Rgb{10, 20, 30}},
    {"an offset of 0", WithByte(23, 0), Rgb{'P', 'P', 'I'}},
    {"an offset of 39", WithByte(23, 39), Rgb{0, 10, 20}},
    {"an offset one too far", WithByte(23, 41), {}},
    {"an offset beyond 31 bits", WithByte(20, 0x80), {}},
};

TEST(ByteString, IsReadOrRefused) {
    for (const auto &row : kStrings) {
        const std::optional<Picture> none;
        EXPECT_EQ(PictureOf(row.bytes), row.pixel ? Filled(1, 1, *row.pixel) : none) << row.what;
    }
}

TEST(ByteString, HoldsEveryPixel) {
    EXPECT_EQ(BytesOf(Filled(1, 1, {10, 20, 30})), kOnePixel);
    EXPECT_EQ(BytesOf(Filled(0, 3, {})).size(), 40u);
    const Picture picture = Noise(300, 7, 5);
    const std::string bytes = BytesOf(picture);
    EXPECT_EQ(bytes.substr(4, 12), std::string("\0\0\x18\xC4\0\0\1\x2C\0\0\0\7", 12));
    EXPECT_EQ(PictureOf(bytes), picture);
}

} // namespace
} // namespace expected
