#include "analysis/find_picture.h"

#include "kernels/area.h"
#include "pixels/open.h"
#include "support/memory.h"

#include <algorithm>
#include <limits>

namespace kvt {

/// A color looked for at a place; 0x00RRGGBB.
struct Sought {
    Point at;
    std::uint32_t color;
};

} // namespace kvt

#define KVT_KERNELS "analysis/find_picture_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

enum class Outcome { Found, Missing, Unfinished };

std::int64_t SizeOf(const PictureEditor &editor) { return std::int64_t{editor.width} * editor.height; }

/// As a host color.
std::uint32_t ColorAt(const PictureEditor &source, Point at) {
    const Rgb pixel = Channels(LayoutOf(source), LoadWord(AddressOf(RowsOf(source), at)));
    return Word(kRowTable, pixel);
}

/// The first pixel of the needle that differs from its first one, which tells more than any of those before it; the
/// first one again in a needle of one color.
Point SecondProbe(const PictureEditor &needle) {
    const std::uint32_t first = ColorAt(needle, Point{0, 0});
    for (Point at{0, 0}; at.y < needle.height; ++at.y)
        for (at.x = 0; at.x < needle.width; ++at.x)
            if (ColorAt(needle, at) != first)
                return at;
    return {0, 0};
}

std::int64_t Equal(const PictureEditor &haystack, Point at, const PictureEditor &needle) {
    return KVT_SELECT(EqualPixels)(PixelsOf(haystack), at, PixelsOf(needle), needle.width, needle.height);
}

/// What it costs to come to a place and begin a comparison, in pixels compared.
constexpr std::int64_t kPlaceCost = 64;

/// Looks from `at` on for places with both probes and compares there. Very fast as long as such places are rare or soon
/// differ; Unfinished, with the next place in `at`, when `budget` pixels were compared in vain.
Outcome SearchByProbes(const PictureEditor &haystack, const PictureEditor &needle, std::int64_t budget, Point &at) {
    const Point second = SecondProbe(needle);
    const std::uint32_t firstColor = ColorAt(needle, Point{0, 0});
    const std::uint32_t secondColor = ColorAt(needle, second);
    const std::int32_t endX = haystack.width - needle.width + 1;
    const std::int32_t endY = haystack.height - needle.height + 1;
    for (; at.y < endY; ++at.y, at.x = 0) {
        for (;; ++at.x) {
            if (budget < 0)
                return Outcome::Unfinished;
            at.x = KVT_SELECT(FirstOfColors)(PixelsOf(haystack), at.x, endX, Sought{{0, at.y}, firstColor},
                                 Sought{{second.x, at.y + second.y}, secondColor});
            if (at.x == endX)
                break;
            const std::int64_t equal = Equal(haystack, at, needle);
            if (equal == SizeOf(needle))
                return Outcome::Found;
            budget -= equal + kPlaceCost;
        }
    }
    return Outcome::Missing;
}

// Sequences are hashed as numbers in some base modulo a prime: columns of pixels, whose digits are the colors from the
// top, and rows of such hashes from the left. The bases are primitive roots without small relations between their
// powers. A modulus of 2^32 would not do: there, some textures of two colors collide in every base.

constexpr std::uint32_t kPrime = 0x7FFFFFFF;
constexpr std::uint32_t kColumnBase = 950706376;
constexpr std::uint32_t kRowBase = 742938285;

/// Modulo 2^31 - 1, of a value below 2^63: 2^31 is 1, so the upper bits are added to the lower.
KVT_INLINE constexpr std::uint32_t Modulo(std::uint64_t value) {
    value = (value & kPrime) + (value >> 31);
    const auto folded = static_cast<std::uint32_t>((value & kPrime) + (value >> 31));
    return folded >= kPrime ? folded - kPrime : folded;
}

KVT_INLINE std::uint32_t Digit(std::uint32_t hash) { return hash; }

/// The hash of a sequence that becomes one digit longer.
template <std::uint32_t kBase> struct Lengthen {
    template <class Entering> KVT_INLINE std::uint32_t operator()(std::uint32_t hash, Entering entering) const {
        return Modulo(std::uint64_t{hash} * kBase + Digit(entering));
    }
};

/// The hash of a sequence that moves by one digit. One leaves with the weight that it has risen to, base^length.
template <std::uint32_t kBase> struct Move {
    explicit Move(std::int32_t length) {
        std::uint32_t power = 1;
        for (std::int32_t i = 0; i < length; ++i)
            power = Modulo(std::uint64_t{power} * kBase);
        negatedWeight = kPrime - power;
    }
    template <class Entering>
    KVT_INLINE std::uint32_t operator()(std::uint32_t hash, Entering entering, Entering leaving) const {
        return Modulo(std::uint64_t{hash} * kBase + Digit(entering) + std::uint64_t{Digit(leaving)} * negatedWeight);
    }
    std::uint32_t negatedWeight;
};

