#include "analysis/find_picture.h"

#include "analysis/residues.h"
#include "pixels/open.h"
#include "support/chance.h"
#include "support/memory.h"

#include <algorithm>

namespace kvt {

/// A color looked for at a place; 0x00RRGGBB.
struct Sought {
    Point at;
    std::uint32_t color;
};

/// Pixels that count in a sum of colors, and how often. The factor is at most kPrime.
struct Weighed {
    const unsigned char *pixels;
    std::uint32_t factor;
};

constexpr std::int32_t kMostSteps = 512; ///< at a time

} // namespace kvt

#define KVT_KERNELS "analysis/find_picture_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

enum class Outcome { Found, Missing, Unfinished };

std::int64_t SizeOf(const PictureEditor &editor) { return std::int64_t{editor.width} * editor.height; }

/// As a host color.
std::uint32_t ColorAt(const Pixels &pixels, Point at) {
    return Word(kRowTable, Channels(pixels.layout, LoadWord(AddressOf(pixels.rows, at))));
}

std::int64_t Equal(const PictureEditor &haystack, Point at, const PictureEditor &needle) {
    return KVT_SELECT(EqualPixels)(PixelsOf(haystack), at, PixelsOf(needle), needle.width, needle.height);
}

/// The first pixel of the needle that differs from its first one, which tells more than any of those before it; the
/// first one again in a needle of one color.
Point SecondProbe(const PictureEditor &needle) {
    const Pixels pixels = PixelsOf(needle);
    const std::uint32_t first = ColorAt(pixels, Point{0, 0});
    Point at{0, 0};
    while (at.y < needle.height && KVT_SELECT(AllColored)(pixels, Area{0, at.y, needle.width, at.y + 1}, first))
        ++at.y;
    if (at.y == needle.height)
        return {0, 0};
    while (ColorAt(pixels, at) == first)
        ++at.x;
    return at;
}

/// What it costs to come to a place and begin a comparison, in pixels compared.
constexpr std::int64_t kPlaceCost = 64;

/// Looks from `at` on for places with both probes and compares there. Very fast as long as such places are rare or soon
/// differ; Unfinished, with the next place in `at`, when more pixels than the haystack has were compared in vain.
Outcome SearchByProbes(const PictureEditor &haystack, const PictureEditor &needle, SearchEffort &effort, Point &at) {
    std::int64_t budget = SizeOf(haystack);
    const Point second = SecondProbe(needle);
    const std::uint32_t firstColor = ColorAt(PixelsOf(needle), Point{0, 0});
    const std::uint32_t secondColor = ColorAt(PixelsOf(needle), second);
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
            effort.compared += equal;
            if (equal == SizeOf(needle))
                return Outcome::Found;
            budget -= equal + kPlaceCost;
        }
    }
    return Outcome::Missing;
}

// The time is linear, whatever the pictures show: the probes and then one hash may each compare as many pixels in vain
// as the haystack has before they give up, and beside that go through it a few times. From then on a place is compared
// only where two hashes agree whose bases were drawn after all that: two different pictures of w x h pixels have the
// same hash with less than (w + h) / 2^31 of all bases, so agree in both with a probability below the square of that,
// which lets the wrong places of the largest pictures (2^30 pixels, 2^17 to a side) cost less than half their pixels on
// average, those of 6000 x 4000 a few hundred in all. Whenever wrong places cost more than the haystack has, which
// happens at less than every second draw, bases are drawn anew, so that knowing a draw gains nobody more than one such
// cost.

/// A picture's hash is a number modulo a prime: in the column base, whose digits are the rows from the top down, each a
/// number in the row base whose digits are the pixels from the left, the leftmost with weight 1.
class Hash {
  public:
    /// Colors are numbers in the haystack's layout.
    void Seek(const PictureEditor &needle, const PictureEditor &haystack, HashBases bases) {
        bases_ = bases;
        blockPower_ = Power(bases.row, kMostSteps);
        widthPower_ = Power(bases.row, needle.width);
        leavingFactor_ = kPrime - Power(bases.column, needle.height);
        width_ = needle.width;
        height_ = needle.height;
        powers_[0] = 1;
        for (std::int32_t i = 1; i < kMostSteps; ++i)
            powers_[i] = Product(powers_[i - 1], bases.row);
        layout_ = LayoutOf(haystack);
        sought_ = 0;
        const Pixels pixels = PixelsOf(needle);
        for (std::int32_t y = 0; y < height_; ++y)
            sought_ = Residue(std::uint64_t{bases.column} * sought_ + RowOf(pixels, 0, y, y, 0));
    }

