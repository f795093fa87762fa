#include "color/methods.h"

#include "kernels/bit_lines.h"
#include "kernels/paint.h"
#include "pixels/open.h"

#define KVT_KERNELS "color/rectangle_mask_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

constexpr std::uint32_t kWhite = 0xFFFFFF;
constexpr std::uint32_t kBlack = 0;

/// The mask's two halves, between which the new picture is made.
class ColorRectangles {
  public:
    /// Notes which pixels of the area are colored. Converts to false when the memory for that is refused or the picture
    /// has no pixels.
    ColorRectangles(const PictureEditor &source, Area area)
        : columns_(source.width, source.height), rows_(source.height, source.width), blackRows_(source.width),
          noRows_(source.width) {
        if (!*this || area.Empty())
            return;
        const Pixels pixels = PixelsOf(source);
        const auto mark = KVT_SELECT(MarkColored);
        for (std::int32_t y = area.top; y < area.bottom; ++y)
            mark(pixels.layout, pixels.rows[y], area.left, area.right, &rows_.Word(y, 0));
        Transpose(rows_, columns_);
    }
    explicit operator bool() const { return columns_ && rows_ && blackRows_ && noRows_; }

    /// Draws the mask into a picture of the source's size; once, for it uses the notes up.
    /// Boxes are found in the order of their top rows, so a row is finished once it has no marks left: of the boxes
    /// that begin at or above it, those that reach it make it black.
    void Draw(const PictureEditor &target) {
        const std::int32_t width = columns_.Lines();
        for (std::int32_t y = 0; y < rows_.Lines(); ++y) {
            for (std::int32_t word = 0; word < rows_.LineWords(); ++word) {
                while (rows_.Word(y, word)) {
                    TakeSingles(y, word);
                    if (const std::uint32_t marks = rows_.Word(y, word))
                        Take(Grow(Point{word * kWordBits + std::countr_zero(marks), y}));
                }
            }
            Paint(target, Area{0, y, width, y + 1}, kWhite, kBlack, noRows_.data(), blackRows_.data());
        }
    }

  private:
    /// The smallest box around a mark that has no marks directly beside it. It is the same whichever side moves first,
    /// since a move never takes away the reason for another; so a mark beside the box takes the run behind it along.
    /// The seed is the first mark left in reading order: none lies above it.
    KVT_INLINE Area Grow(Point seed) {
        Area box{seed.x, seed.y, seed.x + 1, seed.y + 1};
        for (std::int32_t height = 0;;) {
            while (box.bottom < rows_.Lines()) {
                const std::int32_t x = rows_.Next(box.bottom, box.left, box.right);
                if (x >= box.right)
                    break;
                box.bottom += columns_.RunFrom(x, box.bottom);
            }
            if (box.bottom - box.top == height) // nothing can be new beside it
                return box;
            height = box.bottom - box.top;
            const std::int32_t width = box.right - box.left;
            while (box.right < columns_.Lines()) {
                const std::int32_t y = columns_.Next(box.right, box.top, box.bottom);
                if (y >= box.bottom)
                    break;
                box.right += rows_.RunFrom(y, box.right);
            }
            while (box.left > 0) {
                const std::int32_t y = columns_.Next(box.left - 1, box.top, box.bottom);
                if (y >= box.bottom)
                    break;
                box.left -= rows_.RunBefore(y, box.left);
            }
            if (box.right - box.left == width) // nothing can be new below it
                return box;
        }
    }

    /// Every row and every column of a box holds a mark that is cleared here, so that the time of all boxes together is
    /// bounded by the number of marks, however much the boxes overlap. Such a mark lies below every earlier box of its
    /// column, so that the latest box is also the one that ends lowest there.
    KVT_INLINE void Take(const Area &box) {
        for (std::int32_t y = box.top; y < box.bottom; ++y)
            rows_.Clear(y, box.left, box.right);
        for (std::int32_t x = box.left; x < box.right; ++x) {
            columns_.Clear(x, box.top, box.bottom);
            blackRows_[x] = box.bottom;
        }
    }

    /// Takes the marks of a word that are boxes of one pixel, up to the first that has others beside it: what may be
    /// half of all pixels is thus taken without growing. The marks before this word have all been taken.
    KVT_INLINE void TakeSingles(std::int32_t y, std::int32_t word) {
        std::uint32_t &marks = rows_.Word(y, word);
        const std::uint32_t right = word + 1 < rows_.LineWords() ? rows_.Word(y, word + 1) : 0;
        const std::uint32_t below = y + 1 < rows_.Lines() ? rows_.Word(y + 1, word) : 0;
        const std::uint32_t others = marks & (marks << 1 | marks >> 1 | right << (kWordBits - 1) | below);
        std::uint32_t singles = marks & ~others & ((others & -others) - 1);
        marks ^= singles;
        for (; singles; singles &= singles - 1) {
            const std::int32_t x = word * kWordBits + std::countr_zero(singles);
            columns_.Clear(x, y, y + 1);
            blackRows_[x] = y + 1;
        }
    }

    BitLines<WordOrder::WordByWord>
        columns_; ///< the colored pixels that no box has taken yet, as lines from top to bottom
    BitLines<WordOrder::LineByLine> rows_; ///< the same, as lines from left to right
    ClearBuffer<std::int32_t> blackRows_;  ///< of each column: where the lowest box found so far ends
    ClearBuffer<std::int32_t> noRows_;     ///< zeros: they are black from the top
};

} // namespace

REALpictureStruct *ExtractColorRectangleMaskKVT(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                                std::int32_t width, std::int32_t height) {
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    ColorRectangles rectangles{*source, AreaOf(*source, Rectangle{left, top, width, height})};
    if (!rectangles)
        return nullptr;
    OpenWriter result{*source, NewPicture::SameSize};
    if (!result)
        return nullptr;
    rectangles.Draw(*result);
    return result.Render();
}

REALpictureStruct *ExtractColorRectangleMaskKVT2(REALpictureStruct *picture) {
    return ExtractColorRectangleMaskKVT(picture, 0, 0, -1, -1);
}

} // namespace kvt
