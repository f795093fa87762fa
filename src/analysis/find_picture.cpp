#include "analysis/find_picture.h"

#include "analysis/methods.h"
#include "kernels/inline.h"
#include "pixels/open.h"
#include "support/memory.h"

#include <algorithm>
#include <numeric>

namespace kvt {

// Arithmetic modulo a prime whose products fit 64 bits. 2^31 is 1 there, so that upper bits are added to lower ones.

/// A smaller number of the same residue: below 2^33 + 2^31 for any, and at most 2^31 + 4 for one of those.
KVT_INLINE constexpr std::uint64_t Fold(std::uint64_t value) { return (value & kPrime) + (value >> 31); }

/// The residue itself, below kPrime.
KVT_INLINE constexpr std::uint32_t Residue(std::uint64_t value) {
    const auto folded = static_cast<std::uint32_t>(Fold(Fold(value)));
    return folded >= kPrime ? folded - kPrime : folded;
}

/// Of numbers below 2^32.
KVT_INLINE constexpr std::uint32_t Product(std::uint64_t a, std::uint64_t b) { return Residue(a * b); }

/// A color looked for at a place; 0x00RRGGBB.
struct Sought {
    Point at;
    std::uint32_t color;
};

/// A picture's hash is a number modulo a prime: in the column base, whose digits are the rows from the top down, each a
/// number in the row base whose digits are the colors from the left, the leftmost with weight 1. Kept is what each
/// column adds to the hashes of a row of places, numbered from the haystack's left edge: as many neighbours as the
/// needle is wide have the sum of their place's hash, times the row base to the power of the place's column.
struct Hash {
    HashBases bases;
    std::uint32_t leavingFactor; ///< of a row that has risen by the needle's height
    std::uint32_t rest;          ///< what the needle's hash lacks to 0
    std::int32_t width;          ///< of the needle
    std::uint32_t *powers;       ///< of the row base, one a column
    std::uint32_t *columns;      ///< at most 2^31 + 4 each, and a 0 behind the last one
};

constexpr std::int32_t kHashBlock = 512; ///< columns that are gone through together

} // namespace kvt

#define KVT_KERNELS "analysis/find_picture_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

std::int64_t SizeOf(const PictureEditor &editor) { return std::int64_t{editor.width} * editor.height; }

/// As a host color.
std::uint32_t ColorAt(const Pixels &pixels, Point at) {
    return Word(kRowTable, Channels(pixels.layout, LoadWord(AddressOf(pixels.rows, at))));
}

/// The first pixel of the needle that differs from its first one, which tells more than any of those before it; the
/// first one again in a needle of one color.
Point SecondProbe(const PictureEditor &needle) {
    const Pixels pixels = PixelsOf(needle);
    const std::uint32_t first = ColorAt(pixels, Point{0, 0});
    Point at{0, 0};
    while (at.y < needle.height && KVT_SELECT(AllOfColor)(pixels, Area{0, at.y, needle.width, at.y + 1}, first))
        ++at.y;
    if (at.y == needle.height)
        return {0, 0};
    while (ColorAt(pixels, at) == first)
        ++at.x;
    return at;
}

struct Search {
    const PictureEditor &haystack;
    const PictureEditor &needle;
    SearchEffort &effort;
    Point end;           ///< behind the last column and row of places
    Point at;            ///< the next place
    std::int64_t budget; ///< pixels that may be compared in vain
};

enum class Outcome { Found, Missing, Unfinished };

/// What it costs to come to a place and begin a comparison, in pixels compared.
constexpr std::int64_t kPlaceCost = 64;

/// Compares in the rest of a row, at the places that `next` yields from a column on. Unfinished, with the next place in
/// `at`, when the budget is used up.
template <class Next> Outcome SearchRow(Search &search, Next next) {
    while ((search.at.x = next(search.at.x)) < search.end.x) {
        const std::int64_t equal = KVT_SELECT(EqualPixels)(
            PixelsOf(search.haystack), search.at, PixelsOf(search.needle), search.needle.width, search.needle.height);
        search.effort.compared += equal;
        if (equal == SizeOf(search.needle))
            return Outcome::Found;
        ++search.at.x;
        search.budget -= equal + kPlaceCost;
        if (search.budget < 0)
            return Outcome::Unfinished;
    }
    search.at = {0, search.at.y + 1};
    return Outcome::Missing;
}

/// Compares where both probes are. Very fast as long as such places are rare or soon differ.
Outcome SearchByProbes(Search &search) {
    const Pixels haystack = PixelsOf(search.haystack);
    const Pixels needle = PixelsOf(search.needle);
    const Point second = SecondProbe(search.needle);
    Outcome outcome = Outcome::Missing;
    while (outcome == Outcome::Missing && search.at.y < search.end.y) {
        const Sought probes[] = {{{0, search.at.y}, ColorAt(needle, Point{0, 0})},
                                 {{second.x, search.at.y + second.y}, ColorAt(needle, second)}};
        outcome = SearchRow(search, [&](std::int32_t from) {
            return KVT_SELECT(FirstOfColors)(haystack, from, search.end.x, probes[0], probes[1]);
        });
    }
    return outcome;
}

