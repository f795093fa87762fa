#include "pixels/picture_helpers.h"

#include "inside/fake_host.h"
#include "pixels/picture_editor.h"

#include <array>
#include <cstdint>
#include <vector>

namespace {

using namespace kvt;
using fake::InFreshProcess;
using fake::Offer;

/// A console picture of a host that may say of it what it likes. Its pixels are one number.
struct Console : REALpictureStruct {
    explicit Console(std::uint32_t pixel) : pixels(6, pixel), rows{pixels.data(), pixels.data() + 3} {
        record.width = 3;
        record.height = 2;
        record.trueColor = 1;
        record.rows = rows;
        description = {kConsoleDescription, &record, 3, 2, {}};
    }
    std::vector<std::uint32_t> pixels;
    void *rows[2];
    REALconsolePicture record = {};
    REALpictureDescription description;
    bool lockable = true;
    int locks = 0;
};

Console &Of(REALpictureStruct *picture) { return *static_cast<Console *>(picture); }

void OfferLocks() {
    rbversion_rbversion = 2019.0;
    Offer("REALLockPictureDescription", [](REALpictureStruct *picture, REALpictureDescription *out, std::int32_t) {
        *out = Of(picture).description;
        Of(picture).locks += Of(picture).lockable;
        return static_cast<unsigned char>(Of(picture).lockable);
    });
    Offer("unlockPictureDescription", [](REALpictureStruct *picture) { --Of(picture).locks; });
}

bool Copy(Console *target, Console *source, std::array<std::int32_t, 8> at = {0, 0, 3, 2, 0, 0, 3, 2}) {
    return OwnCopy(target, source, at[0], at[1], at[2], at[3], at[4], at[5], at[6], at[7]);
}

constexpr struct {
    const char *what;
    void (*spoil)(Console &picture); ///< the target as well as the source
} kSpoilt[] = {
    {"cannot be locked", [](Console &picture) { picture.lockable = false; }},
    {"has no record", [](Console &picture) { picture.description.data = nullptr; }},
    {"is wider", [](Console &picture) { ++picture.record.width; }},
    {"is higher", [](Console &picture) { ++picture.record.height; }},
    {"is a palette image", [](Console &picture) { picture.record.paletteRows = 2; }},
    {"has no row table", [](Console &picture) { picture.record.rows = nullptr; }},
    {"lacks its last row", [](Console &picture) { picture.rows[1] = nullptr; }},
};

TEST(OwnCopy, IsOfAWholeConsolePictureToOneOfTheSameSize) {
    InFreshProcess([] {
        OfferLocks();
        Console source(1);
        Console target(2);
        EXPECT_FALSE(Copy(nullptr, &source) || Copy(&target, nullptr));
        for (std::size_t changed = 0; changed < 8; ++changed) {
            std::array<std::int32_t, 8> part = {0, 0, 3, 2, 0, 0, 3, 2};
            ++part[changed];
            EXPECT_FALSE(Copy(&target, &source, part)) << changed;
        }
        for (const auto &row : kSpoilt)
            for (const bool spoilsTarget : {false, true}) {
                Console from(1);
                Console to(2);
                row.spoil(spoilsTarget ? to : from);
                EXPECT_FALSE(Copy(&to, &from)) << (spoilsTarget ? "the target " : "the source ") << row.what;
                EXPECT_EQ(to.pixels, target.pixels);
                EXPECT_EQ(from.locks + to.locks, 0);
            }
        for (const auto &[width, height] : {std::pair(0, 2), {3, 0}, {3, -1}, {-1, 2}, {INT32_MIN, INT32_MIN}}) {
            Console from(1);
            Console to(2);
            from.record.width = to.record.width = width;
            from.record.height = to.record.height = height;
            from.rows[0] = to.rows[0] = nullptr;
            EXPECT_TRUE(Copy(&to, &from)) << width << " x " << height << ", which has no row to read";
            EXPECT_EQ(to.pixels, target.pixels);
        }
        REALgraphicsStruct surface;
        EXPECT_FALSE(GraphicsDrawPicture(&surface, &target, nullptr, 0, 0, 3, 2, 0, 0, 3, 2));
        EXPECT_NE(target.pixels, source.pixels);
        EXPECT_TRUE(GraphicsDrawPicture(nullptr, &target, &source, 0, 0, 3, 2, 0, 0, 3, 2)) << "left to the copy";
        EXPECT_EQ(target.pixels, source.pixels);
    });
}

/// The bytes of a row are counted in 32 bits.
TEST(Opening, RefusesConsoleRowsThatAreTooLong) {
    InFreshProcess([] {
        OfferLocks();
        IsConsole = 1;
        for (const bool fits : {true, false}) {
            Console picture(1);
            picture.description.width = 0x1FFFFFFF + !fits;
            PictureEditor editor;
            EXPECT_EQ(GetPictureReader(editor, &picture), fits);
            EXPECT_EQ(picture.locks, fits);
        }
    });
}

} // namespace