    /// Moves the places in `count` columns from `left` on down by a row, so that `entering` is their last one. The
    /// hashes begin with 0, and `rows` counts from 1: it takes as many as the needle has rows until the places are
    /// whole. From then on hashes[i] is what the hash of place i differs by from the needle's, times the row base to
    /// the power of i. True when one of them is 0.
    bool MoveDown(const PictureEditor &haystack, std::int32_t left, std::int32_t count, std::int32_t entering,
                  std::int32_t rows, std::uint32_t *hashes) const {
        const Pixels pixels = PixelsOf(haystack);
        const bool leaves = rows > height_; // whether a row does
        const std::int32_t leaving = leaves ? entering - height_ : entering;
        const std::uint32_t leavingFactor = leaves ? leavingFactor_ : 0;
        // The needle's hash is taken away once. From then on, as the hash grows with the base, the rest of it.
        const std::uint32_t constant = leaves           ? Product(sought_, bases_.column + kPrime - 1)
                                       : rows < height_ ? 0
                                                        : kPrime - sought_;
        const std::uint32_t constantStep = Product(constant, bases_.row + kPrime - 1);
        std::uint64_t sum = std::uint64_t{RowOf(pixels, left, entering, leaving, leavingFactor)} + constant;
        std::uint32_t scale = 1;
        bool anyZero = false;
        std::uint64_t colors[kMostSteps];
        for (std::int32_t first = 0; first < count; first += kMostSteps) {
            const std::int32_t block = std::min(kMostSteps, count - first);
            const std::int32_t x = left + first;
            const std::uint32_t in = Product(scale, widthPower_);
            const std::uint32_t out = kPrime - scale;
            colors[block - 1] = 0; // behind the last place there may be no column
            const Weighed weighed[] = {
                {AddressOf(pixels.rows, {x + width_, entering}), in},
                {AddressOf(pixels.rows, {x + width_, leaving}), Product(in, leavingFactor)},
                {AddressOf(pixels.rows, {x, entering}), out},
                {AddressOf(pixels.rows, {x, leaving}), Product(out, leavingFactor)},
            };
            const std::int32_t steps = std::min(block, count - 1 - first);
            KVT_SELECT(WeighFour)(layout_, steps, powers_, colors, Product(scale, constantStep), weighed);
            anyZero |= KVT_SELECT(AdvanceHashes)(hashes + first, block, bases_.column, sum, colors);
            sum = Residue(sum);
            scale = Product(scale, blockPower_);
        }
        return anyZero;
    }

  private:
    static std::uint32_t Power(std::uint32_t base, std::int32_t exponent) {
        std::uint32_t power = 1;
        for (; exponent; exponent /= 2, base = Product(base, base))
            if (exponent % 2)
                power = Product(power, base);
        return power;
    }

    /// The needle's width of a row as a number, with that of another one added as often as the factor says.
    std::uint32_t RowOf(const Pixels &source, std::int32_t left, std::int32_t row, std::int32_t other,
                        std::uint32_t factor) const {
        std::uint64_t sum = 0;
        std::uint32_t scale = 1;
        std::uint64_t colors[kMostSteps];
        for (std::int32_t x = 0; x < width_; x += kMostSteps) {
            const std::int32_t block = std::min(kMostSteps, width_ - x);
            unsigned char converted[2][kMostSteps * 4];
            const auto inLayout = [&](std::int32_t y, unsigned char *to) {
                const unsigned char *from = AddressOf(source.rows, {left + x, y});
                if (source.layout == layout_)
                    return from;
                KVT_SELECT(Convert)(from, source.layout, block, to, layout_);
                return static_cast<const unsigned char *>(to);
            };
            const Weighed weighed[] = {{inLayout(row, converted[0]), scale},
                                       {inLayout(other, converted[1]), Product(scale, factor)}};
            KVT_SELECT(WeighTwo)(layout_, block, powers_, colors, 0, weighed);
            for (std::int32_t i = 0; i < block; ++i)
                sum += colors[i];
            scale = Product(scale, blockPower_);
        }
        return Residue(sum);
    }

    Layout layout_;
    HashBases bases_;
    std::uint32_t blockPower_;
    std::uint32_t widthPower_;
    std::uint32_t leavingFactor_; ///< of a row that has risen by the needle's height
    std::int32_t width_;
    std::int32_t height_;
    std::uint32_t sought_;
    std::uint32_t powers_[kMostSteps];
};

/// The hashes that a place must share with the needle to be compared, and how much that may still cost in vain.
struct Attempt {
    Hash hashes[kHashes];
    std::int32_t number; ///< of hashes
    std::int64_t budget;
};

/// Some columns of places that are gone through together, and their hashes, those of one kind behind each other.
struct Strip {
    std::int32_t left;
    std::int32_t count;
    std::uint32_t *hashes;
};

