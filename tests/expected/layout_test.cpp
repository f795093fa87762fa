#include "expected/layout.h"
#include "expected/noise.h"
#include "expected/print.h"

#include <gtest/gtest.h>

namespace expected {
namespace {

constexpr Layout kLayouts[] = {Layout::AlphaHigh, Layout::AlphaLow, Layout::RowTable};

constexpr struct {
    Layout layout;
    std::uint32_t opaque; ///< of (0x11, 0x22, 0x33)
} kOpaque[] = {{Layout::AlphaHigh, 0xFF332211}, {Layout::AlphaLow, 0x332211FF}, {Layout::RowTable, 0x00112233}};

constexpr struct {
    Layout layout;
    std::uint32_t word;
    int mask;
    int stored;
    std::uint32_t after;
} kMasks[] = {
    {Layout::AlphaHigh, 0x80332211, 128, 255, 0xFF332211}, {Layout::AlphaLow, 0x33221180, 128, 1, 0x33221101},
    {Layout::RowTable, 0x00112233, 0, 255, 0x7F112233},    {Layout::RowTable, 0x40112233, 128, 128, 0x40112233},
    {Layout::RowTable, 0x7F112233, 255, 1, 0x00112233},    {Layout::RowTable, 0xC1112233, 131, 131, 0x41112233}};

TEST(Layouts, PackAndUnpack) {
    for (const auto &row : kOpaque) {
        EXPECT_EQ(OpaqueWord({0x11, 0x22, 0x33}, row.layout), row.opaque);
        EXPECT_EQ(ColorOf(row.opaque, row.layout), (Rgb{0x11, 0x22, 0x33}));
    }
    const Picture picture = Noise(20, 20, 4);
    for (const Layout layout : kLayouts)
        EXPECT_EQ(Load(Store(picture, layout)), picture);
    for (const int format : {1, 3, 5})
        EXPECT_EQ(LayoutOf(format), Layout::AlphaHigh);
    for (const int format : {2, 4, 6})
        EXPECT_EQ(LayoutOf(format), Layout::AlphaLow);
    EXPECT_EQ(LayoutOf(8), Layout::RowTable);
}

TEST(Layouts, HoldMaskValues) {
    for (const auto &row : kMasks) {
        EXPECT_EQ(MaskValue(row.word, row.layout), row.mask) << std::hex << row.word;
        EXPECT_EQ(WithMaskValue(row.word, row.stored, row.layout), row.after) << std::hex << row.word;
    }
}

} // namespace
} // namespace expected