void HashColumns(const PictureEditor &source, std::int32_t top, std::int32_t height, std::uint32_t *hashes) {
    for (std::int32_t y = top; y < top + height; ++y)
        for (std::int32_t x = 0; x < source.width; ++x)
            hashes[x] = Lengthen<kColumnBase>{}(hashes[x], ColorAt(source, {x, y}));
}

/// The leftmost of `places` places, numbered from 0, whose columns are together hashed as `sought` and that `isIt` says
/// is right; `places` when there is none. Each step waits for the one before, so several stretches of places are gone
/// through at once, the last ones perhaps overlapping.
template <class IsIt>
std::int32_t FirstOfHash(const std::uint32_t *columns, std::int32_t places, Move<kRowBase> moveRight,
                         std::int32_t width, std::uint32_t sought, IsIt isIt) {
    constexpr std::int32_t kStretches = 4;
    const std::int32_t length = (places + kStretches - 1) / kStretches;
    const std::uint32_t *stretches[kStretches];
    std::uint32_t hashes[kStretches] = {};
    for (std::int32_t i = 0; i < kStretches; ++i)
        stretches[i] = columns + std::min(i * length, places - length);
    for (std::int32_t x = 0; x < width; ++x)
        for (std::int32_t i = 0; i < kStretches; ++i)
            hashes[i] = Lengthen<kRowBase>{}(hashes[i], stretches[i][x]);
    std::int32_t first = places;
    for (std::int32_t x = 0;; ++x) {
        for (std::int32_t i = 0; i < kStretches; ++i) {
            const auto place = static_cast<std::int32_t>(stretches[i] + x - columns);
            if (hashes[i] == sought && place < first && isIt(place))
                first = place;
        }
        if (x + 1 == length)
            return first;
        for (std::int32_t i = 0; i < kStretches; ++i)
            hashes[i] = moveRight(hashes[i], stretches[i][x + width], stretches[i][x]);
    }
}

/// Looks from the row of `at` on where as many columns as the needle has are together hashed as the needle is, and
/// compares there. Its time does not depend on what the pictures show, unless hashes collide. Unfinished, with nothing
/// done, when memory is refused.
Outcome SearchByHashes(const PictureEditor &haystack, const PictureEditor &needle, Point &at) {
    ClearBuffer<std::uint32_t> columns{haystack.width};
    ClearBuffer<std::uint32_t> soughtColumns{needle.width};
    if (!columns || !soughtColumns)
        return Outcome::Unfinished;
    HashColumns(needle, 0, needle.height, soughtColumns.data());
    HashColumns(haystack, at.y, needle.height, columns.data());
    std::uint32_t sought = 0;
    for (std::int32_t x = 0; x < needle.width; ++x)
        sought = Lengthen<kRowBase>{}(sought, soughtColumns[x]);
    const Move<kRowBase> moveRight{needle.width};
    const Move<kColumnBase> moveDown{needle.height};
    const std::int32_t places = haystack.width - needle.width + 1;
    for (std::int32_t y = at.y;; ++y) {
        const std::int32_t x =
            FirstOfHash(columns.data(), places, moveRight, needle.width, sought, [&](std::int32_t place) {
                return Equal(haystack, Point{place, y}, needle) == SizeOf(needle);
            });
        if (x < places) {
            at = {x, y};
            return Outcome::Found;
        }
        if (y + needle.height == haystack.height)
            return Outcome::Missing;
        for (std::int32_t i = 0; i < haystack.width; ++i)
            columns[i] = moveDown(columns[i], ColorAt(haystack, {i, y + needle.height}), ColorAt(haystack, {i, y}));
    }
}

} // namespace

bool FindNeedle(const PictureEditor &haystack, const PictureEditor &needle, Point &hit) {
    if (needle.width < 1 || needle.height < 1 || needle.width > haystack.width || needle.height > haystack.height)
        return false;
    Point at{0, 0};
    Outcome outcome = SearchByProbes(haystack, needle, SizeOf(haystack), at);
    if (outcome == Outcome::Unfinished)
        outcome = SearchByHashes(haystack, needle, at);
    if (outcome == Outcome::Unfinished)
        outcome = SearchByProbes(haystack, needle, std::numeric_limits<std::int64_t>::max(), at);
    if (outcome != Outcome::Found)
        return false;
    hit = at;
    return true;
}

unsigned char FindPicture(REALpictureStruct *picture, REALpictureStruct *pic, std::int32_t *x, std::int32_t *y) {
    if (x)
        *x = 0;
    if (y)
        *y = 0;
    const OpenReader haystack{picture};
    if (!haystack)
        return 0;
    const OpenReader needle{pic};
    if (!needle)
        return 0;
    Point hit;
    if (!FindNeedle(*haystack, *needle, hit))
        return 0;
    if (x)
        *x = hit.x;
    if (y)
        *y = hit.y;
    return 1;
}

} // namespace kvt
