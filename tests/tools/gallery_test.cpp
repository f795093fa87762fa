#include "tools/gallery/charts.h"
#include "tools/gallery/entries.h"
#include "tools/gallery/lines.h"
#include "tools/gallery/materials.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

namespace tools::gallery {
namespace {

TEST(Gallery, ShowsEveryFormOfEveryMethod) {
    const standin::Host host;
    for (const std::string &mismatch : Mismatches(host))
        ADD_FAILURE() << mismatch;
}

class GalleryLines : public testing::Test {
  protected:
    void SetUp() override { // calls name files where they lie
        std::string pattern = (std::filesystem::temp_directory_path() / "kvt-XXXXXX").string();
        ASSERT_TRUE(mkdtemp(pattern.data()));
        std::filesystem::current_path(folder_ = pattern);
    }
    void TearDown() override {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(folder_);
    }

  private:
    std::filesystem::path before_ = std::filesystem::current_path();
    std::filesystem::path folder_;
};

TEST_F(GalleryLines, AreForScriptAndShell) {
    if (!kHasCodecs)
        GTEST_SKIP() << "the gallery is made of PNG files";
    WriteBytes("table.bin", Bytes(256));
    WriteBytes("bytes.ppic", Bytes(43));
    WriteImage("other.png", MakeImage(2, 2));
    standin::Host host;
    const struct {
        Shot shot;
        std::string script;
        std::string command;
    } rows[] = {
        {{"InvertKVT", {}}, "result = photo.InvertKVT", "kvt apply photo.png InvertKVT -o out.png"},
        {{"InvertKVT(1, 2, 3, 4)", {}, "page.png"},
         "result = page.InvertKVT(1, 2, 3, 4)",
         "kvt apply page.png 'InvertKVT(1, 2, 3, 4)' -o out.png"},
        {{"MergePictureKVT(me, other.png)", {}},
         "result = MergePictureKVT(photo, other)",
         "kvt apply photo.png 'MergePictureKVT(me, other.png)' -o out.png"},
        {{"TransformColorsKVT(table.bin, table.bin, table.bin, nil)", {}},
         "result = photo.TransformColorsKVT(table, table, table, nil)",
         "kvt apply photo.png 'TransformColorsKVT(table.bin, table.bin, table.bin, nil)' -o out.png"},
        {{"FindPicture(other.png, 0, 0)", {}},
         "result = photo.FindPicture(other, x, y)",
         "kvt apply photo.png 'FindPicture(other.png, 0, 0)' -o out.png"},
        {{"CountColorsKVT(nil, nil, nil, 0)", {}},
         "photo.CountColorsKVT(red, blue, green, count)",
         "kvt apply photo.png 'CountColorsKVT(nil, nil, nil, 0)' -o out.png"},
        {{"BinaryStringtoPictureKVT(@bytes.ppic)", {}, ""},
         "result = BinaryStringtoPictureKVT(bytesBytes)",
         "kvt make 'BinaryStringtoPictureKVT(@bytes.ppic)' -o out.png"},
        {{"EmbeddedMaskKVT(false) = other.png", {}, "photo.png", Setting::WithAlpha},
         "photo.EmbeddedMaskKVT(false) = other",
         "kvt apply photo.png 'EmbeddedMaskKVT(false) = other.png' --alpha -o out.png"},
        {{"HasMaskKVT", {}, "photo.png", Setting::WithMask}, "result = photo.HasMaskKVT", ""},
        {{"PictureSepiaKVT(SepiaRed=40, MinX=2).Run", {}},
         "dim tool as new PictureSepiaKVT\ntool.SourcePicture = photo\ntool.SepiaRed = 40\ntool.MinX = 2\n"
         "if tool.Run then result = tool.DestinationPicture",
         "kvt apply photo.png 'PictureSepiaKVT(SepiaRed=40, MinX=2).Run' -o out.png"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.shot.call);
        const Call call = ParseCall(row.shot.call);
        EXPECT_EQ(ScriptFor(row.shot, call, Bind(host, call, true)), row.script);
        EXPECT_EQ(CommandFor(row.shot, {}, "out.png"), row.command);
    }
    const HostOptions other{.host = "console", .layout = "row-table", .version = "none"};
    EXPECT_EQ(CommandFor({"InvertKVT", {}}, other, {}),
              "kvt apply photo.png InvertKVT --host console --layout row-table --host-version none");
}

TEST(Gallery, ScalesLargePicturesDownAndLaysThemOnWhite) {
    Image image = MakeImage(1280, 640, true); // clear, but for one opaque red pixel of four
    for (int y = 0; y < image.height; y += 2)
        for (int x = 0; x < image.width; x += 2)
            image.At(x, y)[0] = image.At(x, y)[3] = 255;
    const Image photo = PhotoFrom(image);
    EXPECT_EQ(photo.width, 640);
    EXPECT_EQ(photo.height, 320);
    EXPECT_FALSE(photo.hasAlpha);
    for (const int x : {0, 639})
        EXPECT_EQ(Bytes(photo.At(x, 319), photo.At(x, 319) + 4), (Bytes{255, 191, 191, 255}));
    EXPECT_EQ(PhotoFrom(MakeImage(30, 7)).width, 30);
    EXPECT_EQ(PhotoFrom(MakeImage(10000, 1)).height, 1);
}

TEST(Gallery, ReadsHistogramsAsTheModuleWritesThem) {
    Bytes block(1024);
    block[4 * 7] = 0x21;
    block[4 * 7 + 3] = 0x84;
    EXPECT_EQ(CountersIn(block)[7], 0x84000021U);
    EXPECT_EQ(CountersIn(Bytes{1, 2})[0], 0x201U);
    Image image = MakeImage(3, 1);
    image.At(1, 0)[1] = 9;
    EXPECT_EQ(HistogramOf(image)[1][9], 1U);
    EXPECT_EQ(HistogramOf(image)[1][0], 2U);
}

} // namespace
} // namespace tools::gallery
