#include "output/waveform.h"

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

/// The two level series, one entry a column: first mean levels, then rows below the center row. An average that
/// overshoots (a smoothing of 0) may carry either across 0.
struct Envelopes {
    explicit Envelopes(std::int32_t width) : columns(width), negative(width), positive(width) {}
    explicit operator bool() const { return negative && positive; }
    std::int32_t columns;
    ClearBuffer<double> negative; ///< 0 or less
    ClearBuffer<double> positive; ///< 0 or more
};

/// Where a column's samples begin. The last one's end at `count` exactly.
std::int64_t FirstSample(std::int32_t column, std::int32_t columns, std::int32_t count) {
    return static_cast<std::int64_t>(static_cast<double>(column) / columns * count);
}

/// Fills both series with twice the mean of that sign's part over all samples of the column, and yields the largest
/// level. A column without samples of its own shows the one that it begins at; without any samples all levels are 0.
double Bin(const Samples &samples, Envelopes &levels) {
    double peak = 0.0;
    if (samples.count < 1)
        return peak;
    for (std::int32_t column = 0; column < levels.columns; ++column) {
        const std::int64_t first = FirstSample(column, levels.columns, samples.count);
        const std::int64_t end = FirstSample(column + 1, levels.columns, samples.count);
        const std::int64_t count = std::max<std::int64_t>(end - first, 1);
        const Sums sums = SumOf(samples, first, count);
        const double half = static_cast<double>(count) * 0.5;
        levels.negative[column] = static_cast<double>(sums.negative) / half;
        levels.positive[column] = static_cast<double>(sums.positive) / half;
        peak = std::max({peak, levels.positive[column], -levels.negative[column]});
    }
    return peak;
}

/// Replaces a series by its exponential moving average.
void Smooth(ClearBuffer<double> &series, std::int32_t columns, double alpha) {
    double average = series[0];
    for (std::int32_t column = 0; column < columns; ++column) {
        average = average * (1.0 - alpha) + alpha * series[column];
        series[column] = average;
    }
}

/// Turns levels into rows: a level of `divisor` becomes the whole height, and every level 0 when `divisor` is 0.
void Scale(ClearBuffer<double> &series, std::int32_t columns, std::int32_t height, double divisor) {
    for (std::int32_t column = 0; column < columns; ++column)
        series[column] = divisor == 0.0 ? 0.0 : series[column] * height / divisor;
}

void SmoothAndScale(Envelopes &levels, std::int32_t smooth, double scale, std::int32_t height) {
    const double alpha = 2.0 / (smooth + 1.0);
    double divisor = scale;
    if (smooth != -1 && alpha > 0.0) {
        Smooth(levels.negative, levels.columns, alpha);
        Smooth(levels.positive, levels.columns, alpha);
        divisor = alpha * scale + (1.0 - alpha) * scale;
    }
    Scale(levels.negative, levels.columns, height, divisor);
    Scale(levels.positive, levels.columns, height, divisor);
}

/// Limits to the range of `Integer`.
template <class Integer> Integer Limit(std::int64_t value) {
    using Range = std::numeric_limits<Integer>;
    return static_cast<Integer>(std::clamp<std::int64_t>(value, Range::min(), Range::max()));
}

/// The rows of each column that its two halves cover: both begin at the center row, so together they are one bar.
struct Bars {
    explicit Bars(std::int32_t width) : tops(width), ends(width) {}
    explicit operator bool() const { return tops && ends; }
    ClearBuffer<std::int32_t> tops;
    ClearBuffer<std::int32_t> ends; ///< the row below the last one
};

void FindBars(const Envelopes &levels, std::int32_t height, Bars &bars) {
    const std::int32_t middle = height / 2;
    for (std::int32_t column = 0; column < levels.columns; ++column) {
        const std::int32_t negative = Truncate(middle + levels.negative[column]);
        const std::int32_t positive = Truncate(middle + levels.positive[column]);
        bars.tops[column] = std::clamp(std::min({middle, negative, positive}), 0, height - 1);
        bars.ends[column] = std::clamp(std::max({middle, negative, positive}), 0, height - 1) + 1;
    }
}

/// Hands the two polylines along the envelopes to `draw`, as (x, y) to (x, y): column by column, first the negative
/// one's segment, then the positive one's. Both start at the center row of column 0. Rows may lie far outside.
template <class Draw> void ForEachSegment(const Envelopes &levels, std::int32_t height, Draw draw) {
    const std::int32_t middle = height / 2;
    std::int32_t from = 0;
    std::int32_t fromNegative = middle;
    std::int32_t fromPositive = middle;
    for (std::int32_t column = 0; column < levels.columns; ++column) {
        const std::int32_t negative = Truncate(levels.negative[column] + middle);
        const std::int32_t positive = Truncate(levels.positive[column] + middle);
        draw(from, fromNegative, column, negative);
        draw(from, fromPositive, column, positive);
        from = column;
        fromNegative = negative;
        fromPositive = positive;
    }
}

void DrawThinOutline(const PictureEditor &picture, const Envelopes &levels, std::int32_t height) {
    using Short = std::int16_t;
    ForEachSegment(levels, height, [&](std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) {
        DrawWuLine(picture, Limit<Short>(x0), Limit<Short>(y0), Limit<Short>(x1), Limit<Short>(y1));
    });
}

/// Drawn by the host, whose pen hangs to the right of and below its coordinates. Left out when there is no surface.
void DrawThickOutline(REALpictureStruct *picture, const Envelopes &levels, std::int32_t height, std::int32_t penSize,
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
    ForEachSegment(levels, height, [&](std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) {
        GraphicsDrawLine(graphics, centered(x0), centered(y0), centered(x1), centered(y1));
    });
    REALUnlockObject(graphics);
}

bool FitsNewPicture(std::int32_t extent) { return extent >= 1 && extent <= kLargestNewPicture; }

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
    const std::int32_t columns = width >= 1 ? width : count;
    const std::int32_t rows = height >= 1 ? height : kDefaultHeight;
    if (!FitsNewPicture(columns) || !FitsNewPicture(rows))
        return nullptr;
    const auto *bytes = static_cast<const unsigned char *>(REALMemoryBlockGetPtr(samples));
    if (!bytes)
        return nullptr;
    Envelopes levels(columns);
    Bars bars(columns);
    if (!levels || !bars)
        return nullptr;
    const double peak = Bin({kind, bytes, count}, levels);
    SmoothAndScale(levels, smooth, autoScale ? 2.0 * peak : kind->fullScale, rows);
    FindBars(levels, rows, bars);

    OpenWriter result{columns, rows};
    if (!result)
        return nullptr;
    Paint(*result, AreaOf(*result, kWholePicture), backColor, foreColor, bars.tops.data(), bars.ends.data());
    if (outlineWidth == 1)
        DrawThinOutline(*result, levels, rows);
    REALpictureStruct *picture = result.Render();
    if (picture && outlineWidth >= 2)
        DrawThickOutline(picture, levels, rows, outlineWidth, outLineColor & 0xFFFFFF);
    return picture;
}

} // namespace kvt