// The time is linear, whatever the pictures show: the probes and then one hash may each compare as many pixels in vain
// as the haystack has before they give up, and beside that go through it a few times. From then on a place is compared
// only where two hashes agree whose bases were drawn after all that: two different pictures of w x h pixels have the
// same hash with less than (w + h) / 2^31 of all bases, so agree in both with a probability below the square of that,
// which lets the wrong places of the largest pictures (2^30 pixels, 2^17 to a side) cost less than half their pixels on
// average, those of 6000 x 4000 a few hundred in all. Whenever wrong places cost more than the haystack has, which
// happens at less than every second draw, bases are drawn anew, so that knowing a draw gains nobody more than one such
// cost.

/// Makes the hash look for the needle from any row of the haystack on.
void Seek(Hash &hash, const Search &search, HashBases bases) {
    const PictureEditor &needle = search.needle;
    hash.bases = bases;
    hash.width = needle.width;
    hash.powers[0] = 1;
    for (std::ptrdiff_t x = 1; x < search.haystack.width; ++x)
        hash.powers[x] = Product(hash.powers[x - 1], bases.row);
    std::uint32_t leaving = 1;
    const auto clear = [&] { std::fill_n(hash.columns, search.haystack.width, 0); };
    clear();
    for (std::int32_t y = 0; y < needle.height; ++y) {
        KVT_SELECT(MoveDown)(hash, PixelsOf(needle), y, y, needle.width);
        leaving = Product(leaving, bases.column);
    }
    hash.leavingFactor = kPrime - leaving;
    hash.rest = kPrime - Residue(std::accumulate(hash.columns, hash.columns + needle.width, std::uint64_t{0}));
    clear();
}

/// Compares where all of so many hashes are the needle's.
Outcome SearchByHashes(Search &search, const Hash *hashes, std::int32_t number) {
    const std::int32_t top = search.at.y;
    const auto areAllHit = [&](std::int32_t x) {
        for (std::int32_t i = 1; i < number; ++i)
            if (KVT_SELECT(FirstOfHash)(hashes[i], x, x + 1) != x)
                return false;
        return true;
    };
    const auto next = [&](std::int32_t x) {
        for (;; ++x) {
            x = KVT_SELECT(FirstOfHash)(hashes[0], x, search.end.x);
            if (x == search.end.x || areAllHit(x))
                return x;
        }
    };
    const PictureEditor &haystack = search.haystack;
    auto *const moveDown = KVT_SELECT(MoveDown);
    Outcome outcome = Outcome::Missing;
    for (std::int32_t row = top; outcome == Outcome::Missing && row < haystack.height; ++row) {
        const std::int32_t leaving = row - search.needle.height;
        for (std::int32_t i = 0; i < number; ++i)
            moveDown(hashes[i], PixelsOf(haystack), row, leaving < top ? row : leaving, haystack.width);
        if (leaving + 1 >= top)
            outcome = SearchRow(search, next);
    }
    return outcome;
}

/// Compares where hashes are the needle's, whose bases are drawn anew until the search is through. `memory` holds
/// twice the haystack's width and two numbers for each hash.
Outcome SearchByDraws(Search &search, std::uint32_t *memory, DrawBases draw) {
    const std::ptrdiff_t width = search.haystack.width;
    Hash hashes[kHashes] = {};
    for (std::ptrdiff_t i = 0; i < kHashes; ++i) {
        hashes[i].powers = memory + 2 * i * (width + 1);
        hashes[i].columns = hashes[i].powers + width;
    }
    Outcome outcome = Outcome::Unfinished;
    while (outcome == Outcome::Unfinished) {
        HashBases bases[kHashes];
        draw(bases);
        const std::int32_t number = search.effort.draws++ == 0 ? 1 : kHashes;
        for (std::int32_t i = 0; i < number; ++i)
            Seek(hashes[i], search, bases[i]);
        search.budget = SizeOf(search.haystack);
        outcome = SearchByHashes(search, hashes, number);
    }
    return outcome;
}

} // namespace

bool FindNeedle(const PictureEditor &haystack, const PictureEditor &needle, Point &hit, SearchEffort &effort,
                DrawBases draw) {
    effort = {};
    if (needle.width < 1 || needle.height < 1 || needle.width > haystack.width || needle.height > haystack.height)
        return false;
    const Point end{haystack.width - needle.width + 1, haystack.height - needle.height + 1};
    Search search{haystack, needle, effort, end, {0, 0}, SizeOf(haystack)};
    Outcome outcome = SearchByProbes(search);
    if (outcome == Outcome::Unfinished) {
        ClearBuffer<std::uint32_t> memory(2LL * kHashes * (haystack.width + 1LL));
        if (memory) {
            outcome = SearchByDraws(search, memory.data(), draw);
        } else { // compared wherever both probes are, however long that takes
            search.budget = INT64_MAX;
            outcome = SearchByProbes(search);
        }
    }
    if (outcome == Outcome::Found)
        hit = search.at;
    return outcome == Outcome::Found;
}

unsigned char FindPicture(REALpictureStruct *picture, REALpictureStruct *pic, std::int32_t *x, std::int32_t *y) {
    Point hit{0, 0};
    SearchEffort effort;
    const OpenReader haystack{picture};
    const OpenReader needle{haystack ? pic : nullptr};
    const bool found = haystack && needle && FindNeedle(*haystack, *needle, hit, effort);
    if (x)
        *x = hit.x;
    if (y)
        *y = hit.y;
    return found;
}

} // namespace kvt
