#pragma once

#include "pixels/area.h"
#include "pixels/channel_planes.h"
#include "pixels/instruction_set.h"
#include "pixels/layout.h"
#include "pixels/rows.h"
#include "pixels/write_rows.h"

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

/// The loops over pixels. An operation hands in its arithmetic as a callable whose operator() is KVT_INLINE; the walk
/// runs it for the layouts of the pictures at hand, compiled for the best instruction set. All walks keep inside the
/// smaller of the pictures and do nothing for an empty area. Source and target may be the very same picture.
namespace kvt {

/// `count` pixels of one layout become pixels of another by an operation over their channels or over their words. What
/// is done with words takes few instructions, so that those of the loop itself count.
template <class From, class To, class Op>
KVT_INLINE void MapPixels(const unsigned char *from, unsigned char *to, std::ptrdiff_t count, Op op) {
    if constexpr (std::is_invocable_v<Op, Rgb>) {
        KVT_INDEPENDENT_ITERATIONS
        for (std::ptrdiff_t x = 0; x < count; ++x)
            To::Store(to + x * To::kBytes, op(From::Load(from + x * From::kBytes)));
    } else {
        KVT_INDEPENDENT_ITERATIONS
        KVT_UNROLLED
        for (std::ptrdiff_t x = 0; x < count; ++x) {
            const WholePixel<From> pixel{LoadWord(from + x * From::kBytes)};
            StoreWord(to + x * To::kBytes, Converted<From, To>(op(pixel).word));
        }
    }
}

/// Whether an operation says so. Stores past the caches would then add to its time: they wait for each other, and the
/// memory that they save has time enough.
template <class Op> constexpr bool kIsSlowerThanMemory = requires { requires Op::kSlowerThanMemory; };

/// A walk's pixels over rows of one layout: `area` in the coordinates of all rows alike.
template <class From, class To, class Op> void MapRows(Rows from, Rows to, Area area, Op op) {
    AtActiveLevel([=]() KVT_INLINE_LAMBDA {
        WriteRows<To::kReplaces && !kIsSlowerThanMemory<Op>>(
            to, area,
            [=](std::int32_t row, std::ptrdiff_t first, std::ptrdiff_t count, unsigned char *pixels)
                KVT_INLINE_LAMBDA { MapPixels<From, To>(from[row] + first * From::kBytes, pixels, count, op); });
    });
}

/// Map and its two relatives: which side is taken as it is, and which by its mask values.
template <template <class> class Source, template <class> class Target, class Op>
void MapAs(const PictureEditor &source, const PictureEditor &target, Area area, Op op) {
    const Area inside = Inside(source, Inside(target, area));
    if (inside.Empty())
        return;
    WithLayout(source, [&](auto from) {
        WithLayout(target, [&](auto to) {
            MapRows<Source<decltype(from)>, Target<decltype(to)>>(RowsOf(source), RowsOf(target), inside, op);
        });
    });
}

/// Maps in blocks of planes: change(planes, count) replaces the levels of that many places, in whole steps.
template <class Change>
void MapPlanes(const PictureEditor &source, const PictureEditor &target, Area area, Change change) {
    const Area inside = Inside(source, Inside(target, area));
    if (inside.Empty())
        return;
    AtActiveLevel([=, from = RowsOf(source), to = RowsOf(target), takeApart = TakingApart(source.format),
                   join = Joining(target.format)]() KVT_INLINE_LAMBDA {
        ChannelPlanes planes;
        for (std::int32_t row = inside.top; row < inside.bottom; ++row) {
            for (std::ptrdiff_t x = inside.left; x < inside.right; x += kPlanePixels) {
                const std::ptrdiff_t count = Lower(inside.right - x, kPlanePixels);
                takeApart(from[row] + x * 4, count, planes);
                change(planes, WholeSteps(count));
                join(planes, to[row] + x * 4, count);
            }
        }
    });
}

/// A change of planes that takes one place after the other. Whole steps leave no rest to the vectors.
template <class Op> struct ChangeEach {
    Op op;
    KVT_INLINE void operator()(ChannelPlanes &planes, std::ptrdiff_t count) const {
        for (std::ptrdiff_t step = 0; step < count; step += kPlaneStep) {
            KVT_INDEPENDENT_ITERATIONS
            for (std::ptrdiff_t i = step; i < step + kPlaneStep; ++i)
                planes.Set(i, op(planes[i]));
        }
    }
};

/// target(x, y) = op(source(x, y)) for every pixel of the area. `op` takes and yields an Rgb, a WholePixel of any
/// layout, or RgbBytes: then it runs on planes, which is faster where its arithmetic stays within bytes and 16-bit
/// integers, and slower where it is trivial or rows are shorter than a step.
template <class Op> void Map(const PictureEditor &source, const PictureEditor &target, Area area, Op op) {
    if constexpr (std::is_invocable_v<Op, RgbBytes> && !std::is_invocable_v<Op, Rgb>)
        MapPlanes(source, target, area, ChangeEach<Op>{op});
    else
        MapAs<ColorOf, ColorOf>(source, target, area, op);
}

/// The same, reading the source's mask values as grays.
template <class Op> void MapFromMask(const PictureEditor &source, const PictureEditor &target, Area area, Op op) {
    MapAs<MaskOf, ColorOf>(source, target, area, op);
}

/// The same, storing the red of every result as the target's mask value; the target's colors stay.
template <class Op> void MapToMask(const PictureEditor &source, const PictureEditor &target, Area area, Op op) {
    MapAs<ColorOf, MaskOf>(source, target, area, op);
}

// Count and All take a test: a callable for RgbBytes, or an IsColor.

/// The test for one color.
struct IsColor {
    Rgb color;
    template <class Layout> KVT_INLINE bool operator()(WholePixel<Layout> pixel) const { return pixel.Is(color); }
};

/// Calls visit(pixels, count) for blocks that make up the area, of at most `kBlock` pixels each, until it yields false.
/// Whether it never did.
template <std::ptrdiff_t kBlock, class Visit> KVT_INLINE bool ForBlocks(Rows rows, Area area, Visit visit) {
    if (area.Empty()) // rows without columns need not have an address
        return true;
    for (std::int32_t row = area.top; row < area.bottom; ++row) {
        const unsigned char *pixels = rows[row];
        for (std::ptrdiff_t x = area.left; x < area.right; x += kBlock)
            if (!visit(pixels + x * 4, Lower(area.right - x, kBlock)))
                return false;
    }
    return true;
}

/// Calls visit(passed, count) for blocks that make up the area, with the number of a block's pixels that pass and of
/// all its pixels, until it yields false. Whether it never did.
template <class Visit> bool CountBlocks(const PictureEditor &source, Area area, IsColor test, Visit visit) {
    return WithLayout(source, [=, rows = RowsOf(source)](auto layout) {
        using From = decltype(layout);
        return AtActiveLevel([=]() KVT_INLINE_LAMBDA {
            return ForBlocks<1024>(
                rows, area, [=](const unsigned char *pixels, std::ptrdiff_t count) KVT_INLINE_LAMBDA {
                    std::int32_t passed = 0;
                    KVT_UNROLLED
                    for (std::ptrdiff_t x = 0; x < count; ++x)
                        passed += test(WholePixel<From>{LoadWord(pixels + x * From::kBytes)}) ? 1 : 0;
                    return visit(passed, count);
                });
        });
    });
}

template <class Test, class Visit> bool CountBlocks(const PictureEditor &source, Area area, Test test, Visit visit) {
    return AtActiveLevel([=, rows = RowsOf(source), takeApart = TakingApart(source.format)]() KVT_INLINE_LAMBDA {
        constexpr std::ptrdiff_t kCounted = 255 / kPlaneStep * kPlaneStep; // as many as a byte can count
        const std::int32_t black = test(RgbBytes{0, 0, 0}) ? 1 : 0;
        ChannelPlanes planes;
        return ForBlocks<kPlanePixels>(
            rows, area, [&](const unsigned char *pixels, std::ptrdiff_t count) KVT_INLINE_LAMBDA {
                takeApart(pixels, count, planes);
                const std::ptrdiff_t filled = WholeSteps(count);
                std::int32_t total = 0;
                for (std::ptrdiff_t first = 0; first < filled; first += kCounted) {
                    const std::ptrdiff_t end = Lower(filled, first + kCounted);
                    std::uint8_t passed = 0;
                    for (std::ptrdiff_t i = first; i < end; ++i)
                        passed = static_cast<std::uint8_t>(passed + (test(planes[i]) ? 1 : 0));
                    total += passed;
                }
                return visit(total - black * static_cast<std::int32_t>(filled - count), count);
            });
    });
}

/// The number of pixels of the area that pass `test`.
template <class Test> std::int64_t Count(const PictureEditor &source, Area area, Test test) {
    std::int64_t total = 0;
    CountBlocks(source, Inside(source, area), test, [&total](std::int32_t passed, std::ptrdiff_t) KVT_INLINE_LAMBDA {
        total += passed;
        return true;
    });
    return total;
}

/// Whether every pixel of the area passes `test`; true for an empty area. Stops soon after the first that fails.
template <class Test> bool All(const PictureEditor &source, Area area, Test test) {
    return CountBlocks(source, Inside(source, area), test,
                       [](std::int32_t passed, std::ptrdiff_t count) KVT_INLINE_LAMBDA { return passed == count; });
}

/// Hands every pixel of the area to `visit` (a lambda marked KVT_INLINE_LAMBDA), row by row from the top and left to
/// right, together with a turn that goes round 0..kTurns - 1 within a row. It is known when the visit is compiled, so
/// that a visitor that updates memory can keep neighbors from waiting for each other.
template <std::size_t kTurns, class Visit> void ForEach(const PictureEditor &source, Area area, Visit visit) {
    const Area inside = Inside(source, area);
    if (inside.Empty())
        return;
    WithLayout(source, [&, rows = RowsOf(source)](auto layout) {
        using From = decltype(layout);
        const auto round = [&]<std::size_t... Turn>(const unsigned char *pixel, std::index_sequence<Turn...>)
            KVT_INLINE_LAMBDA {
            (visit(From::Load(pixel + Turn * From::kBytes), Turn), ...);
        };
        for (std::int32_t row = inside.top; row < inside.bottom; ++row) {
            const unsigned char *pixel = rows[row] + std::ptrdiff_t{inside.left} * From::kBytes;
            auto left = static_cast<std::size_t>(inside.right - inside.left);
            for (; left >= kTurns; left -= kTurns, pixel += kTurns * From::kBytes)
                round(pixel, std::make_index_sequence<kTurns>{});
            for (std::size_t turn = 0; turn < left; ++turn, pixel += From::kBytes)
                visit(From::Load(pixel), turn);
        }
    });
}

/// One of several pictures that Combine reads.
struct Operand {
    Rows rows;
    std::int32_t format;
};

/// `count` pixels of an operand from (x, row) on, in the target's layout: the operand's own where it has that layout,
/// else converted into `block`. Combining thus needs one loop a target layout, not one for every mixture.
template <class To>
KVT_INLINE const unsigned char *InLayout(const Operand &operand, std::int32_t row, std::ptrdiff_t x,
                                         std::ptrdiff_t count, unsigned char *block) {
    const unsigned char *source = operand.rows[row] + x * 4;
    const auto convert = [&](auto layout) KVT_INLINE_LAMBDA -> const unsigned char * {
        using From = decltype(layout);
        if constexpr (std::is_same_v<From, To>) {
            return source;
        } else {
            KVT_INDEPENDENT_ITERATIONS
            for (std::ptrdiff_t i = 0; i < count; ++i)
                StoreWord(block + i * 4, Converted<From, To>(LoadWord(source + i * 4)));
            return block;
        }
    };
    return WithLayoutOf(operand.format, convert);
}

template <class To, class Op, class... Pixels>
KVT_INLINE void CombineRow(unsigned char *target, std::ptrdiff_t count, Op op, const Pixels *...sources) {
    KVT_INDEPENDENT_ITERATIONS
    for (std::ptrdiff_t x = 0; x < count; ++x)
        To::Store(target + x * 4, op(To::Load(sources + x * 4)...));
}

/// An operation on the levels of one channel that goes for all channels alike.
template <class Op> struct EachLevel { Op op; };

template <class To, class Op, class... Pixels>
KVT_INLINE void CombineRow(unsigned char *target, std::ptrdiff_t count, EachLevel<Op> each, const Pixels *...sources) {
    KVT_INDEPENDENT_ITERATIONS
    for (std::ptrdiff_t i = 0; i < count * 4; ++i)
        target[i] = each.op(sources[i]...);
    KVT_INDEPENDENT_ITERATIONS
    for (std::ptrdiff_t x = 0; x < count; ++x)
        StoreWord(target + x * 4, (LoadWord(target + x * 4) & To::kColorBits) | To::kOpaqueBits);
}

template <class To, class Op, std::size_t... Index, class... Operands>
KVT_INLINE void CombineRows(Rows to, Area area, Op op, std::index_sequence<Index...>, const Operands &...operands) {
    alignas(64) unsigned char blocks[sizeof...(Index)][kPortionPixels * 4];
    WriteRows<To::kReplaces>(
        to, area,
        [&](std::int32_t row, std::ptrdiff_t x, std::ptrdiff_t count, unsigned char *pixels) KVT_INLINE_LAMBDA {
            CombineRow<To>(pixels, count, op, InLayout<To>(operands, row, x, count, blocks[Index])...);
        });
}

/// target(x, y) = op(a(x, y), b(x, y), ...) for every pixel of the area: `op` takes one Rgb a source and yields one.
template <class Op, class... Editors>
void Combine(const PictureEditor &target, Area area, Op op, const Editors &...sources) {
    Area inside = Inside(target, area);
    ((inside = Inside(sources, inside)), ...);
    if (inside.Empty())
        return;
    WithLayout(target, [&](auto layout) {
        AtActiveLevel(
            [=, to = RowsOf(target), ... operands = Operand{RowsOf(sources), sources.format}]() KVT_INLINE_LAMBDA {
                CombineRows<decltype(layout)>(to, inside, op, std::index_sequence_for<Editors...>{}, operands...);
            });
    });
}

/// The same for an `op` that takes one level a source, as std::uint8_t, and yields one: each channel of the target is
/// made from that channel of the sources.
template <class Op, class... Editors>
void CombineLevels(const PictureEditor &target, Area area, Op op, const Editors &...sources) {
    Combine(target, area, EachLevel<Op>{op}, sources...);
}

} // namespace kvt
