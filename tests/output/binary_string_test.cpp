#include "expected/output.h"

#include "support/pictures.h"

#include <optional>
#include <string>

namespace {

using namespace expected;
using standin::Ref;
using standin::Result;
using standin::Value;

constexpr std::uint32_t kUnknownEncoding = 0xFFFF;

using EveryByteString = EveryWay;

TEST_P(EveryByteString, IsExact) {
    ForEachSize([&](const Picture &picture, const Ref &source) {
        const std::string bytes = BytesOf(picture);
        const Ref text = host.CallGlobal("PicturetoBinaryStringKVT", source).value.AsRef();
        EXPECT_EQ(text.text().encoding, kUnknownEncoding);
        ASSERT_TRUE(text.text().bytes() == bytes);
        for (const Ref &string : {text, host.MakeString(bytes)}) {
            const Result read = host.CallGlobal("BinaryStringtoPictureKVT", string);
            EXPECT_PICTURE(read, picture);
            EXPECT_FALSE(read.picture().description.hasAlphaChannel);
        }
    });
}

IN_EVERY_WAY(EveryByteString);

void Put(std::string &bytes, std::size_t at, std::uint32_t word) {
    for (int byte = 0; byte < 4; ++byte)
        bytes.replace(at + static_cast<std::size_t>(byte), 1, 1, static_cast<char>(word >> (24 - 8 * byte)));
}

/// Reads a string and compares with the plain computation. A string that is refused asks the host for no picture.
void ExpectRead(TestHost &host, const std::string &bytes, const std::string &what) {
    const int before = host.CallsOf("newPicture");
    const Result read = host.CallGlobal("BinaryStringtoPictureKVT", host.MakeString(bytes));
    EXPECT_FALSE(read.raised) << what;
    if (const std::optional<Picture> wanted = PictureOf(bytes))
        EXPECT_PICTURE(read, *wanted) << what;
    else
        EXPECT_TRUE(read.value.IsNil() && host.CallsOf("newPicture") == before) << what;
}

/// The host hands out strings that end at an inaccessible page, so a read beyond one does not pass.
class ByteStringOfHost : public testing::TestWithParam<std::optional<double>> {};

TEST_P(ByteStringOfHost, IsReadToItsEndAndNoFurther) {
    TestHost host({.version = GetParam()});
    const std::string whole = BytesOf(Noise(3, 2, 1));
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        std::string cut = whole.substr(0, length);
        ExpectRead(host, cut, fmt::format("cut at {}", length));
        if (length >= 8) {
            Put(cut, 4, static_cast<std::uint32_t>(length));
            ExpectRead(host, cut, fmt::format("cut at {} and told so", length));
        }
    }
    const auto length = static_cast<std::uint32_t>(whole.size());
    for (const std::size_t field : {0u, 4u, 8u, 12u, 16u, 20u, 24u, 36u}) {
        for (const std::uint32_t word :
             {0u,      1u,       2u,          3u,          4u,          6u,          18u,         24u,
              39u,     40u,      41u,         length - 18, length - 1,  length,      length + 1,  0x7FFFu,
              0x8000u, 0x10000u, 0x55555556u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFD8u, 0xFFFFFFFFu, 0x50504943u}) {
            std::string bytes = whole;
            Put(bytes, field, word);
            ExpectRead(host, bytes, fmt::format("0x{:X} at {}", word, field));
        }
    }
    // Two fields that would fit together if their product were taken in 32 bits.
    for (const auto &[width, height] : {std::pair{0x7FFFu, 0x7FFFu}, std::pair{0x4000u, 0x5556u}, std::pair{6u, 1u}}) {
        std::string bytes = whole;
        Put(bytes, 8, width);
        Put(bytes, 12, height);
        ExpectRead(host, bytes, fmt::format("{} x {}", width, height));
    }
    // Pixels elsewhere: behind other bytes, and over the header itself.
    std::string moved = whole.substr(0, 40) + "between" + whole.substr(40);
    Put(moved, 4, length + 7);
    Put(moved, 20, 47);
    ExpectRead(host, moved, "behind other bytes");
    EXPECT_EQ(PictureOf(moved), PictureOf(whole));
    Put(moved, 20, 0);
    ExpectRead(host, moved, "over the header");
}

INSTANTIATE_TEST_SUITE_P(, ByteStringOfHost, testing::Values(std::nullopt, 2012.02, 2013.0, 2019.03),
                         [](const auto &host) {
                             return host.param ? fmt::format("Version{:.0f}", *host.param * 1000) : "WithoutVersion";
                         });

} // namespace
