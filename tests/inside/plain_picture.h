#pragma once

#include "expected/picture.h"
#include "pixels/picture_editor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Pictures in plain memory, open without a host: for the cores of operations.
namespace plain {

/// The format codes of the three layouts.
inline constexpr std::int32_t kAlphaHigh = 1;
inline constexpr std::int32_t kAlphaLow = 2;
inline constexpr std::int32_t kRowTable = 8;
inline constexpr std::int32_t kFormats[] = {kAlphaHigh, kAlphaLow, kRowTable};

/// A picture's pixels in one layout, with alpha bytes that differ from pixel to pixel. Rows are further apart than they
/// are long; in the row-table layout they lie in reverse order.
class Memory {
  public:
    Memory(const expected::Picture &picture, std::int32_t format)
        : format_(format), width_(picture.width), height_(picture.height), words_(RowWords() * Rows(), kGuard),
          table_(Rows()) {
        for (int y = 0; y < height_; ++y) {
            table_[static_cast<std::size_t>(y)] = Row(y);
            for (int x = 0; x < width_; ++x)
                Row(y)[x] = WordOf(picture.At(x, y), static_cast<std::uint32_t>(x * 7 + y * 13) & 127);
        }
    }

    kvt::PictureEditor Open() {
        return {.rowBytes = static_cast<std::int32_t>(RowWords() * 4),
                .width = width_,
                .height = height_,
                .format = format_,
                .firstRow = reinterpret_cast<unsigned char *>(Row(0)),
                .rowTable = format_ == kRowTable ? table_.data() : nullptr,
                .picture = nullptr,
                .hasAlphaChannel = 0,
                .writes = 0};
    }

    /// The colors as they are now.
    expected::Picture Picture() {
        expected::Picture picture{width_, height_, {}};
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x)
                picture.pixels.push_back(RgbOf(Row(y)[x]));
        return picture;
    }

    bool IsOpaque() {
        const std::uint32_t mask = format_ == kAlphaLow ? 0x000000FFu : 0xFF000000u;
        bool opaque = true;
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x)
                opaque &= (Row(y)[x] & mask) == (format_ == kRowTable ? 0 : mask);
        return opaque;
    }

    /// Whether the bytes between the rows are as they were.
    bool GuardsStand() {
        bool stand = true;
        for (int y = 0; y < height_; ++y)
            stand &=
                std::all_of(Row(y) + width_, Row(y) + RowWords(), [](std::uint32_t word) { return word == kGuard; });
        return stand;
    }

  private:
    static constexpr std::uint32_t kGuard = 0xA5C3A5C3;

    std::size_t RowWords() const { return static_cast<std::size_t>(width_) + 3; }
    std::size_t Rows() const { return static_cast<std::size_t>(std::max(height_, 1)); }
    std::uint32_t *Row(int y) {
        return words_.data() + RowWords() * static_cast<std::size_t>(format_ == kRowTable ? height_ - 1 - y : y);
    }
    std::uint32_t WordOf(expected::Rgb color, std::uint32_t other) const {
        const auto red = static_cast<std::uint32_t>(color.red);
        const auto green = static_cast<std::uint32_t>(color.green);
        const auto blue = static_cast<std::uint32_t>(color.blue);
        switch (format_) {
        case kAlphaHigh:
            return red | green << 8 | blue << 16 | other << 24;
        case kAlphaLow:
            return other | red << 8 | green << 16 | blue << 24;
        default:
            return blue | green << 8 | red << 16 | other << 24;
        }
    }
    expected::Rgb RgbOf(std::uint32_t word) const {
        const auto byte = [word](int shift) { return static_cast<int>(word >> shift & 255); };
        switch (format_) {
        case kAlphaHigh:
            return {byte(0), byte(8), byte(16)};
        case kAlphaLow:
            return {byte(8), byte(16), byte(24)};
        default:
            return {byte(16), byte(8), byte(0)};
        }
    }

    std::int32_t format_;
    int width_;
    int height_;
    std::vector<std::uint32_t> words_;
    std::vector<void *> table_;
};

} // namespace plain
