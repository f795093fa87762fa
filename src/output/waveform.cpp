#include "output/methods.h"

#include "host/entries.h"
#include "kernels/paint.h"
#include "output/wu_line.h"
#include "pixels/open.h"
#include "pixels/picture_helpers.h"
#include "support/exceptions.h"
#include "support/memory.h"

#include <algorithm>
#include <limits>

namespace kvt {

/// The sums of the samples below and above 0.
struct Sums {
    std::int64_t negative;
    std::int64_t positive;
};

} // namespace kvt

#define KVT_KERNELS "output/waveform_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

constexpr std::int32_t kDefaultHeight = 500;

/// How samples are stored. Silence is the middle of an unsigned sample's range; flipping the highest bit of a signed
/// one makes it such a sample.
struct SampleKind {
    std::int32_t bits; ///< the kind's number in scripts
    std::int32_t bytes;
    std::int32_t flip;
    double fullScale;
};

constexpr SampleKind kSampleKinds[] = {
    {7, 1, 0x80, 127.0},
    {8, 1, 0, 127.0},
    {15, 2, 0x8000, 32767.0},
    {16, 2, 0, 32767.0},
};

const SampleKind *KindOf(std::int32_t bits) {
    for (const SampleKind &kind : kSampleKinds)
        if (kind.bits == bits)
            return &kind;
    return nullptr;
}

struct Samples {
    const SampleKind *kind;
    const unsigned char *bytes; ///< at any address
    std::int32_t count;
};

Sums SumOf(const Samples &samples, std::int64_t first, std::int64_t count) {
    const unsigned char *bytes = samples.bytes + first * samples.kind->bytes;
    return samples.kind->bytes == 1 ? KVT_SELECT(SumOfBytes)(bytes, count, samples.kind->flip)
                                    : KVT_SELECT(SumOfShorts)(bytes, count, samples.kind->flip);
}

/// A column's two halves, first the negative one: the levels of its samples, and the rows that these become.
struct Column {
    double levels[2]; ///< 0 or less, and 0 or more
    std::int32_t rows[2];
};

struct Columns {
    ClearBuffer<Column> at;
    std::int32_t count;
};

/// Where a column's samples begin. The last one's end at `count` exactly.
std::int64_t FirstSample(std::int32_t column, std::int32_t columns, std::int32_t count) {
    return static_cast<std::int64_t>(static_cast<double>(column) / columns * count);
}

/// Levels are twice the mean of that sign's part over all samples of the column. Yields the largest one. A column
/// without samples of its own shows the one that it begins at; without any samples all levels are 0.
double Bin(const Samples &samples, Columns &columns) {
    double peak = 0.0;
    for (std::int32_t column = 0; column < columns.count && samples.count >= 1; ++column) {
        const std::int64_t first = FirstSample(column, columns.count, samples.count);
        const std::int64_t end = FirstSample(column + 1, columns.count, samples.count);
        const std::int64_t count = std::max<std::int64_t>(end - first, 1);
        const Sums sums = SumOf(samples, first, count);
        const double half = static_cast<double>(count) * 0.5;
        auto &levels = columns.at[column].levels;
        levels[0] = static_cast<double>(sums.negative) / half;
        levels[1] = static_cast<double>(sums.positive) / half;
        peak = std::max({peak, levels[1], -levels[0]});
    }
    return peak;
}

/// Turns levels, or their exponential moving averages, into rows: one of `scale` is as far from the center row as the
/// picture is high, and none is when that is 0. An average that overshoots (a smoothing of 0) may lie on the other side
/// of the center row, and far outside.
void FindRows(Columns &columns, std::int32_t smooth, double scale, std::int32_t height) {
    const double alpha = 2.0 / (smooth + 1.0);
    const bool smooths = smooth != -1 && alpha > 0.0;
    const std::int32_t center = height / 2;
    const double divisor = smooths ? alpha * scale + (1.0 - alpha) * scale : scale;
    for (const int half : {0, 1}) {
        double average = columns.at[0].levels[half];
        for (std::int32_t column = 0; column < columns.count; ++column) {
            const double level = columns.at[column].levels[half];
            average = smooths ? average * (1.0 - alpha) + alpha * level : level;
            const double offset = divisor == 0.0 ? 0.0 : average * height / divisor;
            columns.at[column].rows[half] = Truncate(center + offset);
        }
    }
}

/// Limits to the range of `Integer`.
template <class Integer> Integer Limit(std::int64_t value) {
    using Range = std::numeric_limits<Integer>;
    return static_cast<Integer>(std::clamp<std::int64_t>(value, Range::min(), Range::max()));
}

