#pragma once

#include "pixels/inline.h"
#include "pixels/picture_editor.h"
#include "pixels/rgb.h"

#include <cstdint>
#include <cstring>

namespace kvt {

KVT_INLINE std::uint32_t LoadWord(const unsigned char *pixel) {
    std::uint32_t word;
    std::memcpy(&word, pixel, sizeof word);
    return word;
}

KVT_INLINE void StoreWord(unsigned char *pixel, std::uint32_t word) { std::memcpy(pixel, &word, sizeof word); }

// A layout is a type that loads a pixel's channels from its bytes and stores an opaque pixel. Pixels may lie at any
// address. Words are little-endian: the lowest bits are the first byte.

/// Which of a pixel's bytes, 0 to 3, holds what, and the value of the fourth one where the pixel is opaque.
struct ByteOrder {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
    std::uint8_t fourth;
    std::uint8_t opaque;
};

/// A 32-bit pixel word: where its channels begin, and what an opaque word holds beside them. The byte at `MaskShift` is
/// the pixel's alpha.
template <int RedShift, int GreenShift, int BlueShift, int MaskShift, std::uint32_t Opaque> struct PixelWord {
    static constexpr std::int32_t kBytes = 4;
    static constexpr bool kReplaces = true; ///< whether storing a pixel leaves nothing of what stood there
    static constexpr std::int32_t kRedShift = RedShift;
    static constexpr std::int32_t kGreenShift = GreenShift;
    static constexpr std::int32_t kBlueShift = BlueShift;
    static constexpr ByteOrder kOrder = {RedShift / 8, GreenShift / 8, BlueShift / 8, MaskShift / 8,
                                         Opaque >> MaskShift};
    static constexpr std::uint32_t kColorBits = 255u << RedShift | 255u << GreenShift | 255u << BlueShift;
    static constexpr std::uint32_t kOpaqueBits = Opaque;

    KVT_INLINE static constexpr std::uint32_t Word(Rgb pixel) {
        return static_cast<std::uint32_t>(pixel.red) << RedShift |
               static_cast<std::uint32_t>(pixel.green) << GreenShift |
               static_cast<std::uint32_t>(pixel.blue) << BlueShift | Opaque;
    }
    KVT_INLINE static constexpr Rgb Channels(std::uint32_t word) {
        return {static_cast<std::int32_t>(word >> RedShift & 255), static_cast<std::int32_t>(word >> GreenShift & 255),
                static_cast<std::int32_t>(word >> BlueShift & 255)};
    }
    KVT_INLINE static Rgb Load(const unsigned char *pixel) { return Channels(LoadWord(pixel)); }
    KVT_INLINE static void Store(unsigned char *pixel, Rgb value) { StoreWord(pixel, Word(value)); }

    /// The mask value 0..255 that the pixel's alpha byte stands for.
    KVT_INLINE static std::int32_t LoadMask(const unsigned char *pixel) {
        return static_cast<std::int32_t>(LoadWord(pixel) >> MaskShift & 255);
    }
    /// Stores a mask value; red, green and blue stay.
    KVT_INLINE static void StoreMask(unsigned char *pixel, std::int32_t value) {
        StoreWord(pixel, (LoadWord(pixel) & kColorBits) | static_cast<std::uint32_t>(value) << MaskShift);
    }
};

/// Bitmap contexts whose alpha (or skipped byte) comes last: red, green, blue, alpha in memory.
using AlphaHigh = PixelWord<0, 8, 16, 24, 0xFF000000u>;
/// Bitmap contexts whose alpha (or skipped byte) comes first: alpha, red, green, blue in memory.
using AlphaLow = PixelWord<8, 16, 24, 0, 0x000000FFu>;

/// Console pictures: blue, green, red, transparency in memory. The transparency has 7 bits, 0 opaque to 127; as a mask
/// value it is widened to 8 bits. The top bit is ignored, and 0 when written.
struct RowTable : PixelWord<16, 8, 0, 24, 0> {
    KVT_INLINE static std::int32_t LoadMask(const unsigned char *pixel) {
        const auto transparency = static_cast<std::int32_t>(LoadWord(pixel) >> 24 & 127);
        return transparency * 2 + (transparency & 1);
    }
    KVT_INLINE static void StoreMask(unsigned char *pixel, std::int32_t value) {
        PixelWord::StoreMask(pixel, value / 2);
    }
};

/// Three bytes a pixel: red, green, blue.
struct PackedRgb {
    static constexpr std::int32_t kBytes = 3;
    KVT_INLINE static Rgb Load(const unsigned char *pixel) { return {pixel[0], pixel[1], pixel[2]}; }
    KVT_INLINE static void Store(unsigned char *pixel, Rgb value) {
        pixel[0] = static_cast<unsigned char>(value.red);
        pixel[1] = static_cast<unsigned char>(value.green);
        pixel[2] = static_cast<unsigned char>(value.blue);
    }
};

/// A layout whose pixels are their mask values: read as grays, stored from the red channel with the colors kept.
template <class Layout> struct MaskOf {
    static constexpr std::int32_t kBytes = Layout::kBytes;
    static constexpr bool kReplaces = false;
    KVT_INLINE static Rgb Load(const unsigned char *pixel) { return GrayLevel(Layout::LoadMask(pixel)); }
    KVT_INLINE static void Store(unsigned char *pixel, Rgb value) { Layout::StoreMask(pixel, value.red); }
};

/// A pixel as its word holds it, for what compares or changes all channels at once without taking them apart.
template <class Layout> struct WholePixel {
    std::uint32_t word; ///< what it holds beside the channels does not count

    KVT_INLINE bool Is(Rgb color) const { return ((word ^ Layout::Word(color)) & Layout::kColorBits) == 0; }
    KVT_INLINE bool IsGray() const {
        constexpr std::uint32_t kWithNext = Layout::kColorBits & Layout::kColorBits >> 8;
        return ((word ^ word >> 8) & kWithNext) == 0;
    }
    KVT_INLINE WholePixel Negative() const { return {word ^ Layout::kColorBits}; }
    /// By a mask: choosing between the two words takes more instructions.
    KVT_INLINE WholePixel NegativeIf(bool condition) const { return {word ^ ((0u - condition) & Layout::kColorBits)}; }
    KVT_INLINE static WholePixel Of(Rgb color) { return {Layout::Word(color)}; }
};

/// An opaque pixel of one layout in another one. Channels that lie in the same order move all at once.
template <class From, class To> KVT_INLINE std::uint32_t Converted(std::uint32_t word) {
    constexpr int kUp = To::kRedShift - From::kRedShift;
    if constexpr (To::kGreenShift - From::kGreenShift != kUp || To::kBlueShift - From::kBlueShift != kUp)
        return To::Word(From::Channels(word));
    else
        return ((kUp < 0 ? word >> -kUp : word << kUp) & To::kColorBits) | To::kOpaqueBits;
}

/// The layout as it is; the counterpart of MaskOf.
template <class Layout> using ColorOf = Layout;

/// Calls `use` with a value of the layout type of a format code. An open editor's is always one of these.
template <class Use> KVT_INLINE auto WithLayoutOf(std::int32_t format, Use use) {
    switch (format) {
    case 1:
    case 3:
    case 5:
        return use(AlphaHigh{});
    case kConsoleFormat:
        return use(RowTable{});
    default:
        return use(AlphaLow{});
    }
}

template <class Use> auto WithLayout(const PictureEditor &editor, Use use) { return WithLayoutOf(editor.format, use); }

} // namespace kvt
