#include "support/levels.h"
#include "support/test_host.h"

/// Which methods' kernels have a form for which levels: a form that is never taken, or one that should not be there,
/// shows here.
namespace {

using namespace standin;

constexpr int kAvx2 = 1;
constexpr int kAvx512 = 2;

struct LeveledCall {
    const char *method;
    int highest; ///< level that it has a form for
    Result (*run)(TestHost &host, const Ref &picture);
};

constexpr LeveledCall kLeveledCalls[] = {
    {"InvertKVT", kAvx2, [](TestHost &host, const Ref &picture) { return host.Call(picture, "InvertKVT"); }},
    {"InvertGrayKVT", kAvx2, [](TestHost &host, const Ref &picture) { return host.Call(picture, "InvertGrayKVT"); }},
    {"ChangeContrastKVT", kAvx2,
     [](TestHost &host, const Ref &picture) { return host.Call(picture, "ChangeContrastKVT", 0.25); }},
    {"TransformColorsKVT", kAvx512,
     [](TestHost &host, const Ref &picture) {
         const Ref table = host.MakeBlock(256);
         return host.Call(picture, "TransformColorsKVT", table, table, table);
     }},
    {"ChangeSaturationKVT", kAvx512,
     [](TestHost &host, const Ref &picture) { return host.Call(picture, "ChangeSaturationKVT", 60); }},
    {"TintPictureKVT", kAvx512,
     [](TestHost &host, const Ref &picture) { return host.CallGlobal("TintPictureKVT", picture, 0x4C961D, 0xFFE0B3); }},
    {"PictureSepiaKVT.Run", kAvx2,
     [](TestHost &host, const Ref &picture) {
         const Ref sepia = host.New("PictureSepiaKVT");
         host.Set(sepia, "SourcePicture", picture);
         return host.Call(sepia, "Run");
     }},
    {"PictureLut3DKVT.Run", kAvx2,
     [](TestHost &host, const Ref &picture) {
         const Ref lut = host.New("PictureLut3DKVT");
         host.Set(lut, "SourcePicture", picture);
         return host.Call(lut, "Run");
     }},
    {"ReplaceColorKVT", kAvx2,
     [](TestHost &host, const Ref &picture) { return host.Call(picture, "ReplaceColorKVT", 1, 2); }},
    {"ReplaceRedChannelKVT", kAvx2,
     [](TestHost &host, const Ref &picture) { return host.Call(picture, "ReplaceRedChannelKVT", picture); }},
    {"MergePictureKVT", kAvx2,
     [](TestHost &host, const Ref &picture) { return host.CallGlobal("MergePictureKVT", picture, picture); }},
    {"EmbeddedMaskKVT", kAvx2,
     [](TestHost &host, const Ref &picture) { return host.Call(picture, "EmbeddedMaskKVT", false); }},
    {"CountColorKVT", kAvx2, [](TestHost &host, const Ref &picture) { return host.Call(picture, "CountColorKVT", 1); }},
    {"isGrayKVT", kAvx2, [](TestHost &host, const Ref &picture) { return host.Call(picture, "isGrayKVT", 3); }},
    {"FindPicture", kAvx2,
     [](TestHost &host, const Ref &picture) { return host.Call(picture, "FindPicture", picture, 0, 0); }},
    {"PicturetoBinaryStringKVT", kAvx2,
     [](TestHost &host, const Ref &picture) { return host.CallGlobal("PicturetoBinaryStringKVT", picture); }},
};

TEST(Levels, AreTakenWhereThereAreFormsForThem) {
    if (!kHasLevels)
        GTEST_SKIP() << "this processor has the baseline alone";
    TestHost host;
    const Ref picture = host.Make({.width = 64, .height = 64}); // large enough for what is prepared first
    for (const int level : EveryLevelOffered()) {
        ASSERT_TRUE(host.ForceLevel(level));
        for (const LeveledCall &call : kLeveledCalls) {
            call.run(host, picture);
            EXPECT_EQ(host.ActiveLevel(), std::min(level, call.highest)) << call.method << " at " << kLevelNames[level];
        }
    }
}

} // namespace
