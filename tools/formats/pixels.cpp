#include "tools/formats/formats.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <sys/mman.h>

namespace tools::formats {
namespace {

using standin::ColorOf;
using standin::ExtraOf;
using standin::Layout;
using standin::MakeColor;
using standin::WordOf;

constexpr std::uint32_t kClearTransparency = 127; ///< of a console picture's pixel

/// A console picture's transparency for an alpha, and back; 0 and 255 are exact.
constexpr std::uint32_t TransparencyOf(std::uint32_t alpha) { return ((255 - alpha) * kClearTransparency + 127) / 255; }
constexpr std::uint32_t AlphaOf(std::uint32_t transparency) {
    return 255 - ((transparency & kClearTransparency) * 255 + kClearTransparency / 2) / kClearTransparency;
}

constexpr std::uint32_t Premultiplied(std::uint32_t color, std::uint32_t alpha) {
    const std::uint32_t product = color * alpha + 127;
    return (product + 1 + (product >> 8)) >> 8; // the product by 255
}

/// The color whose premultiplied form that is; a form that no color has yields the brightest. Exact in floats, since
/// what is limited to 255 afterwards lies 1 / 255 off the next whole number at least.
std::uint32_t Restored(std::uint32_t premultiplied, std::uint32_t alpha) {
    const auto quotient = static_cast<float>(static_cast<int>(premultiplied * 255 + alpha / 2)) /
                          static_cast<float>(static_cast<int>(alpha | (alpha == 0)));
    return static_cast<std::uint32_t>(static_cast<int>(std::min(quotient, 255.0F))) & (alpha == 0 ? 0 : ~0U);
}

template <class Change> standin::ColorValue Each(standin::ColorValue color, Change change) {
    return MakeColor(change(standin::Red(color)), change(standin::Green(color)), change(standin::Blue(color)));
}

/// Of a word as files hold it, which is that of `AlphaHigh`.
std::uint32_t Formed(const PixelForm &form, std::uint32_t word) {
    const std::uint32_t color = ColorOf(Layout::AlphaHigh, word);
    if (!form.hasAlpha)
        return standin::OpaqueWord(form.layout, color);
    const std::uint32_t alpha = ExtraOf(Layout::AlphaHigh, word);
    const std::uint32_t extra = form.layout == Layout::RowTable ? TransparencyOf(alpha) : alpha;
    const auto premultiply = [&](std::uint32_t channel) { return Premultiplied(channel, alpha); };
    return WordOf(form.layout, form.premultiplied ? Each(color, premultiply) : color, extra);
}

std::uint32_t Unformed(const PixelForm &form, std::uint32_t word) {
    const std::uint32_t color = ColorOf(form.layout, word);
    const std::uint32_t extra = ExtraOf(form.layout, word);
    const std::uint32_t alpha = !form.hasAlpha ? 255 : form.layout == Layout::RowTable ? AlphaOf(extra) : extra;
    const auto restore = [&](std::uint32_t channel) { return Restored(channel, alpha); };
    return WordOf(Layout::AlphaHigh, form.premultiplied ? Each(color, restore) : color, alpha);
}

/// Changes a row's words.
template <class Change> void ChangeWords(unsigned char *row, int width, Change change) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        std::uint32_t word;
        std::memcpy(&word, row + 4 * x, 4);
        word = change(word);
        std::memcpy(row + 4 * x, &word, 4);
    }
}

} // namespace

void ToForm(unsigned char *row, int width, const PixelForm &form) {
    ChangeWords(row, width, [form](std::uint32_t word) { return Formed(form, word); });
}

void FromForm(unsigned char *row, int width, const PixelForm &form) {
    ChangeWords(row, width, [form](std::uint32_t word) { return Unformed(form, word); });
}

void Flatten(unsigned char *row, int width, const PixelForm &form) {
    ChangeWords(row, width, [form](std::uint32_t word) {
        const std::uint32_t straight = Unformed(form, word);
        const std::uint32_t alpha = ExtraOf(Layout::AlphaHigh, straight);
        const auto onWhite = [&](std::uint32_t channel) { return (channel * alpha + 255 * (255 - alpha) + 127) / 255; };
        return standin::OpaqueWord(form.layout, Each(ColorOf(Layout::AlphaHigh, straight), onWhite));
    });
}

void DropFourth(unsigned char *row, int width) {
    for (std::ptrdiff_t x = 1; x < width; ++x)
        std::memmove(row + 3 * x, row + 4 * x, 4); // moving four is faster than three; the next pixel covers the fourth
}

void Reserve(Bytes &file, std::size_t bytes) {
    file.reserve(bytes);
    constexpr std::uintptr_t kPage = 4096;
    const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(file.data()) + kPage - 1) / kPage * kPage;
    if (bytes > std::size_t{1} << 22)
        madvise(reinterpret_cast<void *>(start), bytes - kPage, MADV_HUGEPAGE);
}

void FromCmyk(unsigned char *row, int width, bool isInverted) {
    for (unsigned char *pixel = row; pixel < row + std::ptrdiff_t{4} * width; pixel += 4) {
        const int light = isInverted ? pixel[3] : 255 - pixel[3];
        for (int channel = 0; channel < 3; ++channel) {
            const int ink = isInverted ? 255 - pixel[channel] : pixel[channel];
            pixel[channel] = static_cast<unsigned char>(light - (ink * light + 127) / 255);
        }
        pixel[3] = 255;
    }
}

void PlaceTurned(const Pixels &from, int orientation, const Pixels &to) {
    constexpr int kBand = 16; // pixels of a cache line
    const bool swaps = orientation >= 5;
    const bool fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const std::ptrdiff_t right = fromRight ? -4 : 4;
    const std::ptrdiff_t down = fromBottom ? -from.pitch : from.pitch;
    const unsigned char *start =
        from.Row(fromBottom ? from.height - 1 : 0) + (fromRight ? (from.width - 1) * std::ptrdiff_t{4} : 0);
    for (int top = 0; top < to.height; top += kBand) {
        const int bottom = std::min(top + kBand, to.height);
        for (int x = 0; x < to.width; ++x)
            for (int y = top; y < bottom; ++y)
                std::memcpy(to.Row(y) + x * std::ptrdiff_t{4},
                            start + (swaps ? x * down + y * right : x * right + y * down), 4);
        for (int y = top; y < bottom; ++y)
            ToForm(to.Row(y), to.width, to.form);
    }
}

Info CheckedSize(std::int64_t width, std::int64_t height, std::size_t bytes, double mostPixels) {
    RefuseIf(width < 1 || height < 1, "its picture has no pixels");
    RefuseIf(width > kMostSide || height > kMostSide || width * height > kMostPixels,
             "its picture of {} x {} is larger than the {} on a side and {} pixels that are read", width, height,
             kMostSide, kMostPixels);
    RefuseIf(static_cast<double>(width * height) > static_cast<double>(bytes) * mostPixels,
             "is damaged: {} bytes cannot hold a picture of {} x {}", bytes, width, height);
    Info info;
    info.width = static_cast<int>(width);
    info.height = static_cast<int>(height);
    return info;
}

} // namespace tools::formats
