#pragma once

#include "expected/layout.h"
#include "pixels/picture_editor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

/// The format codes of the three layouts.
inline constexpr std::int32_t kFormats[] = {1, 2, kvt::kConsoleFormat};

/// A picture's pixels in one layout, open without a host. Their fourth bytes differ from pixel to pixel. Guard words
/// stand behind every row; in the row-table layout the rows lie in reverse order.
class PlainPicture {
  public:
    PlainPicture(const expected::Picture &colors, std::int32_t format)
        : layout_(expected::LayoutOf(format)), rowWords_(static_cast<std::size_t>(colors.width) + 3),
          words_(rowWords_ * static_cast<std::size_t>(std::max(colors.height, 1)), kGuard) {
        editor_.rowBytes = static_cast<std::int32_t>(rowWords_ * 4);
        editor_.width = colors.width;
        editor_.height = colors.height;
        editor_.format = format;
        editor_.firstRow = reinterpret_cast<unsigned char *>(&Word(0, 0));
        for (int y = 0; y < colors.height; ++y) {
            rows_.push_back(&Word(0, y));
            for (int x = 0; x < colors.width; ++x)
                Word(x, y) = expected::WithMaskValue(expected::OpaqueWord(colors.At(x, y), layout_),
                                                     (x * 7 + y * 13) & 255, layout_);
        }
        editor_.rowTable = format == kvt::kConsoleFormat ? rows_.data() : nullptr;
    }
    PlainPicture(const PlainPicture &) = delete;
    PlainPicture &operator=(const PlainPicture &) = delete;

    const kvt::PictureEditor &operator*() const { return editor_; }

    /// The pixels as they are now.
    expected::StoredPicture Stored() {
        expected::StoredPicture stored{editor_.width, editor_.height, layout_, {}};
        for (int y = 0; y < editor_.height; ++y)
            for (int x = 0; x < editor_.width; ++x)
                stored.words.push_back(Word(x, y));
        return stored;
    }

    bool GuardsStand() {
        bool stand = true;
        for (int y = 0; y < editor_.height; ++y)
            for (int x = editor_.width; x < static_cast<int>(rowWords_); ++x)
                stand &= Word(x, y) == kGuard;
        return stand;
    }

  private:
    static constexpr std::uint32_t kGuard = 0xA5C3A5C3;

    std::uint32_t &Word(int x, int y) {
        const int row = layout_ == expected::Layout::RowTable ? std::max(editor_.height, 1) - 1 - y : y;
        return words_[static_cast<std::size_t>(row) * rowWords_ + static_cast<std::size_t>(x)];
    }

    expected::Layout layout_;
    std::size_t rowWords_;
    std::vector<std::uint32_t> words_;
    std::vector<void *> rows_;
    kvt::PictureEditor editor_ = {};
};
