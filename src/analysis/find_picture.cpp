#include "analysis/find_picture.h"

#include "pixels/open.h"
#include "support/memory.h"

#include <limits>

namespace kvt {
namespace {

enum class Outcome { Found, Missing, Unfinished };

std::int64_t PixelsOf(const PictureEditor &editor) { return std::int64_t{editor.width} * editor.height; }

/// The first pixel of the needle that differs from its first one, which tells more than any of those before it; the
/// first one again in a needle of one color.
Point SecondProbe(const PictureEditor &needle) {
    const Rgb first = PixelAt(needle, Point{0, 0});
    Point at{0, 0};
    while (at.y < needle.height && All(needle, Area{0, at.y, needle.width, at.y + 1}, IsColor{first}))
        ++at.y;
    if (at.y == needle.height)
        return {0, 0};
    while (PixelAt(needle, at) == first)
        ++at.x;
    return at;
}

/// What it costs to come to a place and begin a comparison, in pixels compared.
constexpr std::int64_t kPlaceCost = 64;

/// Looks from `at` on for places with both probes and compares there. Very fast as long as such places are rare or soon
/// differ; Unfinished, with the next place in `at`, when `budget` pixels were compared in vain.
Outcome SearchByProbes(const PictureEditor &haystack, const PictureEditor &needle, std::int64_t budget, Point &at) {
    const Point second = SecondProbe(needle);
    const Rgb firstColor = PixelAt(needle, Point{0, 0});
    const Rgb secondColor = PixelAt(needle, second);
    const std::int32_t endX = haystack.width - needle.width + 1;
    const std::int32_t endY = haystack.height - needle.height + 1;
    for (; at.y < endY; ++at.y, at.x = 0) {
        for (;; ++at.x) {
            if (budget < 0)
                return Outcome::Unfinished;
            at.x = FirstOfColors(haystack, at.x, endX, Sought{{0, at.y}, firstColor},
                                 Sought{{second.x, at.y + second.y}, secondColor});
            if (at.x == endX)
                break;
            const std::int64_t equal = EqualPixels(haystack, at, needle);
            if (equal == PixelsOf(needle))
                return Outcome::Found;
            budget -= equal + kPlaceCost;
        }
    }
    return Outcome::Missing;
}

// Columns of pixels are hashed as numbers in base kBase modulo a prime, whose digits are the colors from the top. The
// base is a primitive root without small relations between its powers. A modulus of 2^32 would not do: there, some
// textures of two colors collide in every base.

constexpr std::uint32_t kPrime = 0x7FFFFFFF;
constexpr std::uint32_t kBase = 950706376;

/// Modulo 2^31 - 1, of a value below 2^63: 2^31 is 1, so the upper bits are added to the lower.
KVT_INLINE constexpr std::uint32_t Modulo(std::uint64_t value) {
    value = (value & kPrime) + (value >> 31);
    const auto folded = static_cast<std::uint32_t>((value & kPrime) + (value >> 31));
    return folded >= kPrime ? folded - kPrime : folded;
}

KVT_INLINE std::uint32_t Digit(Rgb pixel) { return RowTable::Word(pixel); }

/// The hash of a column that becomes one pixel longer.
struct Lengthen {
    KVT_INLINE std::uint32_t operator()(std::uint32_t hash, Rgb entering) const {
        return Modulo(std::uint64_t{hash} * kBase + Digit(entering));
    }
};

/// The hash of a column that moves one pixel down. A pixel leaves with the weight that it has risen to, base^height.
struct MoveDown {
    explicit MoveDown(std::int32_t height) {
        std::uint32_t power = 1;
        for (std::int32_t i = 0; i < height; ++i)
            power = Modulo(std::uint64_t{power} * kBase);
        negatedWeight = kPrime - power;
    }
    KVT_INLINE std::uint32_t operator()(std::uint32_t hash, Rgb entering, Rgb leaving) const {
        return Modulo(std::uint64_t{hash} * kBase + Digit(entering) + std::uint64_t{Digit(leaving)} * negatedWeight);
    }
    std::uint32_t negatedWeight;
};

void HashColumns(const PictureEditor &source, std::int32_t top, std::int32_t height, std::uint32_t *hashes) {
    for (std::int32_t y = top; y < top + height; ++y)
        FoldColumns(source, 0, source.width, hashes, Lengthen{}, y);
}

/// Finds a sequence of numbers in others, in time linear in the length of each.
class SequenceMatcher {
  public:
    /// `borders` is for the matcher's own use, as long as the sequence.
    SequenceMatcher(const std::uint32_t *sequence, std::int32_t *borders, std::int32_t length)
        : sequence_(sequence), borders_(borders), length_(length) {
        std::int32_t matched = 0;
        for (std::int32_t i = 1; i < length; ++i)
            borders[i] = matched = Advance(matched, sequence[i]);
    }

    /// How much of the sequence's beginning ends in `next`, when `matched` of it, not all, ended just before.
    KVT_INLINE std::int32_t Advance(std::int32_t matched, std::uint32_t next) const {
        while (sequence_[matched] != next) {
            if (matched == 0)
                return 0;
            matched = borders_[matched - 1];
        }
        return matched + 1;
    }
    /// From where to go on after the whole sequence.
    std::int32_t AfterMatch() const { return borders_[length_ - 1]; }

  private:
    const std::uint32_t *sequence_;
    std::int32_t *borders_; ///< of each beginning: the longest shorter one that it ends in
    std::int32_t length_;
};

/// Looks from the row of `at` on where the needle's columns follow each other by their hashes, and compares there. Its
/// time does not depend on the pictures' content. Unfinished, with nothing done, when memory is refused.
Outcome SearchByColumns(const PictureEditor &haystack, const PictureEditor &needle, Point &at) {
    ClearBuffer<std::uint32_t> hashes{haystack.width};
    ClearBuffer<std::uint32_t> sought{needle.width};
    ClearBuffer<std::int32_t> borders{needle.width};
    if (!hashes || !sought || !borders)
        return Outcome::Unfinished;
    HashColumns(needle, 0, needle.height, sought.data());
    HashColumns(haystack, at.y, needle.height, hashes.data());
    const SequenceMatcher matcher{sought.data(), borders.data(), needle.width};
    const MoveDown moveDown{needle.height};
    for (std::int32_t y = at.y;; ++y) {
        std::int32_t matched = 0;
        for (std::int32_t x = 0; x < haystack.width; ++x) {
            matched = matcher.Advance(matched, hashes[x]);
            if (matched < needle.width)
                continue;
            const Point place{x + 1 - needle.width, y};
            if (EqualPixels(haystack, place, needle) == PixelsOf(needle)) {
                at = place;
                return Outcome::Found;
            }
            matched = matcher.AfterMatch();
        }
        if (y + needle.height == haystack.height)
            return Outcome::Missing;
        FoldColumns(haystack, 0, haystack.width, hashes.data(), moveDown, y + needle.height, y);
    }
}

} // namespace

bool FindNeedle(const PictureEditor &haystack, const PictureEditor &needle, Point &hit) {
    if (needle.width < 1 || needle.height < 1 || needle.width > haystack.width || needle.height > haystack.height)
        return false;
    Point at{0, 0};
    Outcome outcome = SearchByProbes(haystack, needle, PixelsOf(haystack), at);
    if (outcome == Outcome::Unfinished)
        outcome = SearchByColumns(haystack, needle, at);
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
