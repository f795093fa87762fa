#pragma once

#include "pixels/bit_lines.h"
#include "pixels/scan.h"

namespace kvt {

/// A black and white mask of where the picture is colored (not gray) inside a rectangle, by the boxes around what
/// belongs together: a box grows as long as colored pixels lie directly beside it, above, below, left or right; those
/// that meet it at a corner do not join. All pixels of the boxes are black, all others white. Only a negative width or
/// height stands for the whole picture's. A new picture of the same size, with one reference for the caller; null when
/// the picture cannot be read, memory is refused or no new picture can be made. The form that ends in 2 takes the whole
/// picture.
REALpictureStruct *ExtractColorRectangleMaskKVT(REALpictureStruct *picture, std::int32_t left, std::int32_t top,
                                                std::int32_t width, std::int32_t height);
REALpictureStruct *ExtractColorRectangleMaskKVT2(REALpictureStruct *picture);

/// The mask's two halves, between which the new picture is made.
class ColorRectangles {
  public:
    /// Notes which pixels of the area are colored. Converts to false when the memory for that is refused or the picture
    /// has no pixels.
    ColorRectangles(const PictureEditor &source, Area area);
    explicit operator bool() const { return columns_ && rows_ && blackRows_; }

    /// Draws the mask into a picture of the source's size; once, for it uses the notes up.
    void Draw(const PictureEditor &target);

  private:
    Area Grow(Point seed) const;
    void Take(const Area &box);
    void TakeSingles(std::int32_t y, std::int32_t word);

    BitLines<WordOrder::WordByWord>
        columns_; ///< the colored pixels that no box has taken yet, as lines from top to bottom
    BitLines<WordOrder::LineByLine> rows_; ///< the same, as lines from left to right
    ClearBuffer<std::int32_t> blackRows_;  ///< of each column: where the lowest box found so far ends
};

} // namespace kvt
