#include "tests/support/test_host.h"
#include "tools/host_options.h"
#include "tools/picture_files.h"
#include "tools/samples.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tools {
namespace {

class Files : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "kvt-XXXXXX").string();
        ASSERT_TRUE(mkdtemp(pattern.data()));
        folder_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    std::string Path(const std::string &name) const { return (folder_ / name).string(); }
    std::size_t Count() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

  private:
    std::filesystem::path folder_;
};

void WriteImage(const std::string &path, const Image &image) { WriteBytes(path, FileOf(path, image)); }

/// Every alpha in every column, every level in some row.
Image AllAlphas() {
    Image image = MakeImage(256, 64, true);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            unsigned char *pixel = image.At(x, y);
            pixel[0] = static_cast<unsigned char>(4 * y + 3);
            pixel[1] = static_cast<unsigned char>(255 - 4 * y);
            pixel[2] = static_cast<unsigned char>(x);
            pixel[3] = static_cast<unsigned char>(x);
        }
    return image;
}

TEST_F(Files, LosslessKindsKeepEveryByte) {
    for (const char *name : kHasCodecs ? std::vector{"a.png", "a.BMP"} : std::vector{"a.BMP"})
        for (const bool alpha : {false, true}) {
            SCOPED_TRACE(std::string(name) + (alpha ? " with alpha" : ""));
            const Image image = SamplePicture(37, 23, alpha);
            WriteImage(Path(name), image);
            const Image back = ReadImage(Path(name));
            EXPECT_EQ(back.width, 37);
            EXPECT_EQ(back.height, 23);
            EXPECT_EQ(back.hasAlpha, alpha);
            EXPECT_TRUE(back.pixels == image.pixels);
        }
}

#ifdef KVT_CODECS
/// What goes from a file into a picture and on into another file, in every layout.
TEST_F(Files, TagsGoOnWhereTheFormatHoldsThem) {
    formats::Tags tags{Bytes(70000), 300 / 0.0254, 150 / 0.0254};
    for (std::size_t i = 0; i < tags.profile.size(); ++i)
        tags.profile[i] = static_cast<unsigned char>(i % 251);
    WriteBytes(Path("profile"), tags.profile);
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
            const PictureFile file = FileOf(Path(row.name), picture.picture(), given, 80);
            EXPECT_EQ(file.notes.size(), static_cast<std::size_t>(!row.holdsAlpha) +
                                             static_cast<std::size_t>(!given.profile.empty() && !row.holdsProfile));
            WriteBytes(Path(row.name), file.bytes);
            const LoadedPicture back = ReadPicture(host, Path(row.name));
            EXPECT_TRUE(back.notes.empty());
            EXPECT_EQ(back.picture.picture().description.hasAlphaChannel, row.holdsAlpha);
            EXPECT_TRUE(back.tags.profile == (row.holdsProfile ? tags.profile : Bytes()));
            EXPECT_NEAR(back.tags.perMeterX, row.holdsResolution ? tags.perMeterX : 0, 0.6);
            EXPECT_NEAR(back.tags.perMeterY, row.holdsResolution ? tags.perMeterY : 0, 0.6);
            given.perMeterX = 1e12; // a resolution that no format holds
            EXPECT_EQ(FileOf(Path(row.name), picture.picture(), given, 80).bytes.size(), file.bytes.size());
        }
    for (const char *name : {"a.jpg", "a.webp"})
        EXPECT_LT(FileOf(Path(name), SamplePicture(200, 150, false), 20).size(),
                  FileOf(Path(name), SamplePicture(200, 150, false), 90).size() / 2);
    EXPECT_THROW(FileOf("a.tif", SamplePicture(4, 4, false)), UserError);
    EXPECT_THROW(FileOf("a.webp", MakeImage(16384, 1)), UserError);
}

TEST_F(Files, JpegLiesOnWhite) {
    Image image = MakeImage(16, 16, true); // clear black
    WriteImage(Path("a.jpg"), image);
    const Image back = ReadImage(Path("a.jpg"));
    EXPECT_FALSE(back.hasAlpha);
    EXPECT_TRUE(std::all_of(back.pixels.begin(), back.pixels.end(), [](int byte) { return byte >= 253; }));
}
#endif

TEST_F(Files, AFileIsWrittenWholeOrNotAtAll) {
    const Bytes old = {1, 2, 3};
    WriteBytes(Path("a.bmp"), old);
    std::filesystem::create_directory(Path("folder.bmp"));
    const Image image = SamplePicture(8, 8, false);
    EXPECT_THROW(WriteImage(Path("folder.bmp"), image), UserError);      // the name cannot be taken
    EXPECT_THROW(WriteImage(Path("a.gif"), image), UserError);           // no such kind
    EXPECT_THROW(WriteImage(Path("a.bmp/b.bmp"), image), UserError);     // a folder that cannot be made
    EXPECT_THROW(WriteImage(Path("b.bmp"), MakeImage(0, 0)), UserError); // no pixels
    EXPECT_EQ(ReadBytes(Path("a.bmp")), old);
    EXPECT_EQ(Count(), 2u) << "something was left behind";
}