bool AreHit(const Strip &strip, std::int32_t place, std::int32_t number) {
    for (std::int32_t i = 0; i < number; ++i)
        if (Residue(strip.hashes[std::ptrdiff_t{i} * strip.count + place]) != 0)
            return false;
    return true;
}

/// Looks from `at` on down to, not including, the row `endY`. Unfinished, with the next place in `at`, when the budget
/// is used up.
Outcome SearchStrip(const PictureEditor &haystack, const PictureEditor &needle, const Strip &strip, std::int32_t endY,
                    Attempt &attempt, SearchEffort &effort, Point &at) {
    std::fill_n(strip.hashes, std::int64_t{attempt.number} * strip.count, 0);
    for (std::int32_t entering = at.y, steps = 1; entering < endY + needle.height - 1; ++entering, ++steps) {
        bool mayHit = true;
        for (std::int32_t i = 0; i < attempt.number; ++i)
            mayHit &= attempt.hashes[i].MoveDown(haystack, strip.left, strip.count, entering, steps,
                                                 strip.hashes + std::ptrdiff_t{i} * strip.count);
        if (steps < needle.height)
            continue;
        at.y = entering - needle.height + 1;
        for (std::int32_t i = at.x - strip.left; mayHit && i < strip.count; ++i) {
            if (!AreHit(strip, i, attempt.number))
                continue;
            at.x = strip.left + i;
            const std::int64_t equal = Equal(haystack, at, needle);
            effort.compared += equal;
            if (equal == SizeOf(needle))
                return Outcome::Found;
            attempt.budget -= equal + kPlaceCost;
            if (attempt.budget < 0) {
                ++at.x;
                return Outcome::Unfinished;
            }
        }
        at.x = strip.left;
    }
    return Outcome::Missing;
}

/// Looks from the row of `at` on where the hashes are the needle's, and compares there: all columns of places together
/// or, when the memory for their hashes is refused, a few at a time, which takes going through the haystack again for
/// each few.
Outcome SearchByHashes(const PictureEditor &haystack, const PictureEditor &needle, DrawBases draw, SearchEffort &effort,
                       Point &at) {
    constexpr std::int32_t kFew = 1024;
    std::uint32_t few[kHashes * kFew];
    const std::int32_t places = haystack.width - needle.width + 1;
    ClearBuffer<std::uint32_t> all{static_cast<long long>(kHashes) * places};
    const std::int32_t columns = all ? places : std::min(places, kFew);
    const std::int32_t top = at.y;
    std::int32_t endY = haystack.height - needle.height + 1;
    Attempt attempt;
    attempt.budget = -1;
    Outcome outcome = Outcome::Missing;
    for (std::int32_t left = 0; left < places && top < endY; left += columns) {
        const Strip strip{left, std::min(columns, places - left), all ? all.data() : few};
        Point place{left, top};
        Outcome found = Outcome::Unfinished;
        while (found == Outcome::Unfinished) {
            if (attempt.budget < 0) {
                HashBases bases[kHashes];
                draw(bases);
                attempt.number = effort.draws++ == 0 ? 1 : kHashes;
                for (std::int32_t i = 0; i < attempt.number; ++i)
                    attempt.hashes[i].Seek(needle, haystack, bases[i]);
                attempt.budget = SizeOf(haystack);
            }
            found = SearchStrip(haystack, needle, strip, endY, attempt, effort, place);
        }
        if (found == Outcome::Found) { // what lies to the right of it counts only above it
            outcome = Outcome::Found;
            at = place;
            endY = place.y;
        }
    }
    return outcome;
}

} // namespace

void DrawByChance(HashBases (&bases)[kHashes]) {
    std::uint64_t words[4];
    DrawWords(words, 4);
    bases[0] = {Residue(words[0]), Residue(words[1])};
    bases[1] = {Residue(words[2]), Residue(words[3])};
}

bool FindNeedle(const PictureEditor &haystack, const PictureEditor &needle, Point &hit, SearchEffort &effort,
                DrawBases draw) {
    effort = {};
    if (needle.width < 1 || needle.height < 1 || needle.width > haystack.width || needle.height > haystack.height)
        return false;
    Point at{0, 0};
    Outcome outcome = SearchByProbes(haystack, needle, effort, at);
    if (outcome == Outcome::Unfinished)
        outcome = SearchByHashes(haystack, needle, draw, effort, at);
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
    SearchEffort effort;
    if (!FindNeedle(*haystack, *needle, hit, effort))
        return 0;
    if (x)
        *x = hit.x;
    if (y)
        *y = hit.y;
    return 1;
}

} // namespace kvt
