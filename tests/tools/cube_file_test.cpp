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

constexpr struct {
    const char *text;
    const char *error;
} kBroken[] = {
    {"", "f, line 0: the file ends without LUT_3D_SIZE"},
    {"0 0 0\n", "f, line 1: expected LUT_3D_SIZE before the first entry"},
    {"LUT_1D_SIZE 4\n", "f, line 1: this is a table of curves (LUT_1D_SIZE); a 3D table is needed"},
    {"\nLUT_3D_SIZE 1\n", "f, line 2: a table has 2 to 256 points an axis"},
    {"LUT_3D_SIZE 257\n", "f, line 1: a table has 2 to 256 points an axis"},
    {"LUT_3D_SIZE 2\nLUT_3D_SIZE 2\n", "f, line 2: LUT_3D_SIZE stands here for the second time"},
    {"LUT_3D_SIZE 2\n# c\n0 zero 0\n", "f, line 3: expected a number, not \"zero\""},
    {"LUT_3D_SIZE 2\n0 0\n", "f, line 2: expected a number at the end of the line"},
    {"LUT_3D_SIZE 2\n0 0 0 0\n", "f, line 2: expected the end of the line, not \"0\""},
    {"LUT_3D_SIZE 2\n0 0 0\nDOMAIN_MIN 0 0 0\n", "f, line 3: \"DOMAIN_MIN\" stands among the table's entries"},
    {"GAMMA 2\n", "f, line 1: unknown keyword \"GAMMA\""},
    {"LUT_3D_SIZE 2\n0 0 0\n0 0 0\n", "f, line 3: the file ends after 2 of 8 entries"},
    {"LUT_3D_SIZE 2\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n",
     "f, line 10: more than the 8 entries of a table of 2 points an axis"},
    {"LUT_3D_SIZE 2\nDOMAIN_MIN 0 1 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n",
     "f: DOMAIN_MIN must lie below DOMAIN_MAX"},
};

TEST(CubeFile, SaysWhatIsBrokenAndWhere) {
    for (const auto &row : kBroken) {
        SCOPED_TRACE(row.text);
        try {
            ParseCube(row.text, "f");
            ADD_FAILURE() << "accepted";
        } catch (const UserError &error) {
            EXPECT_STREQ(error.what(), row.error);
        }
    }
}

} // namespace
} // namespace tools
