#include "tests/support/test_host.h"
#include "tools/host_options.h"
#include "tools/picture_files.h"
#include "tools/samples.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tools {
namespace {

#ifdef KVT_CODECS
/// What goes from a file into a picture and on into another file, in every layout.
TEST(PictureFiles, TagsGoOnWhereTheFormatHoldsThem) {
    formats::Tags tags{Bytes(70000), 300 / 0.0254, 150 / 0.0254};
    for (std::size_t i = 0; i < tags.profile.size(); ++i)
        tags.profile[i] = static_cast<unsigned char>(i % 251);
    const struct {
        const char *name;
        bool holdsProfile, holdsResolution, holdsAlpha;
    } rows[] = {{"a.jpg", true, true, false},
                {"a.webp", true, false, true},
                {"a.bmp", false, true, true},
                {"a.png", false, true, true}};
    for (const auto &row : rows)
        for (const char *kind : {"desktop", "console"}) {
            SCOPED_TRACE(std::string(row.name) + " " + kind);
            TestHost host(DescribeHost({.host = kind}));
            const standin::Ref picture = MakePicture(host, SamplePicture(40, 30, true));
            formats::Tags given = tags;
            if (std::string_view(row.name) == "a.png")
                given.profile.clear(); // which it holds if it is one
            const std::string path = fmt::format("{}kvt-{}-{}", testing::TempDir(), getpid(), row.name);
            const PictureFile file = FileOf(path, picture.picture(), given, 80);
            EXPECT_EQ(file.notes.size(), static_cast<std::size_t>(!row.holdsAlpha) +
                                             static_cast<std::size_t>(!given.profile.empty() && !row.holdsProfile));
            WriteBytes(path, file.bytes);
            const LoadedPicture back = ReadPicture(host, path);
            std::filesystem::remove(path);
            EXPECT_TRUE(back.notes.empty());
            EXPECT_EQ(back.picture.picture().description.hasAlphaChannel, row.holdsAlpha);
            EXPECT_TRUE(back.tags.profile == (row.holdsProfile ? tags.profile : Bytes()));
            EXPECT_NEAR(back.tags.perMeterX, row.holdsResolution ? tags.perMeterX : 0, 0.6);
            EXPECT_NEAR(back.tags.perMeterY, row.holdsResolution ? tags.perMeterY : 0, 0.6);
            given.perMeterX = 1e12; // a resolution that no format holds
            const standin::Ref again = MakePicture(host, SamplePicture(40, 30, true));
            EXPECT_EQ(FileOf(path, again.picture(), given, 80).bytes.size(), file.bytes.size());
        }
    for (const char *name : {"a.jpg", "a.webp"})
        EXPECT_LT(FileOf(name, SamplePicture(200, 150, false), 20).size(),
                  FileOf(name, SamplePicture(200, 150, false), 90).size() / 2);
    EXPECT_THROW(FileOf("a.tif", SamplePicture(4, 4, false)), UserError);
    EXPECT_THROW(FileOf("a.webp", MakeImage(16384, 1)), UserError);
}
#endif

TEST(HostPictures, ConsolePicturesKeepColorsAndSevenBitsOfAlpha) {
    Image image = MakeImage(256, 1, true);
    for (int x = 0; x < 256; ++x) {
        const int levels[] = {3, 255 - x, x, x};
        std::copy_n(levels, 4, image.At(x, 0));
    }
    TestHost host(DescribeHost({.host = "console"}));
    const standin::Ref picture = MakePicture(host, image);
    EXPECT_EQ(picture.picture().Word(0, 0), 127u << 24 | standin::MakeColor(3, 255, 0));
    const Image back = ImageOf(picture.picture());
    for (int x = 0; x < 256; ++x) {
        EXPECT_EQ(back.At(x, 0)[1], 255 - x);
        EXPECT_NEAR(back.At(x, 0)[3], x, 1) << x;
    }
}

TEST(HostPictures, NewAlphaKeepsTheColors) {
    TestHost host(DescribeHost({}));
    Image image = MakeImage(1, 1, true);
    const unsigned char color[] = {200, 100, 40, 255};
    std::copy_n(color, 4, image.At(0, 0));
    const standin::Ref picture = MakePicture(host, image);
    picture.picture().SetWord(0, 0,
                              standin::WordOf(standin::Layout::AlphaLow, 0xC86428, 51)); // alpha alone was written
    SetColors(picture.picture(), image);
    EXPECT_EQ(picture.picture().ColorAt(0, 0), standin::MakeColor(40, 20, 8));
    EXPECT_EQ(ImageOf(picture.picture()).At(0, 0)[0], 200);
}

} // namespace
} // namespace tools
