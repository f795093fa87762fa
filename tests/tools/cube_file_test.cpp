#include "tools/cube_file.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace tools {
namespace {

TEST(CubeFile, IdentityStaysExactThroughAnyGridOfSixDigits) {
    for (const int size : {2, 3, 16, 17, 33}) {
        SCOPED_TRACE(size);
        std::string text = fmt::format("LUT_3D_SIZE {}\n", size);
        for (int at = 0; at < size * size * size; ++at) { // red runs fastest
            const auto level = [&](int step) { return at / step % size / static_cast<double>(size - 1); };
            text += fmt::format("{:.6f} {:.6f} {:.6f}\n", level(1), level(size), level(size * size));
        }
        const CubeTable table = ParseCube(text, "identity.cube");
        for (int r = 0; r < kGridPoints; ++r)
            for (int g = 0; g < kGridPoints; g += 5)
                for (int b = 0; b < kGridPoints; b += 3)
                    ASSERT_EQ(GridEntry(table, r, g, b), (Triple{17.0 * r, 17.0 * g, 17.0 * b}));
    }
}

TEST(CubeFile, InterpolatesInItsDomainAndHoldsItsBorder) {
    const CubeTable table =
        ParseCube("# by hand: r * g * b, r + g, -2 * r\r\n\r\nTITLE \"Warm #3\"\r\nLUT_3D_SIZE 2 \r\n"
                  "DOMAIN_MIN -1 0 0.5 # black\r\nDOMAIN_MAX 1 2 1.5\r\n"
                  "\t0 0 0\r\n0 1e0 -2 # out of range is allowed\r\n0 +1 0\r\n0 2 -2\r\n"
                  "0 0 0\r\n0 1 -2\r\n0 1 0\r\n1 2 -2",
                  "file.cube");
    EXPECT_EQ(table.At({0, 0.5, 1.25}), (Triple{0.09375, 0.75, -1})); // at 1/2, 1/4 and 3/4 of the way
    EXPECT_EQ(table.At({-7, 7, 0.5}), (Triple{0, 1, 0}));
}

TEST(CubeFile, SaysWhatIsBrokenAndWhere) {
    const std::string entries = "0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n"; // of two points an axis
    const std::pair<std::string, const char *> kBroken[] = {
        {"", "f: LUT_3D_SIZE is missing"},
        {"LUT_1D_SIZE 4\n", "f, line 1: this is a table of curves (LUT_1D_SIZE); a 3D table is needed"},
        {"\nLUT_3D_SIZE 1\n", "f, line 2: expected 2 to 256 points an axis, not \"1\""},
        {"LUT_3D_SIZE 257\n", "f, line 1: expected 2 to 256 points an axis, not \"257\""},
        {"LUT_3D_SIZE 2.5\n", "f, line 1: expected 2 to 256 points an axis, not \"2.5\""},
        {"LUT_3D_SIZE 2\nLUT_3D_SIZE 2\n", "f, line 2: LUT_3D_SIZE stands here for the second time"},
        {"# c\r\n0 zero 0 # d\r\n", "f, line 2: expected three numbers or a known keyword, not \"0 zero 0\""},
        {"0 nan 0", "f, line 1: expected three numbers or a known keyword, not \"0 nan 0\""},
        {"0 0", "f, line 1: expected three numbers or a known keyword, not \"0 0\""},
        {"0 0 0 0", "f, line 1: expected three numbers or a known keyword, not \"0 0 0 0\""},
        {"DOMAIN_MAX 1 1", "f, line 1: expected three numbers, not \"1 1\""},
        {"0 0 0\nLUT_3D_SIZE 2\n", "f, line 2: LUT_3D_SIZE stands behind the first entry"},
        {"LUT_3D_SIZE 2\n0 0 0\n", "f: expected 8 entries for 2 points an axis, found 1"},
        {"LUT_3D_SIZE 2\n0 0 0\n" + entries, "f: expected 8 entries for 2 points an axis, found 9"},
        {"LUT_3D_SIZE 2\nDOMAIN_MIN 0 1 0\n" + entries, "f: DOMAIN_MIN must lie below DOMAIN_MAX"},
    };
    for (const auto &[text, expected] : kBroken) {
        std::string told;
        try {
            ParseCube(text, "f");
        } catch (const UserError &error) {
            told = error.what();
        }
        EXPECT_EQ(told, expected) << text;
    }
}

} // namespace
} // namespace tools
