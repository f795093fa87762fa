#include "tools/gallery/gallery.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

namespace tools::gallery {
namespace {

/// Every form of every method is called, and no other.
TEST(Gallery, ShowsEveryFormOfEveryMethod) {
    const standin::Host host;
    std::set<std::string> missing;
    for (const auto *methods : {&host.GlobalMethods(), &host.PictureMethods()})
        for (const standin::RegisteredMethod &method : *methods) {
            missing.insert(method.declaration.text);
            if (method.record.setter)
                missing.insert(method.declaration.text + " = ");
        }
    for (const auto &definition : host.Classes())
        missing.insert(definition->name);
    for (const Json &chapter : MethodData()["chapters"])
        for (const Json &method : chapter["methods"]) {
            bool isRegistered = false;
            for (const Json &shot : method["calls"]) {
                const Declarations named = [&](std::string_view name) {
                    return std::string(method["name"] == name ? "declared" : "");
                };
                const Call call = ParseCalls(shot["call"].get_ref<const std::string &>(), named).at(0);
                EXPECT_EQ(call.name, method["name"].get<std::string>());
                isRegistered = isRegistered || missing.erase(std::string(call.name)) != 0 || !call.member.empty();
                for (const auto *methods : {&host.GlobalMethods(), &host.PictureMethods()})
                    for (const auto &[declaration, record] : *methods)
                        if (declaration.name == call.name && call.arguments.size() >= declaration.Required() &&
                            call.arguments.size() <= declaration.parameters.size()) {
                            isRegistered = true;
                            missing.erase(declaration.text + (call.assigned ? " = " : ""));
                        }
            }
            EXPECT_TRUE(isRegistered) << method["name"];
        }
    for (const std::string &form : missing)
        ADD_FAILURE() << "no call of " << form;
}

class GalleryFolder : public testing::Test {
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
    std::filesystem::path folder_;

  private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

TEST_F(GalleryFolder, ReplacesItsOwnFilesAlone) {
    const auto write = [&](std::string_view text) { Folder(folder_ / "made").Write("photo.png", AsBytes(text)); };
    write("first");
    write("second");
    EXPECT_EQ(AsText(ReadBytes("photo.png")), "second");
    WriteBytes("photo.png", AsBytes("someone's"));
    EXPECT_THROW(write("third"), UserError);
    EXPECT_EQ(AsText(ReadBytes("photo.png")), "someone's");
    write("someone's"); // nothing is lost
    write("fourth");
    std::filesystem::create_symlink("photo.png", "link.png");
    EXPECT_THROW(Folder(folder_ / "made").Write("link.png", AsBytes("a link leads to it")), UserError);
    for (const char *record : {"no JSON", "[]", "{\"photo.png\": \"text\"}"}) {
        WriteBytes(".kvt-gallery", AsBytes(record));
        EXPECT_THROW(write("fifth"), UserError) << record;
    }
}

TEST_F(GalleryFolder, HoldsWhatLinesForScriptAndShellName) {
    if (!kHasCodecs)
        GTEST_SKIP() << "the gallery is made of PNG files";
    WriteBytes("table.bin", Bytes(256));
    WriteBytes("bytes.ppic", Bytes(43));
    WriteBytes("other.png", FileOf("other.png", MakeImage(2, 2)));
    standin::Host host;
    const struct {
        Json shot;
        std::string script;
        std::string command;
    } rows[] = {
        {{{"call", "InvertKVT"}}, "result = photo.InvertKVT", "kvt apply photo.png InvertKVT -o out.png"},
        {{{"call", "MergePictureKVT(me, other.png)"}},
         "result = MergePictureKVT(photo, other)",
         "kvt apply photo.png 'MergePictureKVT(me, other.png)' -o out.png"},
        {{{"call", "TransformColorsKVT(table.bin, table.bin, table.bin, nil)"}},
         "result = photo.TransformColorsKVT(table, table, table, nil)",
         "kvt apply photo.png 'TransformColorsKVT(table.bin, table.bin, table.bin, nil)' -o out.png"},
        {{{"call", "FindPicture(other.png, 0, 0)"}},
         "result = photo.FindPicture(other, x, y)",
         "kvt apply photo.png 'FindPicture(other.png, 0, 0)' -o out.png"},
        {{{"call", "CountColorsKVT(nil, nil, nil, 0)"}},
         "photo.CountColorsKVT(red, blue, green, count)",
         "kvt apply photo.png 'CountColorsKVT(nil, nil, nil, 0)' -o out.png"},
        {{{"call", "BinaryStringtoPictureKVT(@bytes.ppic)"}, {"on", nullptr}},
         "result = BinaryStringtoPictureKVT(bytesBytes)",
         "kvt make 'BinaryStringtoPictureKVT(@bytes.ppic)' -o out.png"},
        {{{"call", "EmbeddedMaskKVT(false) = other.png"}, {"as", "with alpha"}},
         "photo.EmbeddedMaskKVT(false) = other",
         "kvt apply photo.png 'EmbeddedMaskKVT(false) = other.png' --alpha -o out.png"},
        {{{"call", "HasMaskKVT"}, {"as", "masked"}}, "result = photo.HasMaskKVT", ""},
        {{{"call", "PictureSepiaKVT(SepiaRed=40, MinX=2).Run"}},
         "dim tool as new PictureSepiaKVT\ntool.SourcePicture = photo\ntool.SepiaRed = 40\ntool.MinX = 2\n"
         "if tool.Run then result = tool.DestinationPicture",
         "kvt apply photo.png 'PictureSepiaKVT(SepiaRed=40, MinX=2).Run' -o out.png"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.shot.dump());
        bool hasPicture = true;
        const auto &line = row.shot["call"].get_ref<const std::string &>();
        const std::vector<BoundCall> bound = BindLine(host, line, hasPicture);
        EXPECT_EQ(ScriptFor(row.shot, bound.at(0)), row.script);
        EXPECT_EQ(CommandFor(row.shot, {}, "out.png"), row.command);
    }
    const HostOptions other{.host = "console", .layout = "row-table", .version = "none"};
    EXPECT_EQ(CommandFor(rows[0].shot, other, {}),
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

} // namespace
} // namespace tools::gallery