/// Fills in the rows that each column covers, up to and not including its end: both halves begin at the center row, so
/// together they are one bar.
void FindBars(const Columns &columns, std::int32_t height, std::int32_t *tops, std::int32_t *ends) {
    for (std::int32_t column = 0; column < columns.count; ++column) {
        const auto &rows = columns.at[column].rows;
        tops[column] = std::clamp(std::min({height / 2, rows[0], rows[1]}), 0, height - 1);
        ends[column] = std::clamp(std::max({height / 2, rows[0], rows[1]}), 0, height - 1) + 1;
    }
}

/// Hands the two polylines along the halves to `draw`, as (x, y) to (x, y), column by column. Both start at the center
/// row of column 0.
template <class Draw> void ForEachSegment(const Columns &columns, std::int32_t height, Draw draw) {
    const Column start{{}, {height / 2, height / 2}};
    const Column *from = &start;
    for (std::int32_t column = 0; column < columns.count; ++column) {
        const Column *to = &columns.at[column];
        for (const int half : {0, 1})
            draw(std::max(column - 1, 0), from->rows[half], column, to->rows[half]);
        from = to;
    }
}

void DrawThinOutline(const PictureEditor &picture, const Columns &columns, std::int32_t height) {
    using Short = std::int16_t;
    ForEachSegment(columns, height, [&](std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) {
        DrawWuLine(picture, Limit<Short>(x0), Limit<Short>(y0), Limit<Short>(x1), Limit<Short>(y1));
    });
}

/// Drawn by the host, whose pen hangs to the right of and below its coordinates. Left out when there is no surface.
void DrawThickOutline(REALpictureStruct *picture, const Columns &columns, std::int32_t height, std::int32_t penSize,
                      std::uint32_t color) {
    REALgraphicsStruct *graphics = REALGetPictureGraphics(picture);
    if (!graphics)
        return;
    SetGraphicsForeColor(graphics, color);
    SetGraphicsPenHeight(graphics, penSize);
    SetGraphicsPenWidth(graphics, penSize);
    const auto centered = [half = penSize / 2](std::int64_t coordinate) {
        return Limit<std::int32_t>(coordinate - half);
    };
    ForEachSegment(columns, height, [&](std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) {
        GraphicsDrawLine(graphics, centered(x0), centered(y0), centered(x1), centered(y1));
    });
    REALUnlockObject(graphics);
}

} // namespace

REALpictureStruct *RenderSamples(REALmemoryBlockStruct *samples, std::int32_t sampleCount, std::int32_t smooth,
                                 std::int32_t width, std::int32_t height, std::int32_t outlineWidth,
                                 std::uint32_t backColor, std::uint32_t foreColor, std::uint32_t outLineColor,
                                 std::int32_t bits, signed char autoScale) {
    if (!samples) {
        RaiseNilObject("memoryblock is nil");
        return nullptr;
    }
    const Rgb outline = RgbOfColor(outLineColor);
    gOutLineColorR = outline.red;
    gOutLineColorG = outline.green;
    gOutLineColorB = outline.blue;
    const SampleKind *kind = KindOf(bits);
    if (!kind)
        return nullptr;
    const std::int32_t held = std::max(REALMemoryBlockGetSize(samples), 0) / kind->bytes;
    const std::int32_t count = sampleCount >= 1 ? std::min(sampleCount, held) : held;
    const std::int32_t columnCount = width >= 1 ? width : count;
    const std::int32_t rows = height >= 1 ? height : kDefaultHeight;
    if (!FitsNewPicture(columnCount, rows))
        return nullptr;
    const auto *bytes = static_cast<const unsigned char *>(REALMemoryBlockGetPtr(samples));
    if (!bytes)
        return nullptr;
    Columns columns{ClearBuffer<Column>(columnCount), columnCount};
    ClearBuffer<std::int32_t> tops(columnCount);
    ClearBuffer<std::int32_t> ends(columnCount);
    if (!columns.at || !tops || !ends)
        return nullptr;
    const double peak = Bin({kind, bytes, count}, columns);
    FindRows(columns, smooth, autoScale ? 2.0 * peak : kind->fullScale, rows);
    FindBars(columns, rows, tops.data(), ends.data());

    OpenWriter result{columnCount, rows};
    if (!result)
        return nullptr;
    Paint(*result, AreaOf(*result, kWholePicture), backColor, foreColor, tops.data(), ends.data());
    if (outlineWidth == 1)
        DrawThinOutline(*result, columns, rows);
    REALpictureStruct *picture = result.Render();
    if (picture && outlineWidth >= 2)
        DrawThickOutline(picture, columns, rows, outlineWidth, outLineColor & 0xFFFFFF);
    return picture;
}

} // namespace kvt
