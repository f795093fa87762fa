#include "support/test_host.h"
namespace {
using namespace standin;
TEST(Inversion, Smoke) {
    TestHost host;
    const Ref picture = host.Make({.width = 3, .height = 2, .color = [](int x, int y) { return MakeColor(unsigned(x), unsigned(y), 9); }});
    const Result result = host.Call(picture, "InvertKVT");
    EXPECT_EQ(result.picture().ColorAt(2, 1), MakeColor(253, 254, 246));
    EXPECT_FALSE(host.Call(nullptr, "InvertKVT").value.Is<Ref>());
    for (int l = 0; l < 3; ++l) EXPECT_TRUE(host.ForceLevel(l));
    const Ref sepia = host.New("PictureSepiaKVT");
    host.Set(sepia, "SourcePicture", picture);
    EXPECT_TRUE(host.Call(sepia, "Run").value.AsBoolean());
    EXPECT_EQ(host.Get(sepia, "FactorBlue").AsDouble(), 0.587);
    const Result raised = host.Call(picture, "ReplaceRedChannelKVT", nullptr);
    EXPECT_EQ(raised.raised->message, "The channel picture is nil.");
    for (const auto &line : host.StartUpLog()) puts(line.c_str());
}
TEST(Inversion, Console) {
    for (int i = 0; i < 2; ++i) {
    TestHost host({.application = Application::Console, .faults = {{"REALUnlockObject", Fault::Missing}}});
    const Ref picture = host.Make({.width = 3, .height = 2, .color = [](int x, int y) { return MakeColor(unsigned(x), unsigned(y), 9); }});
    const Result result = host.Call(picture, "InvertKVT");
    EXPECT_EQ(result.picture().ColorAt(2, 1), MakeColor(253, 254, 246));
    }
}
}
