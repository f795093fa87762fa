#include "inside/heap.h"
#include "inside/plain_picture.h"
#include "kernels/rotate.h"

#include <gtest/gtest.h>

/// What the module does when the heap refuses it memory.
namespace {

using namespace kvt;

TEST(RefusedMemory, LeavesPixelsWhereTheyAre) {
    Memory memory(expected::Noise(5, 3, 1), kConsoleFormat);
    const std::vector<unsigned char> before = memory.bytes;
    const Opened picture(memory);
    heap::granted = 0;
    EXPECT_TRUE(WrapVertically(*picture, -3)) << "nothing to move, no buffer needed";
    EXPECT_FALSE(WrapHorizontally(*picture, 1));
    heap::granted = -1;
    PictureEditor endless = *picture;
    endless.width = 0x20000000;
    endless.rowBytes = INT32_MIN; // four times the width, in 32 bits
    EXPECT_FALSE(WrapVertically(endless, 1));
    EXPECT_EQ(memory.bytes, before);
}

} // namespace
