#include "tools/cube_file.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace tools {
namespace {

/// A table whose entry at a grid point (r, g, b), each 0..1, is what `output` says.
template <class Output> CubeTable Table(std::size_t size, Output output) {
    CubeTable table{size, {0, 0, 0}, {1, 1, 1}, {}};
    const double last = static_cast<double>(size - 1);
    for (std::size_t b = 0; b < size; ++b)
        for (std::size_t g = 0; g < size; ++g)
            for (std::size_t r = 0; r < size; ++r)
                table.entries.push_back(output(static_cast<double>(r) / last, static_cast<double>(g) / last,
                                               static_cast<double>(b) / last));
    return table;
}

Triple Same(double r, double g, double b) { return {r, g, b}; }

void ExpectNear(const Triple &actual, const Triple &expected) {
    for (std::size_t channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(actual[channel], expected[channel], 1e-15) << "channel " << channel;
}

TEST(CubeFile, IdentityStaysExactThroughAnyGridOfSixDigits) {
    for (const std::size_t size : {2u, 3u, 16u, 17u, 33u}) {
        SCOPED_TRACE(size);
        std::string text = fmt::format("LUT_3D_SIZE {}\n", size);
        for (const Triple &entry : Table(size, Same).entries)
            text += fmt::format("{:.6f} {:.6f} {:.6f}\n", entry[0], entry[1], entry[2]);
        const CubeTable table = ParseCube(text, "identity.cube");
        for (int r = 0; r < kGridPoints; ++r)
            for (int g = 0; g < kGridPoints; g += 5)
                for (int b = 0; b < kGridPoints; b += 3)
                    ASSERT_EQ(GridEntry(table, r, g, b), (Triple{17.0 * r, 17.0 * g, 17.0 * b}));
    }
}

TEST(CubeFile, InterpolatesInItsDomainAndHoldsItsBorder) {
    const CubeTable product = Table(2, [](double r, double g, double b) { return Triple{r * g * b, r * g, r}; });
    ExpectNear(product.At({0.5, 0.25, 0.75}), {0.09375, 0.125, 0.5});
    CubeTable table = Table(3, Same);
    table.domainMin = {-1, 0, 0.5};
    table.domainMax = {1, 2, 1.5};
    ExpectNear(table.At({0, 0.5, 1}), {0.5, 0.25, 0.5});
    ExpectNear(table.At({-7, 7, 0.5}), {0, 1, 0});
}

TEST(CubeFile, ReadsWhatFilesHoldBesidesEntries) {
    const CubeTable table = ParseCube("# made by hand\r\n\r\nTITLE \"Warm #3\"\r\nLUT_3D_SIZE 2\r\n"
                                      "DOMAIN_MIN 0 0 0 # black\r\nDOMAIN_MAX 1 2 3\r\n"
                                      "\t0 0 0\r\n1e-1 +0.5 -2 # out of range is allowed\r\n"
                                      "0 0 0\r\n0 0 0\r\n0 0 0\r\n0 0 0\r\n0 0 0\r\n9 8 7",
                                      "file.cube");
    EXPECT_EQ(table.domainMax, (Triple{1, 2, 3}));
    EXPECT_EQ(table.entries[1], (Triple{0.1, 0.5, -2}));
    EXPECT_EQ(table.entries[7], (Triple{9, 8, 7}));
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
        SCOPED_TRACE(text);
        try {
            ParseCube(text, "f");
            ADD_FAILURE() << "accepted";
        } catch (const UserError &error) {
            EXPECT_STREQ(error.what(), expected);
        }
    }
}

} // namespace
} // namespace tools
