#pragma once

#include "expected/noise.h"
#include "pixels/picture_editor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// Pictures that are open without a host.

/// One format code a layout.
inline constexpr std::int32_t kFormats[] = {1, 2, kvt::kConsoleFormat};

/// How many guard bytes there are: so many that rows begin at odd addresses, or at whole words.
inline constexpr std::size_t kOddRows = 37;
inline constexpr std::size_t kWholeWords = 36;

/// The memory of a picture: guard bytes before, between and behind the rows, those of the row-table layout in
/// descending order. Guards are noise, the pixels' fourth bytes too.
struct Memory {
    Memory(const expected::Picture &colors, std::int32_t code, std::size_t guardBytes = kOddRows)
        : width(colors.width), height(colors.height), format(code), layout(expected::LayoutOf(code)), guard(guardBytes),
          bytes(guard + static_cast<std::size_t>(height) * RowBytes()) {
        expected::Random random(1);
        for (unsigned char &byte : bytes)
            byte = static_cast<unsigned char>(random.Below(256));
        const std::uint32_t fourth = layout == expected::Layout::AlphaLow ? 0x000000FFu : 0xFF000000u;
        for (std::int32_t y = 0; y < height; ++y)
            for (std::int32_t x = 0; x < width; ++x)
                SetWord(x, y, (expected::OpaqueWord(colors.At(x, y), layout) & ~fourth) | (Word(x, y) & fourth));
    }

    std::size_t RowBytes() const { return static_cast<std::size_t>(width) * 4 + guard; }
    std::size_t Offset(std::int32_t x, std::int32_t y) const {
        const std::int32_t row = format == kvt::kConsoleFormat ? height - 1 - y : y;
        return guard + static_cast<std::size_t>(row) * RowBytes() + static_cast<std::size_t>(x) * 4;
    }
    std::uint32_t Word(std::int32_t x, std::int32_t y) const {
        std::uint32_t word = 0;
        std::memcpy(&word, &bytes[Offset(x, y)], 4);
        return word;
    }
    void SetWord(std::int32_t x, std::int32_t y, std::uint32_t word) { std::memcpy(&bytes[Offset(x, y)], &word, 4); }

    /// An editor over it, which ends before the next one is asked for.
    kvt::PictureEditor Opened() {
        kvt::PictureEditor editor = {};
        editor.rowBytes = static_cast<std::int32_t>(RowBytes());
        editor.width = width;
        editor.height = height;
        editor.format = format;
        editor.firstRow = &bytes[Offset(0, 0)];
        table.clear();
        for (std::int32_t y = 0; y < height; ++y)
            table.push_back(&bytes[Offset(0, y)]);
        editor.rowTable = format == kvt::kConsoleFormat ? table.data() : nullptr;
        return editor;
    }

    std::int32_t width;
    std::int32_t height;
    std::int32_t format;
    expected::Layout layout;
    std::size_t guard;
    std::vector<unsigned char> bytes;
    std::vector<void *> table = {}; ///< of an editor's rows
};
