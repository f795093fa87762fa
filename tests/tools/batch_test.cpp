#include "tools/apply.h"
#include "tools/files.h"

#include <gtest/gtest.h>

namespace tools {
namespace {

constexpr struct {
    const char *what;
    const char *pattern;
    const char *input;
    const char *path;
} kPatterns[] = {
    {"nothing to fill in", "out.png", "a.png", "out.png"},
    {"all parts", "{dir}/new/{name}.{ext}", "photos/2026/a.b.jpeg", "photos/2026/new/a.b.jpeg"},
    {"a part twice", "{name}/{name}.bmp", "/a.png", "a/a.bmp"},
    {"a file of the current folder", "{dir}/x.png", "a.png", "./x.png"},
    {"no ending", "{name}-{ext}", "a", "a-"},
    {"standard input", "{dir}/{name}.{ext}", "-", "./stdin.png"},
    {"braces", "{{name}-{{{name}}", "a.png", "{name}-{a}"},
};

TEST(Batch, FillsInThePartsOfAPath) {
    for (const auto &row : kPatterns)
        EXPECT_EQ(FillIn(row.pattern, row.input), row.path) << row.what;
    for (const char *wrong : {"{}", "{name", "{Name}", "a{0}.png"})
        EXPECT_THROW(FillIn(wrong, "a.png"), UserError) << wrong;
}

TEST(Batch, TellsPicturesFromCalls) {
    const Words words = SplitWords({"-", "a.PNG", "/dev/../etc/passwd", "EmbeddedMaskKVT(false) = mask.png", "b"});
    EXPECT_EQ(words.inputs, (std::vector<std::string>{"-", "a.PNG", "/dev/../etc/passwd"}));
    EXPECT_EQ(words.calls, (std::vector<std::string>{"EmbeddedMaskKVT(false) = mask.png", "b"}));
    for (const std::vector<std::string> &wrong :
         {std::vector<std::string>{}, {"InvertKVT"}, {"a.gif", "InvertKVT"}, {"a.png", "InvertKVT", "b.png"}})
        EXPECT_THROW(SplitWords(wrong), UserError);
}

TEST(Batch, NoTwoResultsGoToOnePlace) {
    const struct {
        const char *what;
        const char *output;
        std::vector<SavedBlock> blocks;
        std::vector<std::string> inputs;
        bool isRefused;
    } kPlans[] = {
        {"nothing is saved", "", {}, {"a.png", "a.png"}, false},
        {"each over its own input", "{dir}/{name}.{ext}", {}, {"a.png", "b.png"}, false},
        {"another folder", "out/{name}.png", {}, {"a/1.png", "b/2.png"}, false},
        {"same names of two folders", "out/{name}.png", {}, {"a/1.png", "b/1.png"}, true},
        {"no part of the input in it", "out.png", {}, {"a.png", "b.png"}, true},
        {"the same place, written differently", "out/../{name}.png", {}, {"a/1.png", "./b/1.png"}, true},
        {"over another input", "{name}.png", {}, {"a.jpg", "./a.png"}, true},
        {"blocks apart", "", {{"red", "{name}.bin"}}, {"a.png", "b.png"}, false},
        {"one block for all", "", {{"red", "red.bin"}}, {"a.png", "b.png"}, true},
        {"picture and block", "{name}.bin", {{"red", "{name}.bin"}}, {"a.png"}, true},
        {"one standard output", "-", {}, {"-"}, false},
        {"standard output of two", "-", {}, {"a.png", "b.png"}, true},
        {"into a folder", "out/", {}, {"a/1.png", "a/2.jpg"}, false},
        {"into a folder, over the input", "a/", {}, {"b/1.png", "./a/2.png"}, true},
    };
    for (const auto &row : kPlans) {
        SCOPED_TRACE(row.what);
        ApplyRequest pattern;
        pattern.output = row.output;
        pattern.savedBlocks = row.blocks;
        if (row.isRefused)
            EXPECT_THROW(PlanBatch(pattern, row.inputs), UserError);
        else
            EXPECT_EQ(PlanBatch(pattern, row.inputs).size(), row.inputs.size());
    }
}

} // namespace
} // namespace tools