TEST_F(Files, FoldersAreMadeAndLinksAndModesStay) {
    const Bytes content = {1, 2, 3};
    WriteBytes(Path("new/deep/a.bin"), content);
    std::filesystem::permissions(Path("new/deep/a.bin"), std::filesystem::perms::owner_all);
    std::filesystem::create_symlink("new/deep/a.bin", Path("link.bin"));
    WriteBytes(Path("link.bin"), AsBytes("xy"));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link.bin")));
    EXPECT_EQ(AsText(ReadBytes(Path("new/deep/a.bin"))), "xy");
    EXPECT_EQ(std::filesystem::status(Path("new/deep/a.bin")).permissions(), std::filesystem::perms::owner_all);
    const mode_t mask = umask(027);
    WriteBytes(Path("masked.bin"), content);
    umask(mask);
    EXPECT_EQ(static_cast<int>(std::filesystem::status(Path("masked.bin")).permissions()), 0640);
    std::filesystem::create_symlink("nowhere", Path("dangling.bin"));
    EXPECT_THROW(WriteBytes(Path("dangling.bin"), content), UserError);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("dangling.bin")));
    WriteBytes("/dev/null", content);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(Files, WhatIsNoPictureIsRefused) {
    EXPECT_THROW(ReadImage(Path("missing.png")), UserError);
    const std::pair<const char *, const char *> rows[] = {
        {"", "is empty"},
        {"BM", "is damaged"},
        {"some words", "text"},
        {"<?xml?><svg>", "SVG"},
        {"8BPS", "Photoshop"},
        {"\x01\x02", "no picture"},
        {"\x89PNG\r\n\x1a\n", kHasCodecs ? "is damaged" : "kvt apply"},
        {"\xFF\xD8\xFF", kHasCodecs ? "no pixels" : "kvt apply"}};
    for (const auto &[content, reason] : rows) {
        WriteBytes(Path("a.png"), AsBytes(content));
        try {
            ReadImage(Path("a.png"));
            ADD_FAILURE() << content;
        } catch (const UserError &error) {
            EXPECT_NE(std::string_view(error.what()).find(reason), std::string_view::npos) << error.what();
        }
    }
}

TEST(HostPictures, OpaquePicturesComeBackFromEveryLayout) {
    const Image image = SamplePicture(20, 16, false);
    for (const char *layout : {"alpha-low", "alpha-high", "premultiplied-first", "premultiplied-last", "straight-first",
                               "straight-last", "row-table"}) {
        SCOPED_TRACE(layout);
        const bool console = std::string_view(layout) == "row-table";
        TestHost host(DescribeHost({.host = console ? "console" : "desktop", .layout = layout}));
        const standin::Ref picture = MakePicture(host, image);
        EXPECT_EQ(picture.picture().ColorAt(1, 15), 0xFF0000u); // a saturated patch
        EXPECT_TRUE(ImageOf(picture.picture()).pixels == image.pixels);
    }
}

TEST(HostPictures, AlphaIsPremultipliedAndRestored) {
    const Image image = AllAlphas();
    for (const char *layout : {"alpha-low", "alpha-high"}) {
        SCOPED_TRACE(layout);
        TestHost host(DescribeHost({.layout = layout}));
        const standin::Ref picture = MakePicture(host, image);
        EXPECT_EQ(picture.picture().ExtraAt(128, 0), 128u);
        EXPECT_EQ(picture.picture().ColorAt(128, 0), standin::MakeColor(2, 128, 64)); // 3, 255, 128 of 128/255
        const Image back = ImageOf(picture.picture());
        EXPECT_TRUE(back.hasAlpha);
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                const unsigned char *was = image.At(x, y);
                const unsigned char *is = back.At(x, y);
                ASSERT_EQ(is[3], was[3]);
                // A premultiplied level stands for all levels within half a step of 255 / alpha.
                for (int channel = 0; channel < 3; ++channel)
                    ASSERT_LE(2 * x * std::abs(is[channel] - was[channel]), 255 + x) << x << ", " << y;
            }
    }
}

TEST(HostPictures, ConsolePicturesKeepColorsAndSevenBitsOfAlpha) {
    const Image image = AllAlphas();
    TestHost host(DescribeHost({.host = "console"}));
    const standin::Ref picture = MakePicture(host, image);
    EXPECT_EQ(picture.picture().Word(0, 0), 127u << 24 | standin::MakeColor(3, 255, 0));
    const Image back = ImageOf(picture.picture());
    for (int x = 0; x < 256; ++x) {
        EXPECT_EQ(back.At(x, 5)[0], image.At(x, 5)[0]);
        EXPECT_NEAR(back.At(x, 5)[3], x, 1) << x;
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

TEST(Samples, HaveTheSizeAskedFor) {
    EXPECT_EQ(SamplePicture(1, 1, false).pixels.size(), 4u);
    EXPECT_EQ(ParseSize("640x480"), std::pair(640, 480));
    for (const char *wrong : {"", "640", "640x", "x480", "640x480x2", "0x9", "9x32768", "-1x9", "640 x 480"})
        EXPECT_THROW(ParseSize(wrong), UserError) << wrong;
}

} // namespace
} // namespace tools
